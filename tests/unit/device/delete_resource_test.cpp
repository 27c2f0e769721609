#include "tests/unit/device/delete_resource_test.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

// ---- the whole

class DeleteCreatedResourceTest : public DeleteResourceTest {
protected:
    int Delete() { return m_resource.DeleteCreatedResource(m_message, Session(), m_array); }
};

TEST_F(DeleteCreatedResourceTest, DeleteCreatedResourceTakesEverythingApartInOrder)
{
    m_resource.m_deleteHost = true;
    m_array->m_hostsInGroup = {"12", "13"};
    m_array->m_iscsiInitiators = {"iqn.node"};
    m_array->m_fcInitiators = {"2100"};
    m_array->m_luns = {"1"};
    m_array->m_snapshots = {"2"};
    EXPECT_EQ(0, Delete());
    EXPECT_THAT(m_array->Calls(),
                ElementsAre("CheckMapView 7 view", "RemoveHostGroup 5 7", "RemoveLunGroup 31 7", "DeleteMapView 7",
                            "CheckHostGroup 5 hosts", "GetAllHostIDFromHostGroup 5", "RemoveHost 12 5",
                            "RemoveHost 13 5", "DeleteHostGroup 5", "CheckHost 12 host", "GetIscsiInitiator 12",
                            "RemoveIscsiInitiator iqn.node", "GetFCInitiator 12", "RemoveFCInitiator 2100",
                            "DeleteHost 12", "GetLunIdByLunGroup 31", "CheckLunGroup 31 luns",
                            "RemoveLunFromLunGroup 31 1", "GetSnapshotIdByLunGroup 31", "CheckLunGroup 31 luns",
                            "RemoveSnapshotFromLunGroup 31 2", "CheckLunGroup 31 luns", "DeleteLunGroup 31"));
    EXPECT_THAT(LinesOf("DeleteCreatedResource"),
                ElementsAre("1 Begin to enter DeleteCreatedResource!", "1 End DeleteCreatedResource!"));
}

TEST_F(DeleteCreatedResourceTest, DeleteCreatedResourceLeavesTheHostUnlessTold)
{
    m_array->m_iscsiInitiators = {"iqn.node"};
    EXPECT_FALSE(m_resource.m_deleteHost);
    EXPECT_EQ(0, Delete());
    EXPECT_THAT(m_array->Calls(), Not(Contains(HasSubstr("Host 12"))));
    EXPECT_THAT(m_array->Calls(), Not(Contains(HasSubstr("Initiator"))));
    EXPECT_THAT(m_array->Calls(), Contains("DeleteLunGroup 31"));
}

TEST_F(DeleteCreatedResourceTest, DeleteCreatedResourceOfWhatIsGoneAlreadySucceeds)
{
    m_resource.m_deleteHost = true;
    m_array->Answer("CheckMapView", 1077951819);
    m_array->Answer("CheckHostGroup", 1077937500);
    m_array->Answer("CheckHost", 1077937498);
    m_array->HasNoLunGroup();
    EXPECT_EQ(0, Delete());
    EXPECT_THAT(m_array->Calls(),
                ElementsAre("CheckMapView 7 view", "CheckHostGroup 5 hosts", "CheckHost 12 host",
                            "GetLunIdByLunGroup 31", "CheckLunGroup 31 luns", "GetSnapshotIdByLunGroup 31",
                            "CheckLunGroup 31 luns", "CheckLunGroup 31 luns"));
}

TEST_F(DeleteCreatedResourceTest, DeleteCreatedResourceLeavesAGroupThatBearsTheIdByNow)
{
    // The array gave the ids of what is gone to somebody else's objects.
    m_resource.m_deleteHost = true;
    for (const char* const check : {"CheckMapView", "CheckHostGroup", "CheckHost", "CheckLunGroup"}) {
        m_array->Answer(check, -2);
    }
    m_array->m_hostsInGroup = {"66"};
    m_array->m_luns = {"1", "2"};
    m_array->m_snapshots = {"3"};
    EXPECT_EQ(0, Delete());
    EXPECT_THAT(m_array->Calls(), Not(Contains(StartsWith("Remove"))));
    EXPECT_THAT(m_array->Calls(), Not(Contains(StartsWith("Delete"))));
    EXPECT_THAT(LinesOf("RemoveLunFromLunGroup"), Contains("1 The LUN_GROUP has not exist!"));
}

