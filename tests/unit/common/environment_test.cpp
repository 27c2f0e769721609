#include "common/environment.h"
#include "tests/support/named_row.h"

#include <cstdint>
#include <limits>
#include <vector>

namespace {

EnvironmentPath CompleteEnvironment()
{
    EnvironmentPath env;
    env.add_management_ips("10.0.0.1");
    env.add_user_names("admin");
    env.add_encrypted_passwords("cipher:secret");
    env.add_ports(8088);
    env.add_protocols(0);
    return env;
}

TEST(EnvironmentListsTest, MissingListOfACompleteEnvironmentIsNone)
{
    EXPECT_EQ(nullptr, Environment::MissingList(CompleteEnvironment()));
}

TEST(EnvironmentListsTest, MissingListOfAnEmptyEnvironmentIsTheManagementIps)
{
    EXPECT_STREQ("management IP", Environment::MissingList(EnvironmentPath()));
}

TEST(EnvironmentListsTest, MissingListDoesNotAskForCertificatesAndFurtherAddresses)
{
    EnvironmentPath env = CompleteEnvironment();
    env.clear_certificates();
    env.clear_all_management_ips();
    EXPECT_EQ(nullptr, Environment::MissingList(env));
}

struct MissingRow : NamedRow {
    void (EnvironmentPath::*clear)();
    const char* list;
};

class EnvironmentMissingListTest : public ::testing::TestWithParam<MissingRow> {};

TEST_P(EnvironmentMissingListTest, MissingListNamesTheListWithoutAnEntry)
{
    EnvironmentPath env = CompleteEnvironment();
    (env.*GetParam().clear)();
    EXPECT_STREQ(GetParam().list, Environment::MissingList(env));
}

INSTANTIATE_TEST_SUITE_P(
    Lists, EnvironmentMissingListTest,
    ::testing::Values(MissingRow{{"ManagementIps"}, &EnvironmentPath::clear_management_ips, "management IP"},
                      MissingRow{{"UserNames"}, &EnvironmentPath::clear_user_names, "user name"},
                      MissingRow{{"Passwords"}, &EnvironmentPath::clear_encrypted_passwords, "encrypted password"},
                      MissingRow{{"Ports"}, &EnvironmentPath::clear_ports, "port"},
                      MissingRow{{"Protocols"}, &EnvironmentPath::clear_protocols, "protocol"}),
    RowName<MissingRow>);

struct ProtocolRow : NamedRow {
    int protocol;
    const char* text;
};

class EnvironmentProtocolTest : public ::testing::TestWithParam<ProtocolRow> {};

TEST_P(EnvironmentProtocolTest, ProtocolTextIsHttpForOneAndElseHttps)
{
    EXPECT_EQ(GetParam().text, Environment::ProtocolText(GetParam().protocol));
}

INSTANTIATE_TEST_SUITE_P(Protocols, EnvironmentProtocolTest,
                         ::testing::Values(ProtocolRow{{"Zero"}, 0, "https"}, ProtocolRow{{"One"}, 1, "http"},
                                           ProtocolRow{{"Two"}, 2, "https"}, ProtocolRow{{"Negative"}, -1, "https"}),
                         RowName<ProtocolRow>);

TEST(EnvironmentUrlTest, UseAddressJoinsProtocolAddressAndPort)
{
    Zav::DeviceInfo info;
    info.protocol = "http";
    info.port = "8080";
    info.url = "https://10.0.0.9:1";
    Environment::UseAddress("10.0.0.1", info);
    EXPECT_EQ("http://10.0.0.1:8080", info.url);
}

TEST(EnvironmentDeviceInfoTest, FillDeviceInfoTakesTheFirstEntryOfEachList)
{
    EnvironmentPath env = CompleteEnvironment();
    env.add_management_ips("10.0.0.2");
    env.add_user_names("other");
    env.add_ports(1);
    env.add_protocols(1);
    Zav::DeviceInfo info;
    Environment::FillDeviceInfo(env, info);
    EXPECT_EQ("https://10.0.0.1:8088", info.url);
    EXPECT_EQ("admin", info.user);
    EXPECT_EQ("https", info.protocol);
    EXPECT_EQ("8088", info.port);
}

TEST(EnvironmentDeviceInfoTest, FillDeviceInfoLeavesWhatTheEnvironmentDoesNotTellPlainly)
{
    Zav::DeviceInfo info;
    info.password = "secret";
    info.restApiArgument = "argument";
    info.storageIps = {"10.1.0.1"};
    info.otherMgmtIps = {"10.0.0.2"};
    Environment::FillDeviceInfo(CompleteEnvironment(), info);
    EXPECT_EQ("secret", info.password);
    EXPECT_EQ("argument", info.restApiArgument);
    EXPECT_EQ(std::vector<std::string>{"10.1.0.1"}, info.storageIps);
    EXPECT_EQ(std::vector<std::string>{"10.0.0.2"}, info.otherMgmtIps);
}

TEST(EnvironmentDeviceInfoTest, FillDeviceInfoWritesTheGreatestPortInDecimal)
{
    EnvironmentPath env = CompleteEnvironment();
    env.set_ports(0, std::numeric_limits<std::uint64_t>::max());
    env.set_protocols(0, 1);
    Zav::DeviceInfo info;
    Environment::FillDeviceInfo(env, info);
    EXPECT_EQ("18446744073709551615", info.port);
    EXPECT_EQ("http://10.0.0.1:18446744073709551615", info.url);
}

} // namespace
