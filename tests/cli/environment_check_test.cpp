#include "cli/array/environment_check.h"

#include "cli/array/environment_file.h"
#include "tests/support/named_row.h"

#include <google/protobuf/util/json_util.h>
#include <google/protobuf/util/message_differencer.h>

#include <gmock/gmock.h>

#include <boost/algorithm/string/replace.hpp>

#include <string>

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

namespace {

const std::string SOUND = R"({
  "managementIps": ["10.0.0.1"],
  "userNames": ["admin"],
  "encryptedPasswords": ["cipher"],
  "certificates": ["array"],
  "ports": [8088],
  "protocols": [0],
  "allManagementIps": ["10.0.0.1", "10.0.0.2"]
})";

// Decrypts "cipher" and nothing else.
std::string ProblemOf(const std::string& cipher)
{
    return cipher == "cipher" ? "" : "it is another's";
}

EnvironmentFindings Check(const std::string& text)
{
    return CheckEnvironment(text, ProblemOf);
}

EnvironmentFindings CheckWith(const std::string& piece, const std::string& other)
{
    EXPECT_NE(std::string::npos, SOUND.find(piece));
    return Check(boost::replace_all_copy(SOUND, piece, other));
}

TEST(EnvironmentCheckTest, SoundEnvironmentHasNothingToBeSaidOfIt)
{
    const EnvironmentFindings findings = Check(SOUND);
    EXPECT_THAT(findings.faults, IsEmpty());
    EXPECT_THAT(findings.warnings, IsEmpty());
}

TEST(EnvironmentCheckTest, TextThatIsNoJsonHasThatFaultAlone)
{
    for (const char* const text : {"", "what", "[]", "{\"ports\": [1", "\"text\""}) {
        const EnvironmentFindings findings = Check(text);
        EXPECT_EQ(1U, findings.faults.size()) << text;
        EXPECT_THAT(findings.warnings, IsEmpty()) << text;
    }
}

TEST(EnvironmentCheckTest, EachListThatIsMissingIsNamed)
{
    EXPECT_THAT(Check("{}").faults,
                ElementsAre("managementIps is missing: the address to log in at", "userNames is missing: who logs in",
                            "encryptedPasswords is missing: what zavctl password encrypt prints",
                            "ports is missing: the port of the management address",
                            "protocols is missing: 0 for https, 1 for http"));
}

TEST(EnvironmentCheckTest, EachMemberThatTheMessageDoesNotTakeIsTold)
{
    const EnvironmentFindings findings =
        Check(R"({"managementIp": ["10.0.0.1"], "ports": ["many"], "protocols": [0], "userNames": [{}],)"
              R"( "management_ips": ["10.0.0.1"], "encryptedPasswords": ["cipher"]})");
    EXPECT_THAT(findings.faults, UnorderedElementsAre(HasSubstr("managementIp: Cannot find field"),
                                                      HasSubstr("(ports[0])"), HasSubstr("(user_names)")))
        << "and none of them as missing, too";
}

TEST(EnvironmentCheckTest, EmptyEntriesAreNamed)
{
    const EnvironmentFindings findings =
        Check(R"({"managementIps": [""], "userNames": ["admin", ""], "encryptedPasswords": [""], "ports": [1],)"
              R"( "protocols": [0], "certificates": [""], "allManagementIps": ["10.0.0.1", ""]})");
    EXPECT_THAT(findings.faults,
                ElementsAre("managementIps[0] is empty", "userNames[1] is empty", "encryptedPasswords[0] is empty",
                            "certificates[0] is empty", "allManagementIps[1] is empty"));
    EXPECT_THAT(findings.warnings, ElementsAre("userNames has 2 entries: the first alone counts"));
}

TEST(EnvironmentCheckTest, PortsAreFromOneTo65535)
{
    EXPECT_THAT(CheckWith("8088", "0").faults, ElementsAre("ports[0] is 0: a port is 1 to 65535"));
    EXPECT_THAT(CheckWith("8088", "65536").faults, ElementsAre("ports[0] is 65536: a port is 1 to 65535"));
    EXPECT_THAT(CheckWith("8088", "-1").faults, ElementsAre(HasSubstr("ports[0]")));
    EXPECT_THAT(CheckWith("8088", "1").faults, IsEmpty());
    EXPECT_THAT(CheckWith("8088", "65535").faults, IsEmpty());
}

TEST(EnvironmentCheckTest, ProtocolOtherThanHttpsIsWarnedOf)
{
    EXPECT_THAT(CheckWith("[0]", "[1]").warnings,
                ElementsAre("protocols[0] is 1: http sends the password in the clear"));
    const EnvironmentFindings other = CheckWith("[0]", "[2]");
    EXPECT_THAT(other.faults, IsEmpty());
    EXPECT_THAT(other.warnings, ElementsAre(HasSubstr("protocols[0] is 2: anything else than 1 means https")));
}

