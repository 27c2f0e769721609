#include "simulator/array/state_file.h"

#include "simulator/array/operations.h"
#include "simulator/array/state_json.h"
#include "simulator/json/json_io.h"
#include "tests/support/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>

namespace ZavSim {
namespace {

using ::testing::HasSubstr;

class StateFileTest : public ::testing::Test {
protected:
    StateFileTest()
    {
        CreateObject(state, Kind::Host, "h", "");
        CreateObject(state, Kind::Host, "gone", "");
        DeleteObject(state, Kind::Host, "2");
        CreateObject(state, Kind::HostGroup, "hg", "");
        CreateObject(state, Kind::LunGroup, "lg", "");
        CreateObject(state, Kind::MappingView, "v", "");
        CreateObject(state, Kind::Snapshot, "s", "7");
        RegisterInitiator(state, Kind::IscsiInitiator, "iqn.2020-01.example:1");
        Associate(state, Kind::Host, "1", Kind::IscsiInitiator, "iqn.2020-01.example:1");
        Associate(state, Kind::HostGroup, "1", Kind::Host, "1");
        Associate(state, Kind::LunGroup, "1", Kind::Lun, "7");
        Associate(state, Kind::LunGroup, "1", Kind::Snapshot, "1");
        Associate(state, Kind::MappingView, "1", Kind::HostGroup, "1");
        Associate(state, Kind::MappingView, "1", Kind::LunGroup, "1");
        SetPortOnline(state, "2100000000000001", true);
        state.Remove(Kind::Lun, "3");
    }

    /// What loading the text complains of.
    std::string Complaint(const std::string& text, std::uint64_t luns = 10)
    {
        folder.Write("state", text);
        try {
            file.Load(luns);
        } catch (const std::exception& error) {
            EXPECT_EQ(text, folder.Read("state")) << "the file must be left as it was";
            return error.what();
        }
        return "";
    }

    /// Complaint about the saved state with one thing changed in it.
    template <typename Spoil>
    std::string ComplaintAfter(Spoil spoil)
    {
        Json::Value root = StateToJson(state, "S1");
        spoil(root);
        return Complaint(WriteJson(root));
    }

    TemporaryFolder folder;
    StateFile file{folder.File("state"), "S1"};
    State state{10};
};

TEST_F(StateFileTest, LoadWithoutAFileIsAFreshState)
{
    EXPECT_EQ(WriteJson(StateToJson(State(10), "S1")), WriteJson(StateToJson(file.Load(10), "S1")));
}

TEST_F(StateFileTest, LoadGivesBackWhatWasSaved)
{
    file.Save(state);
    State loaded = file.Load(10);
    EXPECT_EQ(WriteJson(StateToJson(state, "S1")), WriteJson(StateToJson(loaded, "S1")));
    EXPECT_TRUE(loaded.IsLinked(Kind::LunGroup, "1", Kind::Snapshot, "1"));
    EXPECT_FALSE(loaded.Has(Kind::Lun, "3"));
    EXPECT_EQ("3", CreateObject(loaded, Kind::Host, "next", "")) << "ids are not given out again";
}

TEST_F(StateFileTest, SaveIsForTheOwnerAloneAndLeavesNoTemporaryFile)
{
    file.Save(state);
    struct stat status = {};
    ASSERT_EQ(0, ::stat(folder.File("state").c_str(), &status));
    EXPECT_EQ(0600U, status.st_mode & 07777U);
    EXPECT_FALSE(std::filesystem::exists(folder.File("state.new")));
}

TEST_F(StateFileTest, SaveIntoAMissingFolderNamesTheFile)
{
    std::filesystem::create_directory(folder.File("no"));
    const StateFile lost(folder.File("no/state"), "S1");
    std::filesystem::remove_all(folder.File("no"));
    try {
        lost.Save(state);
        FAIL() << "saved";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), HasSubstr(folder.File("no/state")));
        EXPECT_THAT(error.what(), HasSubstr("No such file or directory"));
    }
}

TEST_F(StateFileTest, LoadOfWhatIsNoStateNamesFileAndReason)
{
    EXPECT_THAT(Complaint(""), HasSubstr(folder.File("state") + " is not JSON"));
    EXPECT_THAT(Complaint("{\"format\":1"), HasSubstr("is not JSON"));
    EXPECT_THAT(Complaint("[]"), HasSubstr("format: missing"));
    EXPECT_THAT(Complaint("{\"format\":2}"), HasSubstr("format: not 1"));
    EXPECT_THAT(Complaint("{\"format\":\"1\"}"), HasSubstr("format: of the wrong type"));
}

TEST_F(StateFileTest, LoadOfAnotherArraysStateIsRefused)
{
    EXPECT_THAT(ComplaintAfter([](Json::Value& root) { root["serial"] = "S2"; }), HasSubstr("the state of array S2"));
}

TEST_F(StateFileTest, LoadOfAStateWithMoreLunsIsRefused)
{
    EXPECT_THAT(Complaint(WriteJson(StateToJson(state, "S1")), 7), HasSubstr("this array has no LUN 7"));
}

TEST_F(StateFileTest, LoadOfContradictionsNamesThePlace)
{
    EXPECT_THAT(ComplaintAfter([](Json::Value& root) { root["objects"]["host"]["1"].removeMember("name"); }),
                HasSubstr("objects.host.1.name: missing"));
    EXPECT_THAT(ComplaintAfter([](Json::Value& root) { root["objects"]["host"]["9"]["name"] = "x"; }),
                HasSubstr("objects.host.9: its id was never given out"));
    EXPECT_THAT(ComplaintAfter([](Json::Value& root) { root["objects"]["host"]["2"]["name"] = "h"; }),
                HasSubstr("objects.host.2.name: used twice"));
    EXPECT_THAT(ComplaintAfter([](Json::Value& root) { root["objects"]["disk"]["1"]["name"] = "h"; }),
                HasSubstr("unknown kind \"disk\""));
    EXPECT_THAT(ComplaintAfter([](Json::Value& root) { root["associations"][0]["memberId"] = "77"; }),
                HasSubstr("associations[0]"));
    EXPECT_THAT(ComplaintAfter([](Json::Value& root) { root["associations"].append(root["associations"][0]); }),
                HasSubstr("associated already"));
    EXPECT_THAT(ComplaintAfter([](Json::Value& root) { root["onlinePorts"][0] = "x"; }), HasSubstr("onlinePorts"));
    EXPECT_THAT(ComplaintAfter([](Json::Value& root) { root["deletedLuns"][0] = 3; }), HasSubstr("not a text"));
    EXPECT_THAT(ComplaintAfter([](Json::Value& root) { root["deletedLuns"][0] = "99"; }),
                HasSubstr("deletedLuns: this array has no LUN 99"));
    EXPECT_THAT(ComplaintAfter([](Json::Value& root) { root["objects"]["lun"]["1"]["name"] = "x"; }),
                HasSubstr("objects.lun: not objects of a kind that is recorded"));
    EXPECT_EQ("", ComplaintAfter([](Json::Value&) {}));
}

} // namespace
} // namespace ZavSim
