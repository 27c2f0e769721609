#include "simulator/array/operations.h"
#include "simulator/dataplane/exports.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace ZavSim {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* NODE = "iqn.2020-01.example.node:1";
constexpr const char* STRANGER = "iqn.2020-01.example.node:2";
constexpr const char* PORT = "200002000000000a";

/// A node whose host, host group, LUN group and mapping view are joined as a client joins them.
class ExportsTest : public ::testing::Test {
protected:
    ExportsTest()
    {
        host = CreateObject(state, Kind::Host, "node", "");
        hostGroup = CreateObject(state, Kind::HostGroup, "node", "");
        lunGroup = CreateObject(state, Kind::LunGroup, "node", "");
        view = CreateObject(state, Kind::MappingView, "node", "");
        RegisterInitiator(state, Kind::IscsiInitiator, NODE);
        Associate(state, Kind::Host, host, Kind::IscsiInitiator, NODE);
        Associate(state, Kind::HostGroup, hostGroup, Kind::Host, host);
        Associate(state, Kind::MappingView, view, Kind::HostGroup, hostGroup);
        Associate(state, Kind::MappingView, view, Kind::LunGroup, lunGroup);
    }

    void AddLun(const std::string& lun) { Associate(state, Kind::LunGroup, lunGroup, Kind::Lun, lun); }
    void TakeLun(const std::string& lun) { Dissociate(state, Kind::LunGroup, lunGroup, Kind::Lun, lun); }

    /// What the node sees now; numbers go on from the last call.
    LunTable Seen(const Initiator& initiator = {Kind::IscsiInitiator, NODE})
    {
        exports = WorkOutExports(state, exports);
        const auto found = exports.find(initiator);
        EXPECT_NE(exports.end(), found) << initiator.id;
        return found == exports.end() ? LunTable() : found->second;
    }

    State state{20000};
    Exports exports;
    std::string host;
    std::string hostGroup;
    std::string lunGroup;
    std::string view;
};

TEST_F(ExportsTest, WorkOutExportsFollowsTheViewFromInitiatorToLuns)
{
    AddLun("7");
    AddLun("12");
    EXPECT_EQ((LunTable{{1, 7}, {2, 12}}), Seen());
}

TEST_F(ExportsTest, WorkOutExportsKnowsARegisteredInitiatorThatSeesNothing)
{
    RegisterInitiator(state, Kind::IscsiInitiator, STRANGER);
    AddLun("7");
    EXPECT_THAT(Seen({Kind::IscsiInitiator, STRANGER}), IsEmpty());
}

TEST_F(ExportsTest, WorkOutExportsHasNoInitiatorThatTheArrayDoesNotKnow)
{
    AddLun("7");
    Seen();
    EXPECT_EQ(0U, exports.count({Kind::IscsiInitiator, STRANGER}));
}

TEST_F(ExportsTest, WorkOutExportsGivesFcPortsOfTheHostTheSameLuns)
{
    RegisterInitiator(state, Kind::FcInitiator, PORT);
    Associate(state, Kind::Host, host, Kind::FcInitiator, PORT);
    AddLun("7");
    EXPECT_EQ((LunTable{{1, 7}}), Seen({Kind::FcInitiator, PORT}));
    EXPECT_EQ((LunTable{{1, 7}}), Seen());
}

TEST_F(ExportsTest, LunThatStaysKeepsItsNumberAndANewOneTakesTheLowestFree)
{
    AddLun("5");
    AddLun("6");
    AddLun("7");
    EXPECT_EQ((LunTable{{1, 5}, {2, 6}, {3, 7}}), Seen());
    TakeLun("6");
    EXPECT_EQ((LunTable{{1, 5}, {3, 7}}), Seen());
    AddLun("1");
    AddLun("2");
    EXPECT_EQ((LunTable{{1, 5}, {2, 1}, {3, 7}, {4, 2}}), Seen());
}

TEST_F(ExportsTest, LunInTwoGroupsIsSeenOnce)
{
    const std::string second = CreateObject(state, Kind::LunGroup, "second", "");
    const std::string secondView = CreateObject(state, Kind::MappingView, "second", "");
    Associate(state, Kind::MappingView, secondView, Kind::HostGroup, hostGroup);
    Associate(state, Kind::MappingView, secondView, Kind::LunGroup, second);
    Associate(state, Kind::LunGroup, second, Kind::Lun, "7");
    Associate(state, Kind::LunGroup, second, Kind::Lun, "8");
    AddLun("7");
    EXPECT_EQ((LunTable{{1, 7}, {2, 8}}), Seen());
}

TEST_F(ExportsTest, EachJointThatGoesTakesTheLunsAway)
{
    AddLun("7");
    const struct {
        Kind container;
        Kind member;
        std::string containerId;
        std::string memberId;
    } joints[] = {{Kind::MappingView, Kind::LunGroup, view, lunGroup},
                  {Kind::MappingView, Kind::HostGroup, view, hostGroup},
                  {Kind::HostGroup, Kind::Host, hostGroup, host},
                  {Kind::Host, Kind::IscsiInitiator, host, NODE}};
    for (const auto& joint : joints) {
        Dissociate(state, joint.container, joint.containerId, joint.member, joint.memberId);
        EXPECT_THAT(Seen(), IsEmpty()) << joint.memberId;
        Associate(state, joint.container, joint.containerId, joint.member, joint.memberId);
        EXPECT_EQ((LunTable{{1, 7}}), Seen());
    }
}

TEST_F(ExportsTest, InitiatorThatMovesToAnotherHostSeesThatHostsLuns)
{
    AddLun("7");
    Seen();
    RemoveFromHost(state, Kind::IscsiInitiator, NODE);
    const std::string other = CreateObject(state, Kind::Host, "other", "");
    Associate(state, Kind::Host, other, Kind::IscsiInitiator, NODE);
    EXPECT_THAT(Seen(), IsEmpty());
}

TEST_F(ExportsTest, LunThatIsDeletedGoes)
{
    AddLun("7");
    AddLun("8");
    Seen();
    state.Remove(Kind::Lun, "7");
    EXPECT_EQ((LunTable{{2, 8}}), Seen());
}

TEST_F(ExportsTest, SnapshotsAreNotExported)
{
    const std::string snapshot = CreateObject(state, Kind::Snapshot, "s", "7");
    Associate(state, Kind::LunGroup, lunGroup, Kind::Snapshot, snapshot);
    EXPECT_THAT(Seen(), IsEmpty());
}

TEST_F(ExportsTest, MoreLunsThanNumbersAreRefusedNamingTheInitiator)
{
    for (std::uint64_t lun = 0; lun < HIGHEST_LUN_NUMBER; ++lun) {
        AddLun(std::to_string(lun));
    }
    EXPECT_EQ(HIGHEST_LUN_NUMBER, Seen().rbegin()->first);
    AddLun(std::to_string(HIGHEST_LUN_NUMBER));
    try {
        Seen();
        FAIL() << "nothing was said";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), HasSubstr(std::string("initiator ") + NODE + " would see 16384 LUNs"));
    }
}

} // namespace
} // namespace ZavSim
