#include "tests/simulator/support/running_simulation.h"

#include <gmock/gmock.h>

#include <unistd.h>

#include <filesystem>

namespace ZavSimTest {
namespace {

using ::testing::HasSubstr;
using ZavSim::Code;

class RestartTest : public SimulationTest {
protected:
    RestartTest()
    {
        options.stateFile = folder.File("state.json");
        Start();
    }
};

TEST_F(RestartTest, ObjectsSurviveAndSessionsDoNot)
{
    auto client = Client();
    const std::string group = client->Make("lungroup", "lg");
    client->Post("lungroup/associate", R"({"ID":")" + group + R"(","ASSOCIATEOBJTYPE":"11","ASSOCIATEOBJID":"5"})");
    Admin("POST", "ports", R"({"wwn":"2100000000000001","online":true})");
    const Json::Value before = Admin("GET", "objects").json;
    const std::string token = client->token;
    Start();
    EXPECT_EQ(before, Admin("GET", "objects").json);
    auto late = std::make_unique<ArrayClient>(Url());
    late->device = client->device;
    late->token = token;
    late->cookie = client->cookie;
    EXPECT_CODE(-401, late->Get("lun/count"));
    EXPECT_EQ("2", Client()->Make("lungroup", "other"));
}

TEST_F(RestartTest, DamagedStateKeepsItFromStartingAndIsNotTouched)
{
    simulation.reset();
    folder.Write("state.json", "{\"format\":1,");
    try {
        Start();
        FAIL() << "started";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), HasSubstr("the state file " + folder.File("state.json") + " is not JSON"));
    }
    EXPECT_EQ("{\"format\":1,", folder.Read("state.json"));
}

TEST_F(RestartTest, ChangeThatCannotBeSavedIsNotMade)
{
    const auto client = Client();
    client->Make("host", "first");
    const std::string saved = folder.Read("state.json");
    std::filesystem::rename(folder.File("state.json"), folder.File("aside"));
    std::filesystem::create_directory(folder.File("state.json")); // no file can take its place
    const Reply refused = client->Post("host", R"({"NAME":"second","TYPE":"21"})");
    EXPECT_CODE(Code::StateNotSaved, refused);
    EXPECT_THAT(refused.json["error"]["description"].asString(), HasSubstr("state.json"));
    EXPECT_CODE(Code::HostGone, client->Get("host/2"));
    EXPECT_EQ(saved, folder.Read("aside"));
    std::filesystem::remove(folder.File("state.json"));
    EXPECT_EQ("2", client->Make("host", "second"));
}

TEST_F(RestartTest, FolderThatCannotBeWrittenShowsAtTheStart)
{
    options.stateFile = folder.File("missing/state.json");
    EXPECT_THROW(Start(), std::runtime_error);
}

TEST_F(RestartTest, SecondSimulatorWithTheStateFileIsRefusedAndChangesNothing)
{
    Client()->Make("host", "kept");
    const std::string saved = folder.Read("state.json");
    options.onlinePorts = {"2100000000000001"}; // which the second would save
    try {
        ZavSim::Simulation second(options);
        FAIL() << "two simulators on one state file";
    } catch (const std::runtime_error& error) {
        EXPECT_EQ("another simulator uses the state file " + folder.File("state.json"), std::string(error.what()));
    }
    EXPECT_EQ(saved, folder.Read("state.json"));
}

} // namespace
} // namespace ZavSimTest