TEST_F(DeleteCreatedResourceTest, DeleteCreatedResourceOfAnEmptyRecordAsksNothing)
{
    m_resource.m_deleteHost = true;
    m_message = DeviceMessage();
    EXPECT_EQ(0, Delete());
    EXPECT_THAT(m_array->Calls(), IsEmpty());
    EXPECT_THAT(LinesOf("CheckAndDeleteMapView"), Contains("4 The mapview has not exist"));
    EXPECT_THAT(LinesOf("CheckAndDeleteHostGroup"), Contains("1 The HostGroup has not exist!"));
    EXPECT_THAT(LinesOf("CheckAndDeleteHost"), Contains("1 The Host has not exist!"));
    EXPECT_THAT(LinesOf("RemoveLunFromLunGroup"), Contains("1 The LUN_GROUP has not exist!"));
    EXPECT_THAT(LinesOf("RemoveSnapshotFromLunGroup"), Contains("1 The LUN_GROUP has not exist!"));
    EXPECT_THAT(LinesOf("CheckAndDeleteLunGroup"), Contains("1 The LUN_GROUP has not exist!"));
}

TEST_F(DeleteCreatedResourceTest, DeleteCreatedResourceOfAPartialRecordRemovesWhatItHolds)
{
    // A run that stopped behind the host group.
    m_resource.m_deleteHost = true;
    m_message.lunGroupId.clear();
    m_message.lunGroupName.clear();
    m_message.mapViewId.clear();
    m_message.mapViewName.clear();
    m_array->m_hostsInGroup = {"12"};
    EXPECT_EQ(0, Delete());
    EXPECT_THAT(m_array->Calls(), ElementsAre("CheckHostGroup 5 hosts", "GetAllHostIDFromHostGroup 5",
                                              "RemoveHost 12 5", "DeleteHostGroup 5", "CheckHost 12 host",
                                              "GetIscsiInitiator 12", "GetFCInitiator 12", "DeleteHost 12"));
}

TEST_F(DeleteCreatedResourceTest, DeleteCreatedResourcePartsAViewOnlyFromGroupsThatHaveAnId)
{
    m_message.hostGroupId.clear();
    m_message.lunGroupId.clear();
    EXPECT_EQ(0, Delete());
    EXPECT_THAT(m_array->Calls(), ElementsAre("CheckMapView 7 view", "DeleteMapView 7"));
}

TEST_F(DeleteCreatedResourceTest, DeleteHostWithoutAnIdAsksNothing)
{
    m_array->m_iscsiInitiators = {"iqn.other"};
    EXPECT_EQ(0, m_resource.DeleteHost("", m_array));
    EXPECT_THAT(m_array->Calls(), IsEmpty());
    EXPECT_THAT(LinesOf("DeleteHost"), ElementsAre("1 Enter DeleteHost!", "1 The Host has not exist!"));
}

struct StepRow : NamedRow {
    std::string call;
    std::string line;
    std::string lastCall;
};

class DeleteCreatedResourceStepTest : public DeleteCreatedResourceTest,
                                      public ::testing::WithParamInterface<StepRow> {};

TEST_P(DeleteCreatedResourceStepTest, DeleteCreatedResourceStopsAtTheStepThatFails)
{
    m_resource.m_deleteHost = true;
    m_array->Answer(GetParam().call, 77, "no way");
    const bool isListing = GetParam().call.find("IdByLunGroup") != std::string::npos;
    EXPECT_EQ(isListing ? -1 : 77, Delete());
    EXPECT_THAT(LinesOf("DeleteCreatedResource"),
                ElementsAre("1 Begin to enter DeleteCreatedResource!", GetParam().line));
    EXPECT_EQ(GetParam().lastCall, m_array->Calls().back());
}

INSTANTIATE_TEST_SUITE_P(
    Steps, DeleteCreatedResourceStepTest,
    ::testing::Values(
        StepRow{{"MapView"}, "DeleteMapView", "4 CheckAndDeleteMapView failed! Reason: no way", "DeleteMapView 7"},
        StepRow{
            {"HostGroup"}, "DeleteHostGroup", "4 CheckAndDeleteHostGroup failed! Reason: no way", "DeleteHostGroup 5"},
        StepRow{{"Host"}, "CheckHost", "4 CheckAndDeleteHost failed! Reason: no way", "CheckHost 12 host"},
        StepRow{
            {"Luns"}, "GetLunIdByLunGroup", "4 RemoveLunFromLunGroup failed! Reason: no way", "CheckLunGroup 31 luns"},
        StepRow{{"Snapshots"},
                "GetSnapshotIdByLunGroup",
                "4 RemoveSnapshotFromLunGroup failed! Reason: no way",
                "CheckLunGroup 31 luns"},
        StepRow{{"LunGroup"}, "DeleteLunGroup", "4 CheckAndDeleteHost failed! Reason: no way", "DeleteLunGroup 31"}),
    RowName<StepRow>);

