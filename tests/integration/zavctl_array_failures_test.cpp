#include "tests/integration/failure_stage.h"

#include <gmock/gmock.h>

#include <boost/filesystem/operations.hpp>

#include <csignal>

using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

/// Each way in which an array refuses what the node wants, or loses what it had.
class ZavctlArrayFailuresTest : public FailureStage {
protected:
    /// What a watch told when it lost the array, or what it ended with.
    static std::string Told(const Process& zavctl, const std::string& mark)
    {
        const std::string errors = zavctl.Errors();
        const std::size_t start = errors.find(mark);
        return start == std::string::npos ? errors : errors.substr(start + mark.size());
    }

    static std::string CouldNotPrepare(const std::string& env, const Array& array)
    {
        return env + ": this node could not be prepared on " + array.Url() + ": the array refused to ";
    }

    static void ExpectLost(Process& zavctl, const std::string& cause, const std::string& remedy)
    {
        zavctl.AwaitError(" lost: ");
        WaitUntil("the remedy", [&zavctl] { return Told(zavctl, " lost: ").find("remedy: ") != std::string::npos; });
        const std::string told = Told(zavctl, " lost: ");
        EXPECT_THAT(told, HasSubstr(cause));
        zavctl.AwaitError("zavctl: remedy: " + remedy + "\n");
        RecordProperty("cause", "zavctl: TIME lost: " + told.substr(0, told.find('\n')));
        RecordProperty("remedy", "zavctl: remedy: " + remedy);
    }
};

TEST_F(ZavctlArrayFailuresTest, InitiatorThatIsOnSomebodyElsesHost)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    array.Operate("POST", "host", R"({"NAME": "somebody", "TYPE": "21"})");
    for (const std::string& initiator : {std::string(NODE_IQN), std::string("iqn.2020-01.local.other:01")}) {
        array.Operate("POST", "iscsi_initiator", R"({"ID": ")" + initiator + R"(", "TYPE": "222"})");
        array.Operate("PUT", "iscsi_initiator/add_iscsi_to_host",
                      R"({"ID": ")" + initiator + R"(", "PARENTID": "1", "TYPE": "222"})");
    }
    ExpectEnding({"init", "--env", EnvironmentFileOf(array)},
                 {5,
                  array.Url() + ": iSCSI initiator " + NODE_IQN +
                      " is on host 1, which holds iSCSI initiator "
                      "iqn.2020-01.local.other:01 as well, which is not this node's; nothing was changed",
                  "see first whether another machine uses this node's initiator name (a clone does): if so, give this "
                  "node a name of its own in /etc/iscsi/initiatorname.iscsi and leave that host alone; if none does, "
                  "have the array's administrator take the name off it; then run zavctl init again"});
    EXPECT_THAT(array.Ids("hostgroup"), IsEmpty());
}

TEST_F(ZavctlArrayFailuresTest, NameThatIsTaken)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    const std::string env = EnvironmentFileOf(array);
    array.AddFault(R"({"kind": "code", "code": 1090519046, "description": "taken", "method": "POST", )"
                   R"("target": "hostgroup$", "count": 0})");
    ExpectEnding({"init", "--env", env},
                 {9, CouldNotPrepare(env, array) + "create host group \"NAME\": \"taken\" (1090519046)",
                  "the name belongs to somebody else's object: run the command again, which takes another name"});
}

TEST_F(ZavctlArrayFailuresTest, LimitOfMappingViews)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    const std::string env = EnvironmentFileOf(array);
    array.AddFault(
        R"({"kind": "code", "code": 1090519100, "description": "The number of mapping views has reached its )"
        R"(limit", "method": "POST", "target": "mappingview$", "count": 0})");
    ExpectEnding(
        {"init", "--env", env},
        {9,
         CouldNotPrepare(env, array) +
             "create mapping view \"NAME\": \"The number of mapping views has reached its limit\" (1090519100)",
         "the array holds no more of these: zavctl tidy --dry-run lists what this node made there and does not use, "
         "zavctl tidy takes it apart; else have the array's administrator make room"});
}

TEST_F(ZavctlArrayFailuresTest, ArrayThatIsTooBusyToSayWhatItHas)
{
    const Array& array = StartArray();
    const std::string env = EnvironmentFileOf(array);
    array.AddFault(R"({"kind": "code", "code": 1077949006, "description": "busy", "target": "iscsi_initiator/"})");
    ExpectEnding({"hosts", "--env", env},
                 {9, array.Url() + ": cannot read iscsi_initiator/iqn.2020-01.local.node%3A01: busy (1077949006)",
                  "the array is busy: run the command again in a few minutes"});
    array.Operate("POST", "host", R"({"NAME": "somebody", "TYPE": "21"})");
    array.AddFault(R"({"kind": "code", "code": 1090519045, "description": "what?", "target": "initiator\\?PARENTID"})");
    const Base::ProgramResult hosts = RunZavctl({"hosts", "--env", env, "-o", "json"});
    const Json::Value error = ParseJsonText(hosts.output)["error"];
    EXPECT_THAT(error["cause"].asString(), HasSubstr("cannot read fc_initiator?PARENTID=1: what? (1090519045)"));
    EXPECT_EQ("1090519045", error["code"].asString()) << "of a list, too";
}