TEST(EnvironmentCheckTest, PasswordThatCannotBeDecryptedIsToldWithWhy)
{
    EXPECT_THAT(CheckWith("cipher", "secret").faults,
                ElementsAre("encryptedPasswords[0] cannot be decrypted: it is another's"));
}

TEST(EnvironmentCheckTest, AddressesAreCheckedInBothLists)
{
    EXPECT_THAT(CheckWith("10.0.0.2", "10.0.0.256").faults,
                ElementsAre("allManagementIps[1] is \"10.0.0.256\", which is no IPv4 address, no IPv6 address in "
                            "brackets, and no host name"));
    EXPECT_THAT(CheckWith("10.0.0.1", "fd00::1").faults,
                ElementsAre("managementIps[0] is an IPv6 address without brackets: [fd00::1]",
                            "allManagementIps[0] is an IPv6 address without brackets: [fd00::1]"));
}

TEST(EnvironmentCheckTest, ManagementAddressBelongsToAllOfThem)
{
    EXPECT_THAT(CheckWith("\"10.0.0.1\", ", "").warnings,
                ElementsAre("managementIps[0], 10.0.0.1, is not among allManagementIps"));
}

TEST(EnvironmentCheckTest, EntriesThatDoNotCountAreWarnedOf)
{
    const EnvironmentFindings findings = CheckWith("[8088]", "[8088, 8089]");
    EXPECT_THAT(findings.faults, IsEmpty());
    EXPECT_THAT(findings.warnings, ElementsAre("ports has 2 entries: the first alone counts"));
}

TEST(EnvironmentCheckTest, FurtherAddressesWithoutACertificateAreWarnedOf)
{
    EXPECT_THAT(CheckWith("[\"array\"]", "[]").warnings, ElementsAre(HasSubstr("certificates is missing")));
    const std::string alone = boost::replace_all_copy(SOUND, ", \"10.0.0.2\"", "");
    EXPECT_THAT(Check(boost::replace_all_copy(alone, "[\"array\"]", "[]")).warnings, IsEmpty());
}

struct AddressRow : NamedRow {
    std::string address;
    bool isGood;
};

class EnvironmentAddressTest : public ::testing::TestWithParam<AddressRow> {};

TEST_P(EnvironmentAddressTest, IsToldFromWhatIsNone)
{
    EXPECT_EQ(GetParam().isGood, ProblemOfAddress(GetParam().address).empty()) << ProblemOfAddress(GetParam().address);
}

INSTANTIATE_TEST_SUITE_P(
    All, EnvironmentAddressTest,
    ::testing::Values(
        AddressRow{{"ipv4"}, "10.0.0.1", true}, AddressRow{{"ipv6"}, "[fd00::1]", true},
        AddressRow{{"name"}, "array", true}, AddressRow{{"names"}, "array-1.storage.example", true},
        AddressRow{{"digits_first"}, "1a.example", true}, AddressRow{{"longest_label"}, std::string(63, 'a'), true},
        AddressRow{{"label_too_long"}, std::string(64, 'a'), false}, AddressRow{{"empty"}, "", false},
        AddressRow{{"bare_ipv6"}, "fd00::1", false}, AddressRow{{"ipv4_in_brackets"}, "[10.0.0.1]", false},
        AddressRow{{"port"}, "10.0.0.1:8088", false}, AddressRow{{"url"}, "https://array", false},
        AddressRow{{"three_numbers"}, "10.0.1", false}, AddressRow{{"number"}, "10", false},
        AddressRow{{"dash_first"}, "-a", false}, AddressRow{{"dash_last"}, "a-.example", false},
        AddressRow{{"dots"}, "a..b", false}, AddressRow{{"blank"}, "a b", false},
        AddressRow{{"umlaut"}, "\u00e4rray", false}, AddressRow{{"nul"}, std::string("10.0.0.1\0x", 10), false}),
    RowName<AddressRow>);

TEST(EnvironmentTextTest, IsReadBackAsItWas)
{
    EnvironmentPath env;
    env.add_management_ips("10.0.0.1");
    env.add_user_names("\"J\u00f6rg\"\n\\");
    env.add_encrypted_passwords("cipher");
    env.add_ports(8088);
    env.add_protocols(-1);
    env.add_all_management_ips("10.0.0.1");
    env.add_all_management_ips("[fd00::1]");
    EnvironmentPath read;
    ASSERT_TRUE(google::protobuf::util::JsonStringToMessage(WriteEnvironment(env), &read).ok());
    EXPECT_TRUE(google::protobuf::util::MessageDifferencer::Equals(env, read)) << WriteEnvironment(env);
    EXPECT_THAT(WriteEnvironment(env), HasSubstr("  \"allManagementIps\": [\"10.0.0.1\", \"[fd00::1]\"]\n}\n"));
}

} // namespace