TEST_F(DeleteCreatedResourceTest, DeleteCreatedResourceReachesTheLunGroupPastALunThatStays)
{
    m_array->m_luns = {"1", "2"};
    m_array->Answer("RemoveLunFromLunGroup 31 1", 1);
    EXPECT_EQ(0, Delete());
    EXPECT_THAT(m_array->Calls(), Contains("RemoveLunFromLunGroup 31 2"));
    EXPECT_THAT(m_array->Calls(), Contains("DeleteLunGroup 31"));
}

TEST_F(DeleteCreatedResourceTest, DeleteCreatedResourceHandsOneErrorTextOn)
{
    // A step's text stays when a later one fails without telling why.
    m_array->Answer("RemoveHostGroup", 1077937500, "was not there");
    m_array->Answer("CheckHostGroup", 77);
    EXPECT_EQ(77, Delete());
    EXPECT_EQ("4 CheckAndDeleteHostGroup failed! Reason: was not there", LinesOf("DeleteCreatedResource").back());
}

// ---- the steps, by what the array answers

using Operation = int (DeleteResource::*)(const DeviceMessage&, const boost::shared_ptr<ZavRestApi>&, std::string&);

struct OutcomeRow : NamedRow {
    Operation operation;
    std::string call; // that answers `code`
    int code;
    int result;
    std::vector<std::string> lines; // between those of entry and exit
    std::string lastCall;
};

class DeleteResourceOutcomeTest : public DeleteResourceTest, public ::testing::WithParamInterface<OutcomeRow> {};

TEST_P(DeleteResourceOutcomeTest, StepTakesTheArraysAnswerForWhatItMeans)
{
    const OutcomeRow& row = GetParam();
    m_array->m_hostsInGroup = {"12"};
    m_array->Answer(row.call, row.code, "told by the array");
    EXPECT_EQ(row.result, (m_resource.*row.operation)(m_message, m_array, m_errorText));
    EXPECT_EQ("told by the array", m_errorText);
    EXPECT_EQ(row.lastCall, m_array->Calls().back());

    const std::string name = row.name.substr(0, row.name.find('_'));
    std::vector<std::string> lines = row.lines;
    lines.insert(lines.begin(), "1 Enter " + name + "!");
    lines.push_back("1 End " + name + "!");
    EXPECT_EQ(lines, LinesOf(name));
}

using Lines = std::vector<std::string>;

const Operation MAP_VIEW = &DeleteResource::CheckAndDeleteMapView;
INSTANTIATE_TEST_SUITE_P(
    MapView, DeleteResourceOutcomeTest,
    ::testing::Values(
        OutcomeRow{{"CheckAndDeleteMapView_Done"}, MAP_VIEW, "CheckMapView", 0, 0, {}, "DeleteMapView 7"},
        OutcomeRow{{"CheckAndDeleteMapView_Gone"},
                   MAP_VIEW,
                   "CheckMapView",
                   1077951819,
                   0,
                   {"4 The mapview has not exist"},
                   "CheckMapView 7 view"},
        OutcomeRow{{"CheckAndDeleteMapView_Renamed"},
                   MAP_VIEW,
                   "CheckMapView",
                   -2,
                   0,
                   {"4 The mapview has not exist"},
                   "CheckMapView 7 view"},
        OutcomeRow{{"CheckAndDeleteMapView_CheckFails"},
                   MAP_VIEW,
                   "CheckMapView",
                   1077937500,
                   1077937500,
                   {"4 CheckMapView failed! errorNum: 1077937500"},
                   "CheckMapView 7 view"},
        OutcomeRow{
            {"CheckAndDeleteMapView_HostGroupGone"}, MAP_VIEW, "RemoveHostGroup", 1077937500, 0, {}, "DeleteMapView 7"},
        OutcomeRow{{"CheckAndDeleteMapView_HostGroupFails"},
                   MAP_VIEW,
                   "RemoveHostGroup",
                   1077936861,
                   1077936861,
                   {"4 RemoveHostGroup failed errorNum: 1077936861"},
                   "RemoveHostGroup 5 7"},
        OutcomeRow{{"CheckAndDeleteMapView_HostGroupNamesDiffer"},
                   MAP_VIEW,
                   "RemoveHostGroup",
                   -2,
                   -2,
                   {"4 RemoveHostGroup failed errorNum: -2"},
                   "RemoveHostGroup 5 7"},
        OutcomeRow{
            {"CheckAndDeleteMapView_LunGroupGone"}, MAP_VIEW, "RemoveLunGroup", 1077936861, 0, {}, "DeleteMapView 7"},
        OutcomeRow{{"CheckAndDeleteMapView_LunGroupFails"},
                   MAP_VIEW,
                   "RemoveLunGroup",
                   1077937500,
                   1077937500,
                   {"4 RemoveLunGroup failed errorNum: 1077937500"},
                   "RemoveLunGroup 31 7"},
        OutcomeRow{{"CheckAndDeleteMapView_ViewGoneMeanwhile"},
                   MAP_VIEW,
                   "DeleteMapView",
                   1077951819,
                   0,
                   {},
                   "DeleteMapView 7"},
        OutcomeRow{{"CheckAndDeleteMapView_DeletionFails"},
                   MAP_VIEW,
                   "DeleteMapView",
                   -1,
                   -1,
                   {"4 DeleteMapView failed! errorNum: -1"},
                   "DeleteMapView 7"}),
    RowName<OutcomeRow>);

