#include "tests/integration/stage.h"

#include <gmock/gmock.h>

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

class ClusterCommandTest : public Stage {
protected:
    static Process::Arguments CommandFor(const Cluster& cluster, const std::vector<std::string>& further = {})
    {
        Process::Arguments arguments = {"cluster", "--address", cluster.Address(), "--port", Cluster::PORT,
                                        "--user",  "admin"};
        arguments.insert(arguments.end(), further.begin(), further.end());
        return arguments;
    }

    Base::ProgramResult Ask(const Cluster& cluster, const std::vector<std::string>& further = {}) const
    {
        return RunZavctl(CommandFor(cluster, further), std::string(PASSWORD) + "\n");
    }
};

TEST_F(ClusterCommandTest, TablePrintsWhatTheClusterTells)
{
    const Cluster& cluster = StartCluster();
    const Base::ProgramResult outcome = Ask(cluster);
    ASSERT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_EQ("URL             " + cluster.Url() +
                  "\n"
                  "VERSION         1.0.0\n"
                  "SERIAL NUMBER   ZAVSIMCLUSTER001\n"
                  "PRODUCT MODEL   ZAVSIM-C\n"
                  "MANAGEMENT IPS  " +
                  cluster.Address(0) + ", " + cluster.Address(1) + "\n",
              outcome.output);
    EXPECT_THAT(outcome.errors,
                AllOf(HasSubstr(cluster.Url() + ": trying to log in as admin"),
                      HasSubstr(cluster.Url() + ": trying to read the serial number\n"), Not(HasSubstr(PASSWORD))));
    EXPECT_EQ(0U, cluster.SessionCount()) << "a command leaves no session behind";
}

TEST_F(ClusterCommandTest, JsonPrintsOneObject)
{
    const Cluster& cluster = StartCluster();
    const Base::ProgramResult outcome = Ask(cluster, {"-o", "json"});
    ASSERT_EQ(0, outcome.status) << outcome.errors;
    Json::Value expected;
    expected["schema"] = "zavctl/1";
    expected["url"] = cluster.Url();
    expected["version"] = "1.0.0";
    expected["serial_number"] = "ZAVSIMCLUSTER001";
    expected["product_model"] = "ZAVSIM-C";
    expected["management_ips"].append(cluster.Address(0));
    expected["management_ips"].append(cluster.Address(1));
    EXPECT_EQ(expected, ParseJsonText(outcome.output));
}

TEST_F(ClusterCommandTest, Ipv6AddressIsTakenWithoutBrackets)
{
    ClusterOptions options;
    const std::string address = "::ffff:" + Address(0); // ::1 would be every test's
    options.addresses = {"[" + address + "]"};
    const Cluster& cluster = StartCluster(options);
    Process::Arguments command = CommandFor(cluster);
    command[2] = address;
    const Base::ProgramResult outcome = RunZavctl(command, std::string(PASSWORD) + "\n");
    ASSERT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_THAT(outcome.output, HasSubstr("MANAGEMENT IPS  " + address + "\n"));
}

TEST_F(ClusterCommandTest, WrongPasswordEndsWithSixAndTheClustersOwnWords)
{
    const Cluster& cluster = StartCluster();
    const Base::ProgramResult outcome = RunZavctl(CommandFor(cluster), "not it\n");
    EXPECT_EQ(6, outcome.status);
    EXPECT_EQ("", outcome.output);
    EXPECT_THAT(outcome.errors, AllOf(HasSubstr("zavctl: " + cluster.Url() +
                                                ": cannot log in: The user name or the password is wrong: user "
                                                "\"admin\"\n"),
                                      Not(HasSubstr("not it"))));
}

TEST_F(ClusterCommandTest, QueryThatIsRefusedEndsWithNineAndPrintsNothing)
{
    const Cluster& cluster = StartCluster();
    cluster.AddFault(
        R"({"kind": "code", "code": 7, "description": "no licence", "result": 1, "target": "productModel"})");
    const Base::ProgramResult outcome = Ask(cluster);
    EXPECT_EQ(9, outcome.status);
    EXPECT_EQ("", outcome.output);
    EXPECT_THAT(outcome.errors, AllOf(HasSubstr("code : 7, Describe : no licence"),
                                      HasSubstr("zavctl: " + cluster.Url() +
                                                ": the cluster refuses to tell the product model: no licence\n")));
    EXPECT_EQ(0U, cluster.SessionCount());
}