TEST_F(ZavctlArrayFailuresTest, ArrayThatIsTooBusyToDeleteWhatIsLeft)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    const std::string env = EnvironmentFileOf(array);
    ASSERT_EQ(0, RunZavctl({"init", "--env", env}).status);
    boost::filesystem::remove(ZavctlRecordPath(array));
    array.AddFault(R"({"kind": "code", "code": 1077949006, "description": "busy", "method": "DELETE", )"
                   R"("target": "mappingview/1"})");
    ExpectEnding({"tidy", "--env", env, "--yes"}, {9, array.Url() + ": cannot delete mapping view 1: busy (1077949006)",
                                                   "the array is busy: run the command again in a few minutes"});
}

TEST_F(ZavctlArrayFailuresTest, NameOfNothing)
{
    const Array& array = StartArray();
    const std::string env = EnvironmentFileOf(array);
    ExpectEnding(
        {"tidy", "--env", env, "--id", "hostgroup:7", "--yes"},
        {4, array.Url() + ": there is no host group 7",
         "correct the id; zavctl tidy --dry-run, which changes nothing, lists what bears our prefix on the array"});
}

TEST_F(ZavctlArrayFailuresTest, ArrayThatIsDownWhenAWatchBegins)
{
    ArrayOptions options;
    options.managementIps = {Address(0), Address(1)}; // the second is for the test alone
    const Array& array = StartArray(options);
    const std::string env = EnvironmentFileOf(array);
    Change(env, ", \"" + Address(1) + "\"", "");
    array.SetListening(0, false);
    const auto zavctl = StartZavctl({"init", "--env", env, "--watch", "1"});
    const std::string cause = env + ": cannot log into the array at " + Address(0) + ": POST ";
    const std::string remedy = "nothing listens there: check address and port in the environment, and that the array's "
                               "management service runs";
    ExpectLost(*zavctl, cause, remedy);
    zavctl->Signal(SIGTERM);
    EXPECT_EQ(8, zavctl->Wait());
    EXPECT_THAT(Told(*zavctl, "zavctl: stopped\n"), HasSubstr("zavctl: " + cause));
    EXPECT_THAT(Told(*zavctl, "zavctl: stopped\n"), HasSubstr("\nzavctl: remedy: " + remedy + "\n"));
}

TEST_F(ZavctlArrayFailuresTest, AddressThatGoesDownUnderAWatchIsLeftForTheNext)
{
    ArrayOptions options;
    options.managementIps = {Address(0), Address(1)};
    const Array& array = StartServedArray(options);
    const std::string env = EnvironmentFileOf(array);
    const auto zavctl = StartZavctl({"init", "--env", env, "--watch", "1"});
    zavctl->AwaitLine("MAPPING VIEW NAME");
    array.SetListening(0, false);
    zavctl->AwaitError(" lost: ");
    zavctl->AwaitError(" recovered: " + env);
    EXPECT_THAT(zavctl->Errors(), HasSubstr("zavctl: " + env + ": logged in at " + array.Url(1) + " from now on\n"));
    zavctl->Signal(SIGTERM);
    EXPECT_EQ(0, zavctl->Wait());
}

TEST_F(ZavctlArrayFailuresTest, ArrayThatIsRestartedUnderAWatch)
{
    ArrayOptions options;
    options.managementIps = {Address(0)};
    options.serviceIps = {Address(8)};
    options.serial = "21restarted" + std::to_string(::getpid());
    options.further = {"--state", Directory() + "/state.json"};
    Array& array = StartArray(options);
    StartTargets(options.serviceIps);
    const std::string env = EnvironmentFileOf(array);
    const auto zavctl = StartZavctl({"init", "--env", env, "--watch", "1"});
    zavctl->AwaitLine("MAPPING VIEW NAME");
    array.Program().Signal(SIGTERM);
    array.Program().Wait();
    ExpectLost(*zavctl, ": Connection refused (libcurl 7)",
               "nothing listens there: check address and port in the "
               "environment, and that the array's management service runs");
    StartArray(options);
    zavctl->AwaitError(" recovered: " + env);
    zavctl->Signal(SIGTERM);
    EXPECT_EQ(0, zavctl->Wait());
}

TEST_F(ZavctlArrayFailuresTest, MappingThatIsTakenAwayUnderAWatchIsMadeAnew)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    const auto zavctl = StartZavctl({"init", "--env", EnvironmentFileOf(array), "--watch", "1"});
    zavctl->AwaitLine("MAPPING VIEW NAME");
    const std::string view = array.Ids("mappingview").at(0);
    array.DeleteBehindBack("mappingview", view);
    WaitUntil("another view", [&array, &view] {
        const std::vector<std::string> ids = array.Ids("mappingview");
        return ids.size() == 1 && ids[0] != view;
    });
    zavctl->AwaitError("The MapView has been deleted!");
    zavctl->Signal(SIGTERM);
    EXPECT_EQ(0, zavctl->Wait());
}

} // namespace
