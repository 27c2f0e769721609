#include "tests/unit/device/delete_resource_test.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

// LUNs and snapshots are listed and removed alike; where a snapshot's line says LUN, it is meant to.
struct MemberRow : NamedRow {
    int (DeleteResource::*list)(const DeviceMessage&, const boost::shared_ptr<ZavRestApi>&, std::vector<std::string>&,
                                std::string&);
    int (DeleteResource::*remove)(const DeviceMessage&, const boost::shared_ptr<ZavRestApi>&, std::string&);
    std::vector<std::string> FakeArray::*members;
    std::string listCall;
    std::string listEntry; // the word in the lines of entry and exit
    std::string listFailed;
    std::string removeCall;
    std::string listForRemovalFailed;
    std::string idName;
};

class DeleteResourceMembersTest : public DeleteResourceTest, public ::testing::WithParamInterface<MemberRow> {
protected:
    int List() { return (m_resource.*GetParam().list)(m_message, m_array, m_ids, m_errorText); }
    int Remove() { return (m_resource.*GetParam().remove)(m_message, m_array, m_errorText); }

    void Hold(const std::vector<std::string>& ids) { (*m_array).*GetParam().members = ids; }

    // The lines of the removal, with those of its entry and exit.
    std::vector<std::string> RemovalLines(std::vector<std::string> lines) const
    {
        lines.insert(lines.begin(), {"1 Enter " + GetParam().removeCall + "!", "1 LUN_GROUP is31."});
        lines.push_back("1 End " + GetParam().removeCall + "!");
        return lines;
    }

    std::vector<std::string> m_ids = {"from before"};
};

INSTANTIATE_TEST_SUITE_P(Of, DeleteResourceMembersTest,
                         ::testing::Values(MemberRow{{"Luns"},
                                                     &DeleteResource::GetLunIdByLunGroup,
                                                     &DeleteResource::RemoveLunFromLunGroup,
                                                     &FakeArray::m_luns,
                                                     "GetLunIdByLunGroup",
                                                     "GetLunByLunGroup",
                                                     "GetLunByLunGroup failed errorNum: ",
                                                     "RemoveLunFromLunGroup",
                                                     "GetLunByLunGroup failed errorNum: ",
                                                     "lunID"},
                                           MemberRow{{"Snapshots"},
                                                     &DeleteResource::GetSnapshotIdByLunGroup,
                                                     &DeleteResource::RemoveSnapshotFromLunGroup,
                                                     &FakeArray::m_snapshots,
                                                     "GetSnapshotIdByLunGroup",
                                                     "GetSnapshotIdByLunGroup",
                                                     "GetSnapshotIdByLunGroup failed errorNum: ",
                                                     "RemoveSnapshotFromLunGroup",
                                                     "RemoveSnapshotFromLunGroup failed errorNum: ",
                                                     "snapshotID"}),
                         RowName<MemberRow>);

TEST_P(DeleteResourceMembersTest, ListingAppendsTheGroupsMembers)
{
    Hold({"1", "2"});
    EXPECT_EQ(0, List());
    EXPECT_THAT(m_ids, ElementsAre("from before", "1", "2"));
    EXPECT_THAT(m_array->Calls(), ElementsAre(GetParam().listCall + " 31"));
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_THAT(LinesOf(GetParam().listCall), ElementsAre("1 Enter " + GetParam().listEntry + "!", "1 LUN_GROUP is31.",
                                                          "1 End " + GetParam().listEntry + "!"));
}

TEST_P(DeleteResourceMembersTest, ListingThatFailsGivesMinusOneWhateverTheArraySays)
{
    m_array->Answer(GetParam().listCall, 1077936861, "no way");
    EXPECT_EQ(-1, List());
    EXPECT_THAT(m_ids, ElementsAre("from before"));
    EXPECT_EQ("no way", m_errorText);
    EXPECT_THAT(LinesOf(GetParam().listCall), ElementsAre("1 Enter " + GetParam().listEntry + "!", "1 LUN_GROUP is31.",
                                                          "4 " + GetParam().listFailed + "1077936861, LUN_GROUP(31).",
                                                          "1 End " + GetParam().listEntry + "!"));
}

TEST_P(DeleteResourceMembersTest, RemovalTakesEveryMemberOut)
{
    Hold({"1", "2"});
    EXPECT_EQ(0, Remove());
    EXPECT_THAT(m_array->Calls(), ElementsAre(GetParam().listCall + " 31", "CheckLunGroup 31 luns",
                                              GetParam().removeCall + " 31 1", GetParam().removeCall + " 31 2"));
    EXPECT_EQ(RemovalLines({"1 lunID is1.", "1 lunID is2."}), LinesOf(GetParam().removeCall));
}