const Operation HOST_GROUP = &DeleteResource::CheckAndDeleteHostGroup;
INSTANTIATE_TEST_SUITE_P(HostGroup, DeleteResourceOutcomeTest,
                         ::testing::Values(OutcomeRow{{"CheckAndDeleteHostGroup_Done"},
                                                      HOST_GROUP,
                                                      "CheckHostGroup",
                                                      0,
                                                      0,
                                                      {"1 RemoveHost result: 0"},
                                                      "DeleteHostGroup 5"},
                                           OutcomeRow{{"CheckAndDeleteHostGroup_Gone"},
                                                      HOST_GROUP,
                                                      "CheckHostGroup",
                                                      1077937500,
                                                      0,
                                                      {"1 The HostGroup has not exist!"},
                                                      "CheckHostGroup 5 hosts"},
                                           OutcomeRow{{"CheckAndDeleteHostGroup_Renamed"},
                                                      HOST_GROUP,
                                                      "CheckHostGroup",
                                                      -2,
                                                      0,
                                                      {"1 The HostGroup has not exist!"},
                                                      "CheckHostGroup 5 hosts"},
                                           OutcomeRow{{"CheckAndDeleteHostGroup_CheckFails"},
                                                      HOST_GROUP,
                                                      "CheckHostGroup",
                                                      1077937498,
                                                      1077937498,
                                                      {"4 CheckHostGroup failed errorNum: 1077937498"},
                                                      "CheckHostGroup 5 hosts"},
                                           OutcomeRow{{"CheckAndDeleteHostGroup_ListingFails"},
                                                      HOST_GROUP,
                                                      "GetAllHostIDFromHostGroup",
                                                      77,
                                                      77,
                                                      {"4 RemoveHost failed errorNum: 77"},
                                                      "GetAllHostIDFromHostGroup 5"},
                                           OutcomeRow{{"CheckAndDeleteHostGroup_HostNotInIt"},
                                                      HOST_GROUP,
                                                      "RemoveHost",
                                                      1073745412,
                                                      0,
                                                      {"1 RemoveHost result: 1073745412"},
                                                      "DeleteHostGroup 5"},
                                           OutcomeRow{{"CheckAndDeleteHostGroup_HostGone"},
                                                      HOST_GROUP,
                                                      "RemoveHost",
                                                      1077937498,
                                                      0,
                                                      {"1 RemoveHost result: 1077937498"},
                                                      "DeleteHostGroup 5"},
                                           OutcomeRow{{"CheckAndDeleteHostGroup_RemovalFails"},
                                                      HOST_GROUP,
                                                      "RemoveHost",
                                                      1077937500,
                                                      1077937500,
                                                      {"4 RemoveHost failed errorNum: 1077937500"},
                                                      "RemoveHost 12 5"},
                                           OutcomeRow{{"CheckAndDeleteHostGroup_GoneMeanwhile"},
                                                      HOST_GROUP,
                                                      "DeleteHostGroup",
                                                      1077937500,
                                                      0,
                                                      {"1 RemoveHost result: 0"},
                                                      "DeleteHostGroup 5"},
                                           OutcomeRow{
                                               {"CheckAndDeleteHostGroup_DeletionFails"},
                                               HOST_GROUP,
                                               "DeleteHostGroup",
                                               -20000,
                                               -20000,
                                               {"1 RemoveHost result: 0", "4 DeleteHostGroup failed errorNum: -20000"},
                                               "DeleteHostGroup 5"}),
                         RowName<OutcomeRow>);