TEST_F(ClusterCommandTest, QueryThatIsAnsweredWithNothingEndsWithNine)
{
    const Cluster& cluster = StartCluster();
    cluster.AddFault(R"({"kind": "answer", "answer": {"result": 0}, "target": "/sn$"})");
    Base::ProgramResult outcome = Ask(cluster);
    EXPECT_EQ(9, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr(": the cluster tells no serial number\n"));

    cluster.AddFault(R"({"kind": "answer", "answer": {"result": 0, "manageIpInfo": {}}, "target": "managerip"})");
    outcome = Ask(cluster);
    EXPECT_EQ(9, outcome.status);
    EXPECT_THAT(outcome.errors,
                AllOf(HasSubstr("no externalIpInfo info."),
                      HasSubstr(": cannot read the management addresses: the answer cannot be used\n")));
}

TEST_F(ClusterCommandTest, AddressesThatTheClusterDoesNotTellAreNone)
{
    ClusterOptions options;
    options.further = {"--cluster-float-ip", "", "--cluster-standby-ip", ""};
    const Cluster& cluster = StartCluster(options);
    EXPECT_THAT(Ask(cluster).output, HasSubstr("MANAGEMENT IPS  none\n"));
    EXPECT_EQ(Json::Value(Json::arrayValue), ParseJsonText(Ask(cluster, {"-o", "json"}).output)["management_ips"]);
}

TEST_F(ClusterCommandTest, PasswordThatIsNotGivenEndsWithThreeAndAsksNobody)
{
    const Cluster& cluster = StartCluster();
    EXPECT_EQ(7, RunZavctl(CommandFor(cluster)).status);
    EXPECT_EQ(7, RunZavctl(CommandFor(cluster), "\n").status);
    EXPECT_THAT(cluster.Requests(), IsEmpty());
}

TEST_F(ClusterCommandTest, CommandLineThatIsWrongEndsWithTwo)
{
    EXPECT_EQ(2, RunZavctl({"cluster"}).status);
    for (const char* const port : {"0", "65536", "-1", "https"}) {
        EXPECT_EQ(2, RunZavctl({"cluster", "--address", "127.0.0.1", "--port", port, "--user", "u"}).status) << port;
    }
}

// One of the two tests that last as long as the pauses between attempts do.
TEST_F(ClusterCommandTest, ClusterThatIsDownIsToldAtOnceAndAskedForNothing)
{
    const Cluster& cluster = StartCluster();
    cluster.SetListening(0, false);
    const Base::ProgramResult outcome = Ask(cluster, {"-o", "json"});
    EXPECT_EQ(8, outcome.status);
    EXPECT_THAT(outcome.errors, AllOf(HasSubstr(cluster.Url() + ": cannot connect: "), HasSubstr("Connection refused"),
                                      Not(HasSubstr("Retry")), Not(HasSubstr("logging out"))));
    EXPECT_EQ(cluster.Url(), ParseJsonText(outcome.output)["error"]["where"].asString());
}

TEST_F(ClusterCommandTest, ClusterThatBreaksEachConnectionIsToldWhileItIsTriedAndNotLoggedOutOf)
{
    const Cluster& cluster = StartCluster();
    cluster.AddFault(R"({"kind": "reset", "count": 0})");
    const std::unique_ptr<Process> zavctl = StartZavctl(CommandFor(cluster), std::string(PASSWORD) + "\n");
    zavctl->AwaitError("send failed. Retry 1 time. url=" + cluster.Url());
    EXPECT_THAT(zavctl->Errors(), Not(HasSubstr("cannot log in"))) << "told at once";
    EXPECT_EQ(8, zavctl->Wait());
    EXPECT_EQ("", zavctl->Output());
    EXPECT_THAT(zavctl->Errors(), AllOf(HasSubstr("Retry 3 time"), HasSubstr(cluster.Url() + ": cannot log in: POST "),
                                        Not(HasSubstr("logging out"))));
}

} // namespace