TEST_P(DeleteResourceMembersTest, RemovalFromAnEmptyGroupIsDone)
{
    EXPECT_EQ(0, Remove());
    EXPECT_THAT(m_array->Calls(), ElementsAre(GetParam().listCall + " 31"));
    EXPECT_EQ(RemovalLines({"1 The LUN_GROUP(31) has no LUN!"}), LinesOf(GetParam().removeCall));
}

TEST_P(DeleteResourceMembersTest, RemovalWithoutAListingFails)
{
    m_array->Answer(GetParam().listCall, 77, "no way");
    EXPECT_EQ(-1, Remove());
    EXPECT_EQ("no way", m_errorText);
    EXPECT_THAT(m_array->Calls(), ElementsAre(GetParam().listCall + " 31", "CheckLunGroup 31 luns"));
    EXPECT_EQ(RemovalLines({"4 " + GetParam().listForRemovalFailed + "-1"}), LinesOf(GetParam().removeCall));
}

TEST_P(DeleteResourceMembersTest, RemovalWithoutAListingOrACheckFailsForTheListingsReason)
{
    m_array->Answer(GetParam().listCall, 77, "no way");
    m_array->Answer("CheckLunGroup", 78, "no way either");
    EXPECT_EQ(-1, Remove());
    EXPECT_EQ("no way", m_errorText);
    EXPECT_EQ(RemovalLines({"4 " + GetParam().listForRemovalFailed + "-1"}), LinesOf(GetParam().removeCall));
}

TEST_P(DeleteResourceMembersTest, RemovalFromAGroupThatIsGoneIsDone)
{
    m_array->HasNoLunGroup();
    EXPECT_EQ(0, Remove());
    EXPECT_THAT(m_array->Calls(), ElementsAre(GetParam().listCall + " 31", "CheckLunGroup 31 luns"));
    EXPECT_EQ(RemovalLines({"1 The LUN_GROUP has not exist!"}), LinesOf(GetParam().removeCall));
}

TEST_P(DeleteResourceMembersTest, RemovalTakesNothingOutOfAGroupOfAnotherName)
{
    Hold({"1", "2"});
    m_array->Answer("CheckLunGroup", -2);
    EXPECT_EQ(0, Remove());
    EXPECT_THAT(m_array->Calls(), ElementsAre(GetParam().listCall + " 31", "CheckLunGroup 31 luns"));
    EXPECT_EQ(RemovalLines({"1 The LUN_GROUP has not exist!"}), LinesOf(GetParam().removeCall));
}

TEST_P(DeleteResourceMembersTest, RemovalTakesNothingOutOfAGroupThatCannotBeChecked)
{
    Hold({"1", "2"});
    m_array->Answer("CheckLunGroup", 78, "busy");
    EXPECT_EQ(78, Remove());
    EXPECT_EQ("busy", m_errorText);
    EXPECT_THAT(m_array->Calls(), ElementsAre(GetParam().listCall + " 31", "CheckLunGroup 31 luns"));
    EXPECT_EQ(RemovalLines({"4 CheckLunGroup failed errorNum: 78"}), LinesOf(GetParam().removeCall));
}

TEST_P(DeleteResourceMembersTest, RemovalFromAGroupWithoutAnIdAsksNothing)
{
    m_message.lunGroupId.clear();
    EXPECT_EQ(0, Remove());
    EXPECT_THAT(m_array->Calls(), IsEmpty());
    EXPECT_THAT(LinesOf(GetParam().removeCall), Contains("1 The LUN_GROUP has not exist!"));
}

TEST_P(DeleteResourceMembersTest, RemovalGoesOnPastAMemberThatStays)
{
    Hold({"1", "2"});
    m_array->Answer(GetParam().removeCall + " 31 1", 1, "no way");
    EXPECT_EQ(0, Remove());
    EXPECT_EQ(GetParam().removeCall + " 31 2", m_array->Calls().back());
    EXPECT_EQ(RemovalLines(
                  {"1 lunID is1.",
                   "4 " + GetParam().removeCall + " failed errorNum: 1, LUN_GROUP(31), " + GetParam().idName + "(1).",
                   "1 lunID is2."}),
              LinesOf(GetParam().removeCall));
}

TEST_P(DeleteResourceMembersTest, RemovalCountsAMemberThatIsNotInTheGroup)
{
    Hold({"1"});
    m_array->Answer(GetParam().removeCall, 1077948996);
    EXPECT_EQ(0, Remove());
    EXPECT_EQ(RemovalLines({"1 lunID is1."}), LinesOf(GetParam().removeCall));
}

} // namespace
