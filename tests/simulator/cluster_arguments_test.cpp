#include "simulator/options/options.h"
#include "tests/support/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace ZavSimTest {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ZavSim::ManagementIps;
using ZavSim::Options;

class ClusterArgumentsTest : public ::testing::Test {
protected:
    static std::optional<Options> Parse(std::vector<std::string> words, int& status)
    {
        words.insert(words.begin(), "zavsim");
        std::vector<const char*> argv;
        for (const std::string& word : words) {
            argv.push_back(word.c_str());
        }
        return ZavSim::ParseOptions(static_cast<int>(argv.size()), argv.data(), status);
    }

    static Options Parse(const std::vector<std::string>& words)
    {
        int status = 0;
        return Parse(words, status).value();
    }

    static std::string ComplaintAbout(const std::vector<std::string>& words)
    {
        int status = 0;
        ::testing::internal::CaptureStderr();
        EXPECT_FALSE(Parse(words, status));
        EXPECT_EQ(2, status);
        return ::testing::internal::GetCapturedStderr();
    }

    static std::vector<std::string> Texts(const ManagementIps& ips) { return {ips.floating, ips.standby, ips.active}; }

    using Ips = std::vector<std::string>;
    TemporaryFolder folder;
};

TEST_F(ClusterArgumentsTest, WithoutAnyThereIsAnArrayAndNoCluster)
{
    const Options options = Parse(std::vector<std::string>());
    EXPECT_EQ(1U, options.listen.size());
    EXPECT_THAT(options.cluster.listen, IsEmpty());
}

TEST_F(ClusterArgumentsTest, WithAClusterAloneThereIsNoArray)
{
    const Options options = Parse({"--cluster", "https://127.0.0.3:8443"});
    EXPECT_THAT(options.listen, IsEmpty());
    ASSERT_EQ(1U, options.cluster.listen.size());
    EXPECT_EQ("https://127.0.0.3:8443", options.cluster.listen[0].Url());
    EXPECT_TRUE(options.cluster.accounts.Accepts("admin", "zavsim-admin"));
}

TEST_F(ClusterArgumentsTest, ManagementIpsAreTheAddressesUnlessTold)
{
    const std::vector<std::string> addresses{"--cluster", "https://127.0.0.3:1", "--cluster", "https://[::1]:2"};
    EXPECT_EQ((Ips{"127.0.0.3", "::1", ""}), Texts(Parse(addresses).cluster.shape.ips));
    std::vector<std::string> told = addresses;
    told.insert(told.end(), {"--cluster-standby-ip", "", "--cluster-active-ip", "10.0.0.9"});
    EXPECT_EQ((Ips{"127.0.0.3", "", "10.0.0.9"}), Texts(Parse(told).cluster.shape.ips));
}

TEST_F(ClusterArgumentsTest, ManagementIpsMayDifferByAddress)
{
    const auto shape = Parse({"--cluster", "https://127.0.0.3:1", "--cluster", "https://[::1]:2", "--cluster-ips",
                              "::1=fd00::1,,fd00::3"})
                           .cluster.shape;
    ASSERT_EQ(1U, shape.ipsByAddress.size());
    EXPECT_EQ((Ips{"fd00::1", "", "fd00::3"}), Texts(shape.ipsByAddress.at("::1")));
}

TEST_F(ClusterArgumentsTest, WhatItTellsAndWhoMayLogInAreTaken)
{
    folder.Write("password", "pass word\n");
    const auto cluster = Parse({"--cluster", "http://127.0.0.3:1", "--cluster-version", "7", "--cluster-sn", "S",
                                "--cluster-product-model", "P", "--cluster-user", "u", "--cluster-password-file",
                                folder.File("password")})
                             .cluster;
    EXPECT_EQ("7", cluster.shape.version);
    EXPECT_EQ("S", cluster.shape.serial);
    EXPECT_EQ("P", cluster.shape.productModel);
    EXPECT_TRUE(cluster.accounts.Accepts("u", "pass word"));
    EXPECT_FALSE(cluster.accounts.Accepts("admin", "zavsim-admin"));
}

TEST_F(ClusterArgumentsTest, WhatIsWrongIsNamed)
{
    const std::string address = "http://127.0.0.3:1";
    EXPECT_THAT(ComplaintAbout({"--cluster", "127.0.0.3:1"}), HasSubstr("\"127.0.0.3:1\" is not a listen address"));
    EXPECT_THAT(ComplaintAbout({"--cluster", address, "--cluster-float-ip", "host.name"}),
                HasSubstr("--cluster-float-ip: \"host.name\" is not a numeric address"));
    EXPECT_THAT(ComplaintAbout({"--cluster", address, "--cluster-ips", "127.0.0.3=1.2.3.4"}),
                HasSubstr("--cluster-ips: \"127.0.0.3=1.2.3.4\" is not ADDRESS=FLOAT,STANDBY,ACTIVE"));
    EXPECT_THAT(ComplaintAbout({"--cluster", address, "--cluster-ips", "127.0.0.3"}), HasSubstr("is not ADDRESS="));
    EXPECT_THAT(ComplaintAbout({"--cluster", address, "--cluster-ips", "127.0.0.3=a,b,c"}),
                HasSubstr("--cluster-ips: \"a\""));
    EXPECT_THAT(ComplaintAbout({"--cluster", address, "--cluster-ips", "127.0.0.4=,,"}),
                HasSubstr("--cluster-ips: no --cluster address is \"127.0.0.4\""));
    EXPECT_THAT(ComplaintAbout({"--cluster", address, "--cluster-user", "u"}),
                HasSubstr("--cluster-user and --cluster-password-file must be given equally often"));
    EXPECT_THAT(
        ComplaintAbout({"--cluster", address, "--cluster-user", "u", "--cluster-password-file", folder.File("none")}),
        HasSubstr("--cluster-password-file: there is no file"));
}

} // namespace
} // namespace ZavSimTest