const Operation HOST = &DeleteResource::CheckAndDeleteHost;
INSTANTIATE_TEST_SUITE_P(
    Host, DeleteResourceOutcomeTest,
    ::testing::Values(OutcomeRow{{"CheckAndDeleteHost_Done"}, HOST, "CheckHost", 0, 0, {}, "DeleteHost 12"},
                      OutcomeRow{{"CheckAndDeleteHost_Gone"},
                                 HOST,
                                 "CheckHost",
                                 1077937498,
                                 0,
                                 {"1 The Host has not exist!"},
                                 "CheckHost 12 host"},
                      OutcomeRow{{"CheckAndDeleteHost_Renamed"},
                                 HOST,
                                 "CheckHost",
                                 -2,
                                 0,
                                 {"1 The Host has not exist!"},
                                 "CheckHost 12 host"},
                      OutcomeRow{{"CheckAndDeleteHost_CheckFails"},
                                 HOST,
                                 "CheckHost",
                                 1077937500,
                                 1077937500,
                                 {"4 CheckHost failed errorNum: 1077937500"},
                                 "CheckHost 12 host"}),
    RowName<OutcomeRow>);

const Operation LUN_GROUP = &DeleteResource::CheckAndDeleteLunGroup;
INSTANTIATE_TEST_SUITE_P(
    LunGroup, DeleteResourceOutcomeTest,
    ::testing::Values(
        OutcomeRow{{"CheckAndDeleteLunGroup_Done"}, LUN_GROUP, "CheckLunGroup", 0, 0, {}, "DeleteLunGroup 31"},
        OutcomeRow{{"CheckAndDeleteLunGroup_Gone"},
                   LUN_GROUP,
                   "CheckLunGroup",
                   1077936861,
                   0,
                   {"1 The LUN_GROUP has not exist!"},
                   "CheckLunGroup 31 luns"},
        OutcomeRow{{"CheckAndDeleteLunGroup_Renamed"},
                   LUN_GROUP,
                   "CheckLunGroup",
                   -2,
                   0,
                   {"1 The LUN_GROUP has not exist!"},
                   "CheckLunGroup 31 luns"},
        OutcomeRow{{"CheckAndDeleteLunGroup_CheckFails"},
                   LUN_GROUP,
                   "CheckLunGroup",
                   -1,
                   -1,
                   {"4 CheckLunGroup failed errorNum: -1"},
                   "CheckLunGroup 31 luns"},
        OutcomeRow{{"CheckAndDeleteLunGroup_GoneMeanwhile"},
                   LUN_GROUP,
                   "DeleteLunGroup",
                   1077936861,
                   0,
                   {},
                   "DeleteLunGroup 31"},
        OutcomeRow{{"CheckAndDeleteLunGroup_DeletionFails"},
                   LUN_GROUP,
                   "DeleteLunGroup",
                   1077951819,
                   1077951819,
                   {"4 DeleteLunGroup failed errorNum: 1077951819"},
                   "DeleteLunGroup 31"}),
    RowName<OutcomeRow>);

TEST_F(DeleteResourceTest, CheckAndDeleteHostGroupStopsAtTheHostThatStays)
{
    m_array->m_hostsInGroup = {"11", "12", "13"};
    m_array->Answer("RemoveHost 12 5", 77);
    EXPECT_EQ(77, m_resource.CheckAndDeleteHostGroup(m_message, m_array, m_errorText));
    EXPECT_THAT(LinesOf("CheckAndDeleteHostGroup"),
                ElementsAre("1 Enter CheckAndDeleteHostGroup!", "1 RemoveHost result: 0",
                            "4 RemoveHost failed errorNum: 77", "1 End CheckAndDeleteHostGroup!"));
    EXPECT_EQ("RemoveHost 12 5", m_array->Calls().back());
}

} // namespace
