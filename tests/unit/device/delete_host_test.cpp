#include "tests/unit/device/delete_resource_test.h"

using ::testing::ElementsAre;

namespace {

class DeleteResourceHostTest : public DeleteResourceTest {};

TEST_F(DeleteResourceHostTest, CheckAndDeleteHostNeverRemovesAHostOfAHostGroup)
{
    m_array->m_isHostInGroup = true;
    EXPECT_EQ(0, m_resource.CheckAndDeleteHost(m_message, m_array, m_errorText));
    EXPECT_THAT(m_array->Calls(), ElementsAre("CheckHost 12 host"));
    EXPECT_THAT(LinesOf("CheckAndDeleteHost"),
                ElementsAre("1 Enter CheckAndDeleteHost!", "2 ISADD2HOSTGROUP: TRUE, NO NEED TO DELET HOST",
                            "1 End CheckAndDeleteHost!"));
}

TEST_F(DeleteResourceHostTest, CheckAndDeleteHostOfAHostGroupSucceedsWhateverTheCheckSays)
{
    m_array->m_isHostInGroup = true;
    m_array->Answer("CheckHost", 77);
    EXPECT_EQ(0, m_resource.CheckAndDeleteHost(m_message, m_array, m_errorText));
}

TEST_F(DeleteResourceHostTest, CheckAndDeleteHostCountsAHostThatIsGoneMeanwhile)
{
    m_array->Answer("DeleteHost", 1077937498);
    EXPECT_EQ(0, m_resource.CheckAndDeleteHost(m_message, m_array, m_errorText));
    EXPECT_THAT(LinesOf("CheckAndDeleteHost"), ElementsAre("1 Enter CheckAndDeleteHost!", "1 End CheckAndDeleteHost!"));
}

TEST_F(DeleteResourceHostTest, CheckAndDeleteHostFailsInTheHostGroupsWords)
{
    m_array->Answer("DeleteHost", 1077937500, "busy");
    EXPECT_EQ(1077937500, m_resource.CheckAndDeleteHost(m_message, m_array, m_errorText));
    EXPECT_THAT(LinesOf("CheckAndDeleteHost"),
                ElementsAre("1 Enter CheckAndDeleteHost!", "4 DeleteHostGroup failed errorNum: 1077937500",
                            "1 End CheckAndDeleteHost!"));
    EXPECT_EQ("untouched", m_errorText);
}

TEST_F(DeleteResourceHostTest, DeleteHostRemovesTheInitiatorsThenTheHost)
{
    m_array->m_iscsiInitiators = {"iqn.1", "iqn.2"};
    m_array->m_fcInitiators = {"2100", "2101"};
    EXPECT_EQ(0, m_resource.DeleteHost("12", m_array));
    EXPECT_THAT(m_array->Calls(),
                ElementsAre("GetIscsiInitiator 12", "RemoveIscsiInitiator iqn.1", "RemoveIscsiInitiator iqn.2",
                            "GetFCInitiator 12", "RemoveFCInitiator 2100", "RemoveFCInitiator 2101", "DeleteHost 12"));
    EXPECT_THAT(LinesOf("DeleteHost"), ElementsAre("1 Enter DeleteHost!", "1 End DeleteHost!"));
}

struct FailureRow : NamedRow {
    std::string call;
    int code;
    std::string line;
    std::string lastCall;
};

class DeleteResourceHostFailureTest : public DeleteResourceTest, public ::testing::WithParamInterface<FailureRow> {};

TEST_P(DeleteResourceHostFailureTest, DeleteHostStopsAtTheFirstFailureWhateverItsCode)
{
    m_array->m_iscsiInitiators = {"iqn.1", "iqn.2"};
    m_array->m_fcInitiators = {"2100", "2101"};
    m_array->Answer(GetParam().call, GetParam().code, "no way");
    EXPECT_EQ(GetParam().code, m_resource.DeleteHost("12", m_array));
    EXPECT_EQ(GetParam().lastCall, m_array->Calls().back());
    EXPECT_THAT(LinesOf("DeleteHost"), ElementsAre("1 Enter DeleteHost!", GetParam().line));
}

INSTANTIATE_TEST_SUITE_P(
    Failures, DeleteResourceHostFailureTest,
    ::testing::Values(
        FailureRow{{"IscsiListing"},
                   "GetIscsiInitiator",
                   77,
                   "4 GetIscsiInitiator failed! reason: no way",
                   "GetIscsiInitiator 12"},
        FailureRow{{"IscsiRemoval"},
                   "RemoveIscsiInitiator",
                   1077950342,
                   "4 RemoveIscsiInitiator failed! reason:no way",
                   "RemoveIscsiInitiator iqn.1"},
        FailureRow{{"FcListing"}, "GetFCInitiator", -1, "4 GetFCInitiator failed! reason: no way", "GetFCInitiator 12"},
        FailureRow{{"FcRemoval"},
                   "RemoveFCInitiator 2101",
                   1077950342,
                   "4 RemoveFCInitiator failed! reason:no way",
                   "RemoveFCInitiator 2101"},
        FailureRow{{"Deletion"}, "DeleteHost", 1077937498, "4 DeleteHost failed! reason: no way", "DeleteHost 12"}),
    RowName<FailureRow>);

} // namespace
