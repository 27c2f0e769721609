#include "tests/integration/stage.h"

#include <gmock/gmock.h>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/replace.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/filesystem/operations.hpp>

#include <csignal>
#include <sstream>

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

namespace fs = boost::filesystem;

namespace {

class ZavctlTest : public Stage {};

TEST_F(ZavctlTest, InitPrintsTheNineFieldsAsATable)
{
    const Array& array = StartServedArray();
    const Base::ProgramResult outcome = RunZavctl({"init", "--env", EnvironmentFileOf(array)});
    ASSERT_EQ(0, outcome.status) << outcome.errors;
    std::vector<std::string> titles;
    std::istringstream lines(outcome.output);
    for (std::string line; std::getline(lines, line);) {
        titles.push_back(line.substr(0, line.find("  ")));
    }
    EXPECT_THAT(titles, ElementsAre("DEVICE KEY", "HOST GROUP ID", "HOST GROUP NAME", "HOST ID", "HOST NAME",
                                    "LUN GROUP ID", "LUN GROUP NAME", "MAPPING VIEW ID", "MAPPING VIEW NAME"));
    EXPECT_THAT(outcome.output, HasSubstr("DEVICE KEY         " + array.Options().serial + "\n"));
    EXPECT_THAT(outcome.errors, AllOf(HasSubstr("logged in at " + array.Url()), HasSubstr("this node is prepared"),
                                      Not(HasSubstr(PASSWORD))));
    EXPECT_EQ(0U, array.SessionCount()) << "a command leaves no session behind";
}

TEST_F(ZavctlTest, InitOfSeveralEnvironmentsPrintsAColumnOrObjectEach)
{
    const Array& first = StartArray();
    const Array& second = StartArray();
    StartTargets({first.Options().serviceIps[0], second.Options().serviceIps[0]});
    const Base::ProgramResult outcome =
        RunZavctl({"init", "--env", EnvironmentFileOf(first), "--env", EnvironmentFileOf(second), "-o", "json"});
    ASSERT_EQ(0, outcome.status) << outcome.errors;
    const Json::Value answer = ParseJsonText(outcome.output);
    EXPECT_EQ("zavctl/1", answer["schema"].asString());
    EXPECT_FALSE(answer.isMember("errors"));
    const Json::Value& arrays = answer["arrays"];
    ASSERT_EQ(2U, arrays.size());
    EXPECT_EQ(first.Options().serial, arrays[0]["device_key"].asString());
    EXPECT_EQ(second.Options().serial, arrays[1]["device_key"].asString());
    EXPECT_THAT(arrays[0].getMemberNames(), SizeIs(9));
}

TEST_F(ZavctlTest, InitOfSeveralEnvironmentsDoesAllThatItCan)
{
    const Array& good = StartArray();
    const Array& down = StartArray();
    StartTargets({good.Options().serviceIps[0], down.Options().serviceIps[0]});
    const std::string envOfDown = EnvironmentFileOf(down);
    down.SetListening(0, false);
    for (const auto& order : {std::vector<std::string>{EnvironmentFileOf(good), envOfDown},
                              std::vector<std::string>{envOfDown, EnvironmentFileOf(good)}}) {
        const Base::ProgramResult outcome = RunZavctl({"init", "--env", order[0], "--env", order[1], "-o", "json"});
        EXPECT_EQ(3, outcome.status);
        EXPECT_THAT(outcome.errors, HasSubstr("(libcurl 7)\nzavctl: remedy: nothing listens there"));
        const Json::Value answer = ParseJsonText(outcome.output);
        ASSERT_EQ(1U, answer["arrays"].size());
        EXPECT_EQ(good.Options().serial, answer["arrays"][0]["device_key"].asString());
        ASSERT_EQ(1U, answer["errors"].size());
        EXPECT_EQ(8, answer["errors"][0]["exit"].asInt());
    }
}

TEST_F(ZavctlTest, FailureIsToldAsJsonToWhoeverWantsJson)
{
    const Base::ProgramResult outcome = RunZavctl({"inventory", "--env", "/no/such.json", "-o", "json"});
    EXPECT_EQ(7, outcome.status);
    const Json::Value answer = ParseJsonText(outcome.output);
    EXPECT_EQ("zavctl/1", answer["schema"].asString());
    EXPECT_EQ("environment /no/such.json: No such file or directory", answer["error"]["cause"].asString());
    EXPECT_THAT(answer["error"]["remedy"].asString(), HasSubstr("name a file that is there"));
    EXPECT_EQ(7, answer["error"]["exit"].asInt());
}

TEST_F(ZavctlTest, CauseIsWhatTheArraySaidFirstOfAll)
{
    const Array& array = StartServedArray();
    array.AddFault(R"({"kind": "code", "code": 1090519046, "description": "the name is in use", "method": "POST", )"
                   R"("target": "mappingview$", "count": 0})");
    const Base::ProgramResult outcome = RunZavctl({"init", "--env", EnvironmentFileOf(array)});
    EXPECT_EQ(9, outcome.status);
    EXPECT_THAT(outcome.errors, AllOf(HasSubstr("this node could not be prepared on " + array.Url() +
                                                ": the array refused to create mapping view \"Vendrix_"),
                                      HasSubstr(R"(": "the name is in use" (1090519046))"), Not(HasSubstr("is nil!"))));
}

TEST_F(ZavctlTest, WatchSurvivesAnArrayThatIsDownAtItsStartAndTellsLossAndRecoveryOnce)
{
    ArrayOptions options;
    options.managementIps = {Address(0), Address(1)}; // the second is for the test alone
    const Array& array = StartServedArray(options);
    const std::string env = EnvironmentFileOf(array);
    const std::string text = ReadText(env);
    const std::string second = ", \"" + Address(1) + "\"";
    WriteText(env, std::string(text).replace(text.find(second), second.size(), ""));
    array.SetListening(0, false);
    const std::unique_ptr<Process> zavctl = StartZavctl({"init", "--env", env, "--watch", "1"});
    zavctl->AwaitError(" lost: ");
    array.SetListening(0, true);
    zavctl->AwaitError(" recovered: " + env);
    zavctl->AwaitLine("MAPPING VIEW NAME");
    zavctl->Signal(SIGTERM);
    EXPECT_EQ(0, zavctl->Wait());
    const std::string errors = zavctl->Errors();
    EXPECT_EQ(errors.find(" lost: "), errors.rfind(" lost: ")) << errors;
}

TEST_F(ZavctlTest, WatchDoesNotRepeatARefusedLoginAsItIs)
{
    const Array& array = StartServedArray();
    const std::string env = EnvironmentFileOf(array);
    const std::string right = ReadText(env);
    std::string wrong = right;
    wrong.replace(wrong.find("\"admin\""), 7, "\"other\"");
    WriteText(env, wrong);
    const std::unique_ptr<Process> zavctl = StartZavctl({"init", "--env", env, "--watch", "1"});
    zavctl->AwaitError("waiting for another environment or configuration");
    const std::size_t logins = array.Requests().size();
    WriteText(env, right);
    zavctl->AwaitLine("MAPPING VIEW NAME");
    const std::vector<std::string> requests = array.Requests();
    EXPECT_EQ(logins + 1, static_cast<std::size_t>(std::count(requests.begin(), requests.end(), "POST sessions")));
    zavctl->Signal(SIGTERM);
    EXPECT_EQ(0, zavctl->Wait());
}

TEST_F(ZavctlTest, WatchSeesWhatWasPutRightWhileItLoggedIn)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    const std::string env = EnvironmentFileOf(array);
    const std::string right = ReadText(env);
    WriteText(env, boost::replace_all_copy(right, "\"admin\"", "\"nobody\""));
    array.AddFault(R"({"kind": "delay", "milliseconds": 1500, "method": "POST", "target": "sessions"})");
    const std::unique_ptr<Process> zavctl = StartZavctl({"init", "--env", env, "--watch", "1"});
    zavctl->AwaitError("logging into the array");
    WriteText(env, right);
    zavctl->AwaitError("waiting for another environment or configuration");
    zavctl->AwaitLine("MAPPING VIEW NAME");
    zavctl->Signal(SIGTERM);
    EXPECT_EQ(0, zavctl->Wait());
}

TEST_F(ZavctlTest, WatchGoesOnWithTheOthersWhileOneRefusesItsLogin)
{
    const Array& good = StartArray();
    const Array& other = StartArray();
    StartTargets({good.Options().serviceIps[0], other.Options().serviceIps[0]});
    const std::string env = EnvironmentFileOf(other);
    const std::string right = ReadText(env);
    Change(env, "\"admin\"", "\"nobody\"");
    const std::unique_ptr<Process> zavctl =
        StartZavctl({"init", "--env", EnvironmentFileOf(good), "--env", env, "--watch", "1"});
    zavctl->AwaitError("waiting for another environment or configuration");
    for (int round = 0; round < 2; ++round) {
        const std::string view = good.Ids("mappingview").at(0);
        good.DeleteBehindBack("mappingview", view);
        WaitUntil("another view", [&good, &view] {
            const std::vector<std::string> ids = good.Ids("mappingview");
            return ids.size() == 1 && ids[0] != view;
        });
    }
    EXPECT_THAT(other.Requests(), ElementsAre("POST sessions")) << "a login that was refused is not repeated";
    WriteText(env, right);
    zavctl->AwaitError(" recovered: " + env);
    zavctl->Signal(SIGTERM);
    EXPECT_EQ(0, zavctl->Wait());
}

TEST_F(ZavctlTest, WatchWaitsForAnEnvironmentThatIsBeingWritten)
{
    const Array& array = StartServedArray();
    const std::string env = EnvironmentFileOf(array);
    const std::string right = ReadText(env);
    Change(env, "\"admin\"", "\"nobody\"");
    const std::unique_ptr<Process> zavctl = StartZavctl({"init", "--env", env, "--watch", "1"});
    zavctl->AwaitError("waiting for another environment or configuration");
    WriteText(env, "");
    zavctl->AwaitError("environment " + env + ": it is empty; it is waited for");
    fs::remove(env);
    zavctl->AwaitError("environment " + env + ": No such file or directory; it is waited for");
    fs::create_directory(env);
    zavctl->AwaitError("environment " + env + ": Is a directory; it is waited for");
    fs::remove(env);
    WriteText(env, right);
    zavctl->AwaitLine("MAPPING VIEW NAME");
    zavctl->Signal(SIGTERM);
    EXPECT_EQ(0, zavctl->Wait());
}

TEST_F(ZavctlTest, WatchPreparesTheNodeAnewWhenAnObjectIsGoneAndStopsOnSignal)
{
    const Array& array = StartServedArray();
    const std::unique_ptr<Process> zavctl = StartZavctl({"init", "--env", EnvironmentFileOf(array), "--watch", "1"});
    zavctl->AwaitLine("MAPPING VIEW NAME");
    const std::string firstView = array.Ids("mappingview").at(0);
    array.DeleteBehindBack("mappingview", firstView);

    zavctl->AwaitError("The MapView has been deleted!");
    WaitUntil("a second table", [&zavctl] {
        const std::string output = zavctl->Output();
        return output.find("DEVICE KEY") != output.rfind("DEVICE KEY") && output.back() == '\n';
    });
    EXPECT_THAT(array.Ids("mappingview"), AllOf(SizeIs(1), Not(ElementsAre(firstView))));
    zavctl->Signal(SIGTERM);
    EXPECT_EQ(0, zavctl->Wait());
    EXPECT_THAT(zavctl->Errors(), HasSubstr("zavctl: stopped\n"));
    EXPECT_EQ(0U, array.SessionCount());
}

TEST_F(ZavctlTest, WatchLogsInAnewAfterTheArrayDroppedTheSession)
{
    const Array& array = StartServedArray();
    const std::unique_ptr<Process> zavctl = StartZavctl({"init", "--env", EnvironmentFileOf(array), "--watch", "1"});
    zavctl->AwaitLine("MAPPING VIEW NAME");
    array.EndSessions();
    array.ClearJournal();
    zavctl->AwaitError("could not be prepared");
    WaitUntil("a new session", [&array] { return array.SessionCount() == 1; });
    zavctl->Signal(SIGINT);
    EXPECT_EQ(0, zavctl->Wait()) << zavctl->Errors();
}

TEST_F(ZavctlTest, InventoryPrintsSystemPortsPoolsAndEveryLun)
{
    ArrayOptions options;
    options.further = {"--luns", "1234", "--pools", "3"};
    const Array& array = StartArray(options);
    const Base::ProgramResult table = RunZavctl({"inventory", "--env", EnvironmentFileOf(array), "--page-size", "100"});
    ASSERT_EQ(0, table.status) << table.errors;
    EXPECT_THAT(table.output, AllOf(HasSubstr("SERIAL NUMBER     " + array.Options().serial + "\n"),
                                    HasSubstr("SERVICE PORTS     " + array.Options().serviceIps[0] + "\n"),
                                    HasSubstr("LUNS              1234\n")));

    const Base::ProgramResult json = RunZavctl({"inventory", "--env", EnvironmentFileOf(array), "-o", "json"});
    ASSERT_EQ(0, json.status) << json.errors;
    const Json::Value inventory = ParseJsonText(json.output);
    EXPECT_EQ(3U, inventory["pools"].size());
    ASSERT_EQ(1234U, inventory["luns"].size());
    for (Json::ArrayIndex i = 1; i < inventory["luns"].size(); ++i) {
        ASSERT_EQ(inventory["luns"][i - 1]["id"].asUInt64() + 1, inventory["luns"][i]["id"].asUInt64());
    }
    EXPECT_GT(inventory["luns"][0]["capacity_bytes"].asUInt64(), 0U);
}

TEST_F(ZavctlTest, InitOnANodeWithAnOnlineFcPortNeedsNoIscsiSession)
{
    const Array& array = StartArray(); // and no iSCSI target
    SetFcPorts({"0x21000024ff4b8c1a"});
    array.SetFcPortOnline("21000024ff4b8c1a", true);
    const Base::ProgramResult outcome = RunZavctl({"init", "--env", EnvironmentFileOf(array)});
    EXPECT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_THAT(outcome.errors, HasSubstr("this node is prepared"));
}

TEST_F(ZavctlTest, InventoryThatTheArrayRefusesNamesWhatCannotBeRead)
{
    const Array& array = StartArray();
    array.AddFault(R"({"kind": "code", "code": 42, "description": "no way", "target": "/storagepool"})");
    const Base::ProgramResult outcome = RunZavctl({"inventory", "--env", EnvironmentFileOf(array)});
    EXPECT_EQ(9, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("zavctl: " + array.Url() + ": cannot read the storage pools: no way (42)\n"));
    EXPECT_EQ("", outcome.output);
    EXPECT_EQ(0U, array.SessionCount()) << "a command that fails leaves no session behind either";
}

TEST_F(ZavctlTest, VerboseShowsEachLineOfTheLibraryOnce)
{
    const Array& array = StartArray();
    array.AddFault(R"({"kind": "code", "code": 42, "description": "no way", "target": "/storagepool"})");
    const Base::ProgramResult outcome = RunZavctl({"-vv", "inventory", "--env", EnvironmentFileOf(array)});
    EXPECT_EQ(9, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("Login zav device successfully! Device url is " + array.Url()));
    const std::string failure = "Get all storagePool failed.";
    EXPECT_THAT(outcome.errors, HasSubstr(failure));
    EXPECT_EQ(outcome.errors.find(failure), outcome.errors.rfind(failure)) << outcome.errors;
}

TEST_F(ZavctlTest, CommandThatIsMistypedIsGuessed)
{
    const std::string remedy = "zavctl: remedy: zavctl --help, or --help behind the command, tells what it takes\n";
    for (const auto& [typed, meant] : std::vector<std::pair<std::string, std::string>>{
             {"inventroy", "inventory"}, {"initt", "init"}, {"cleenup", "cleanup"}, {"pasword", "password"}}) {
        const Base::ProgramResult outcome = RunZavctl({typed, "--env", "x"});
        EXPECT_EQ(2, outcome.status);
        EXPECT_EQ("zavctl: no command " + typed + ": did you mean " + meant + "?\n" + remedy, outcome.errors);
    }
    EXPECT_EQ("zavctl: no command xyzzy: zavctl --help tells which there are\n" + remedy, RunZavctl({"xyzzy"}).errors);
    EXPECT_THAT(RunZavctl({"--timeout", "5", "init"}).errors,
                StartsWith("zavctl: An environment, by --env or ZAVCTL_ENV,"))
        << "the value of an option is no command";
}

TEST_F(ZavctlTest, VerbosityMayStandBehindTheCommand)
{
    const Array& array = StartArray();
    const Base::ProgramResult outcome = RunZavctl({"inventory", "--env", EnvironmentFileOf(array), "-vv"});
    EXPECT_EQ(0, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("Login zav device successfully!"));
}

TEST_F(ZavctlTest, DryCleanupTellsAndChangesNothing)
{
    const Array& array = StartServedArray();
    const std::string env = EnvironmentFileOf(array);
    ASSERT_EQ(0, RunZavctl({"init", "--env", env}).status);
    array.ClearJournal();
    const Base::ProgramResult outcome = RunZavctl({"cleanup", "--env", env, "--dry-run"});
    EXPECT_EQ(0, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("removing mapping view 1, host group 1, host 1, LUN group 1"));
    for (const std::string& request : array.Requests()) {
        EXPECT_TRUE(request.rfind("GET ", 0) == 0 || request.find("sessions") != std::string::npos) << request;
    }
    EXPECT_THAT(array.Ids("mappingview"), SizeIs(1));
}

TEST_F(ZavctlTest, CleanupTellsNothingOfAnothersHostThatBearsTheIdOfThisNodes)
{
    ArrayOptions options;
    options.further = {"--reuse-ids"};
    const Array& array = StartServedArray(options);
    const std::string env = EnvironmentFileOf(array);
    ASSERT_EQ(0, RunZavctl({"init", "--env", env}).status);
    array.DeleteBehindBack("host", "1");
    ASSERT_EQ("1", array.Operate("POST", "host", R"({"NAME":"theirs","TYPE":"21"})")["ID"].asString());
    const Base::ProgramResult cleanup = RunZavctl({"cleanup", "--env", env, "--delete-host"});
    EXPECT_EQ(0, cleanup.status) << cleanup.errors;
    EXPECT_THAT(cleanup.errors, AllOf(::testing::ContainsRegex("zavctl: host 1 .Vendrix_[^)]*. is gone\n"),
                                      Not(HasSubstr("is in a host group that is not this node's"))));
    EXPECT_EQ("theirs", array.Object("host", "1")["name"].asString());
}

TEST_F(ZavctlTest, CleanupRemovesWhatInitMadeAndItsRecord)
{
    const Array& array = StartServedArray();
    const std::string env = EnvironmentFileOf(array);
    ASSERT_EQ(0, RunZavctl({"init", "--env", env}).status);
    const Base::ProgramResult cleanup = RunZavctl({"cleanup", "--env", env});
    ASSERT_EQ(0, cleanup.status) << cleanup.errors;
    for (const char* const kind : {"mappingview", "hostgroup", "lungroup", "host"}) {
        EXPECT_THAT(array.Ids(kind), IsEmpty()) << kind;
    }
    EXPECT_EQ("", ReadText(ZavctlRecordPath(array)));

    const Base::ProgramResult again = RunZavctl({"cleanup", "--env", env});
    EXPECT_EQ(0, again.status);
    EXPECT_THAT(again.errors, HasSubstr("nothing is recorded for this array"));
}

TEST_F(ZavctlTest, CleanupKeepsAHostThatASecondInitFoundUnlessItIsToldToRemoveIt)
{
    const Array& array = StartServedArray();
    const std::string env = EnvironmentFileOf(array);
    ASSERT_EQ(0, RunZavctl({"init", "--env", env}).status);
    ASSERT_EQ(0, RunZavctl({"init", "--env", env}).status);
    const Base::ProgramResult cleanup = RunZavctl({"cleanup", "--env", env, "--delete-host"});
    ASSERT_EQ(0, cleanup.status) << cleanup.errors;
    EXPECT_THAT(array.Ids("host"), IsEmpty());
}

TEST_F(ZavctlTest, CleanupLeavesAHostThatASecondInitFound)
{
    const Array& array = StartServedArray();
    const std::string env = EnvironmentFileOf(array);
    ASSERT_EQ(0, RunZavctl({"init", "--env", env}).status);
    ASSERT_EQ(0, RunZavctl({"init", "--env", env}).status);
    const std::string host = array.Ids("host").at(0);
    const Base::ProgramResult cleanup = RunZavctl({"cleanup", "--env", env});
    ASSERT_EQ(0, cleanup.status) << cleanup.errors;
    EXPECT_THAT(cleanup.errors, HasSubstr("host " + host + " (kept)"));
    EXPECT_THAT(array.Members("host", host, "iscsi_initiator"), ElementsAre(NODE_IQN));
    EXPECT_THAT(array.Ids("hostgroup"), IsEmpty());
}

TEST_F(ZavctlTest, CleanupLeavesTheRecordsOfOtherArraysInTheFile)
{
    const Array& array = StartServedArray();
    const std::string env = EnvironmentFileOf(array);
    WriteText(ZavctlRecordPath(array), R"({"another array": {"HOSTID": "12"}})");
    ASSERT_EQ(0, RunZavctl({"init", "--env", env}).status);
    const Base::ProgramResult cleanup = RunZavctl({"cleanup", "--env", env});
    ASSERT_EQ(0, cleanup.status) << cleanup.errors;
    const Json::Value records = ParseJsonText(ReadText(ZavctlRecordPath(array)));
    EXPECT_THAT(records.getMemberNames(), ElementsAre("another array"));
    EXPECT_EQ("12", records["another array"]["HOSTID"].asString());
}

TEST_F(ZavctlTest, CleanupKeepsTheRecordOfWhatItCouldNotRemove)
{
    const Array& array = StartServedArray();
    const std::string env = EnvironmentFileOf(array);
    ASSERT_EQ(0, RunZavctl({"init", "--env", env}).status);
    const std::string record = ReadText(ZavctlRecordPath(array));
    array.AddFault(
        R"({"kind": "code", "code": 42, "description": "no way", "method": "DELETE", "target": "/hostgroup/"})");
    const Base::ProgramResult cleanup = RunZavctl({"cleanup", "--env", env});
    EXPECT_EQ(9, cleanup.status);
    EXPECT_THAT(cleanup.errors,
                AllOf(HasSubstr("the array refused: \"no way\" (42)"),
                      HasSubstr("cleanup stopped with code 42; the record stays in " + ZavctlRecordPath(array))));
    EXPECT_EQ(record, ReadText(ZavctlRecordPath(array)));
    EXPECT_EQ(0, RunZavctl({"cleanup", "--env", env}).status) << "a second run finishes it";
}

TEST_F(ZavctlTest, ConfigCheckPrintsEverySetting)
{
    const Base::ProgramResult outcome = RunZavctl({"config", "check"});
    EXPECT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_THAT(outcome.output, AllOf(StartsWith("SECTION"), HasSubstr("DosRequestInterval"), HasSubstr("VerifyPeer")));
}

TEST_F(ZavctlTest, CommandLineThatIsWrongEndsWithTwo)
{
    EXPECT_EQ(2, RunZavctl({}).status);
    EXPECT_EQ(2, RunZavctl({"init"}).status);
    EXPECT_EQ(2, RunZavctl({"init", "--env", "x", "-o", "xml"}).status);
    EXPECT_EQ(2, RunZavctl({"init", "--env", "x", "--watch", "0"}).status);
    EXPECT_EQ(2, RunZavctl({"nonsense"}).status);
    EXPECT_EQ(0, RunZavctl({"--help"}).status);
    EXPECT_EQ(0, RunZavctl({"--version"}).status);
}

} // namespace
