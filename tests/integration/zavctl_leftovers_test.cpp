#include "tests/integration/stage.h"

#include <gmock/gmock.h>

#include <boost/filesystem/operations.hpp>

#include <algorithm>
#include <csignal>

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

namespace {

/// A node whose preparation was disturbed: what zavctl sees, mends, tells, and takes away.
class ZavctlLeftoversTest : public Stage {
protected:
    ZavctlLeftoversTest()
        : m_array(StartArray())
        , m_env(EnvironmentFileOf(m_array))
    {
        StartTargets(m_array.Options().serviceIps);
    }

    Base::ProgramResult Init() { return RunZavctl({"init", "--env", m_env}); }
    Base::ProgramResult Tidy(const std::string& option) { return RunZavctl({"tidy", "--env", m_env, option}); }
    Base::ProgramResult Cleanup() { return RunZavctl({"cleanup", "--env", m_env}); }

    void Fault(const std::string& members) const { m_array.AddFault("{" + members + "}"); }

    void LetTheRecordLackItsLunGroup() const
    {
        std::string record = ReadText(ZavctlRecordPath(m_array));
        for (const char* const key : {"LUNGROUPID", "LUNGROUPNAME"}) {
            const std::size_t begin = record.find(std::string("\"") + key + "\"");
            record.erase(begin, record.find('\n', begin) + 1 - begin);
        }
        WriteText(ZavctlRecordPath(m_array), record);
    }

    std::ptrdiff_t CountOfRequests(const std::string& start) const
    {
        const std::vector<std::string> requests = m_array.Requests();
        return std::count_if(requests.begin(), requests.end(),
                             [&start](const std::string& each) { return each.rfind(start, 0) == 0; });
    }

    /// Of a watch, each of which looks at the mapping view a few times.
    void AwaitFurtherRounds() const
    {
        m_array.ClearJournal();
        WaitUntil("further rounds", [this] { return CountOfRequests("GET mappingview/") > 15; });
    }

    /// Exactly one of each kind, tied to each other.
    void ExpectWholeChain() const
    {
        ASSERT_THAT(m_array.Ids("host"), SizeIs(1));
        ASSERT_THAT(m_array.Ids("hostgroup"), SizeIs(1));
        ASSERT_THAT(m_array.Ids("lungroup"), SizeIs(1));
        ASSERT_THAT(m_array.Ids("mappingview"), SizeIs(1));
        const std::string host = m_array.Ids("host")[0];
        const std::string group = m_array.Ids("hostgroup")[0];
        const std::string view = m_array.Ids("mappingview")[0];
        EXPECT_THAT(m_array.Members("host", host, "iscsi_initiator"), ElementsAre(NODE_IQN));
        EXPECT_THAT(m_array.Members("hostgroup", group, "host"), ElementsAre(host));
        EXPECT_THAT(m_array.Members("mappingview", view, "hostgroup"), ElementsAre(group));
        EXPECT_THAT(m_array.Members("mappingview", view, "lungroup"), ElementsAre(m_array.Ids("lungroup")[0]));
    }

    void ExpectNothingLeft() const
    {
        for (const char* const kind : {"mappingview", "hostgroup", "lungroup", "host"}) {
            EXPECT_THAT(m_array.Ids(kind), IsEmpty()) << kind;
        }
    }

    const Array& m_array;
    const std::string m_env;
};

TEST_F(ZavctlLeftoversTest, LostAnswerToACreationMakesNoDouble)
{
    for (const char* const kind : {"host", "hostgroup", "lungroup", "mappingview"}) {
        Fault(std::string(R"("kind": "drop-answer", "method": "POST", "target": ")") + kind + "$\"");
    }
    const Base::ProgramResult init = Init();
    EXPECT_EQ(0, init.status) << init.errors;
    ExpectWholeChain();
    EXPECT_EQ(0, Cleanup().status);
    ExpectNothingLeft();
}

TEST_F(ZavctlLeftoversTest, ArrayThatIsBusyForAMomentLeavesNothingOut)
{
    Fault(
        R"("kind": "code", "code": 1077949006, "description": "busy", "method": "POST", "target": "iscsi_initiator")");
    const Base::ProgramResult init = Init();
    EXPECT_EQ(0, init.status) << init.errors;
    ExpectWholeChain();
}

TEST_F(ZavctlLeftoversTest, NodeWithoutItsHostIsToldAndMendedByTheNextInit)
{
    Fault(
        R"("kind": "code", "code": 42, "description": "licence", "method": "POST", "target": "iscsi_initiator", "count": 1)");
    const Base::ProgramResult first = Init();
    EXPECT_EQ(10, first.status);
    EXPECT_THAT(
        first.errors,
        HasSubstr("this node is not rightly prepared: no host is recorded\nzavctl: remedy: run zavctl init again;"));
    const Base::ProgramResult second = Init();
    EXPECT_EQ(0, second.status) << second.errors;
    EXPECT_THAT(second.errors, HasSubstr("mended: host 1 in host group 1"));
    ExpectWholeChain();
}

TEST_F(ZavctlLeftoversTest, AssociationThatSomebodyTookAwayIsMade)
{
    ASSERT_EQ(0, Init().status);
    m_array.Operate("PUT", "mappingview/REMOVE_ASSOCIATE",
                    R"({"TYPE":"245","ID":"1","ASSOCIATEOBJTYPE":"256","ASSOCIATEOBJID":"1"})");
    m_array.Operate("PUT", "iscsi_initiator/remove_iscsi_from_host",
                    std::string(R"({"TYPE":"222","ID":")") + NODE_IQN + R"("})");
    const Base::ProgramResult init = Init();
    EXPECT_EQ(0, init.status) << init.errors;
    EXPECT_THAT(init.errors, HasSubstr("mended: LUN group 1 in mapping view 1"));
    ExpectWholeChain();
}

TEST_F(ZavctlLeftoversTest, InitiatorOnSomebodyElsesHostIsToldAndLeft)
{
    ASSERT_EQ(0, Init().status);
    m_array.Operate("POST", "host", R"({"NAME":"elsewhere","TYPE":"21"})");
    m_array.Operate("PUT", "iscsi_initiator/remove_iscsi_from_host",
                    std::string(R"({"TYPE":"222","ID":")") + NODE_IQN + R"("})");
    m_array.Operate("PUT", "iscsi_initiator/add_iscsi_to_host",
                    std::string(R"({"TYPE":"222","PARENTTYPE":"21","PARENTID":"2","ID":")") + NODE_IQN + R"("})");
    m_array.Operate("POST", "iscsi_initiator", R"({"TYPE":"222","ID":"iqn.2020-01.another.node"})");
    m_array.Operate("PUT", "iscsi_initiator/add_iscsi_to_host",
                    R"({"TYPE":"222","PARENTTYPE":"21","PARENTID":"2","ID":"iqn.2020-01.another.node"})");
    const Json::Value before = m_array.Objects();
    const std::string record = ReadText(ZavctlRecordPath(m_array));
    const Base::ProgramResult init = Init();
    EXPECT_EQ(5, init.status);
    EXPECT_THAT(init.errors, HasSubstr(m_array.Url() + ": iSCSI initiator " + NODE_IQN +
                                       " is on host 2, which holds iSCSI initiator iqn.2020-01.another.node as well, "
                                       "which is not this node's; nothing was changed\n"));
    EXPECT_EQ(before, m_array.Objects()) << "this node's own host, which is empty now, stands as well";
    EXPECT_EQ(record, ReadText(ZavctlRecordPath(m_array))) << "it names that host still";
}

TEST_F(ZavctlLeftoversTest, WhatARunWithoutARecordLeftGoesWithTheNextInit)
{
    ASSERT_EQ(0, Init().status);
    m_array.DeleteBehindBack("lungroup", "1"); // a new process makes all anew and leaves the old groups
    const Base::ProgramResult init = Init();
    EXPECT_EQ(0, init.status) << init.errors;
    EXPECT_THAT(init.errors, AllOf(HasSubstr("removed what an earlier run left: mapping view 1"),
                                   HasSubstr("removed what an earlier run left: host group 1")));
    ExpectWholeChain();
}

TEST_F(ZavctlLeftoversTest, LeftoverThatSomebodyUsesIsLeftToTidy)
{
    ASSERT_EQ(0, Init().status);
    m_array.Operate("POST", "lungroup/associate",
                    R"({"TYPE":"256","ID":"1","ASSOCIATEOBJTYPE":"11","ASSOCIATEOBJID":"3"})");
    m_array.DeleteBehindBack("hostgroup", "1");
    const Base::ProgramResult init = Init();
    EXPECT_EQ(0, init.status) << init.errors;
    EXPECT_THAT(init.errors, HasSubstr("left by an earlier run, and in use: LUN group 1"));
    EXPECT_THAT(m_array.Members("lungroup", "1", "lun"), ElementsAre("3"));

    const Base::ProgramResult dry = Tidy("--dry-run");
    EXPECT_EQ(0, dry.status);
    EXPECT_THAT(dry.errors, AllOf(HasSubstr("left over: LUN group 1"), HasSubstr("which holds LUN 3")));
    EXPECT_THAT(m_array.Ids("lungroup"), Contains("1"));
    EXPECT_EQ(2, RunZavctl({"tidy", "--env", m_env}, "y\n").status) << "it asks on a terminal only";
    EXPECT_THAT(m_array.Ids("lungroup"), Contains("1"));

    const Base::ProgramResult tidy = Tidy("--yes");
    EXPECT_EQ(0, tidy.status) << tidy.errors;
    EXPECT_THAT(tidy.errors, HasSubstr("removed LUN group 1"));
    ExpectWholeChain();
    EXPECT_THAT(Tidy("--yes").errors, HasSubstr("nothing of this node is left over"));
}

TEST_F(ZavctlLeftoversTest, DryRunKeepsTheJournalEntryOfWhatTheArrayDoesNotHave)
{
    ASSERT_EQ(0, Init().status);
    m_array.DeleteBehindBack("mappingview", "1");
    const std::string journal = ReadText(ProductPath("conf/san-journal"));
    EXPECT_EQ(0, Tidy("--dry-run").status);
    EXPECT_EQ(journal, ReadText(ProductPath("conf/san-journal")));
}

TEST_F(ZavctlLeftoversTest, WhatLastingRefusalsLeaveDoesNotPileUp)
{
    Fault(
        R"("kind": "code", "code": 42, "description": "licence", "method": "POST", "target": "host/associate", "count": 0)");
    for (int i = 0; i < 3; ++i) {
        EXPECT_NE(0, Init().status);
        EXPECT_THAT(m_array.Ids("hostgroup"), SizeIs(testing::Le(1)));
        EXPECT_THAT(m_array.Ids("lungroup"), SizeIs(testing::Le(1)));
        EXPECT_THAT(m_array.Ids("mappingview"), SizeIs(testing::Le(1)));
    }
    m_array.ClearFaults();
    EXPECT_EQ(0, Init().status);
    ExpectWholeChain();
}

TEST_F(ZavctlLeftoversTest, GroupWhoseViewMapsLunsIsNotTakenApartUnasked)
{
    ASSERT_EQ(0, Init().status);
    m_array.Operate("POST", "lungroup/associate",
                    R"({"TYPE":"256","ID":"1","ASSOCIATEOBJTYPE":"11","ASSOCIATEOBJID":"3"})");
    boost::filesystem::remove(ZavctlRecordPath(m_array)); // all is made anew, with the host that the array knows
    const Base::ProgramResult init = Init();
    EXPECT_THAT(init.errors, HasSubstr("left by an earlier run, and in use: host group 1"));
    EXPECT_THAT(m_array.Members("hostgroup", "1", "host"), ElementsAre("1")) << "the node's way to LUN 3";
    EXPECT_THAT(m_array.Members("mappingview", "1", "hostgroup"), ElementsAre("1"));
}

TEST_F(ZavctlLeftoversTest, RecordThatLacksWhatItsViewHoldsIsCorrected)
{
    ASSERT_EQ(0, Init().status);
    LetTheRecordLackItsLunGroup();
    const Base::ProgramResult init = Init();
    EXPECT_EQ(0, init.status) << init.errors;
    EXPECT_THAT(init.errors, HasSubstr("the record did not name LUN group 1"));
    ExpectWholeChain();
    EXPECT_EQ("1", ReadRecord(ZavctlRecordPath(m_array))["LUNGROUPID"]);
}

TEST_F(ZavctlLeftoversTest, PortThatIsAnotherMachinesByNowIsNotPutBack)
{
    SetFcPorts({"0x21000024ff4b8c1a"});
    m_array.SetFcPortOnline("21000024ff4b8c1a", true);
    ASSERT_EQ(0, Init().status);
    SetFcPorts({});
    m_array.Operate("PUT", "fc_initiator/remove_fc_from_host", R"({"TYPE":"223","ID":"21000024ff4b8c1a"})");
    const Base::ProgramResult init = Init();
    EXPECT_THAT(init.errors, HasSubstr("recorded, and not this node's any more: FC initiator 21000024ff4b8c1a"));
    EXPECT_THAT(m_array.Members("host", "1", "fc_initiator"), IsEmpty());
}

TEST_F(ZavctlLeftoversTest, MembersThatTheArrayDoesNotTellAreNotTakenForNone)
{
    ASSERT_EQ(0, Init().status);
    const std::string refused =
        R"("kind": "code", "code": -500, "description": "internal", "method": "GET", "target": "host/associate")";
    Fault(refused);
    const Base::ProgramResult cleanup = Cleanup();
    EXPECT_EQ(9, cleanup.status);
    EXPECT_THAT(cleanup.errors, HasSubstr("cannot read host/associate"));
    ExpectWholeChain();
    Fault(refused);
    const Base::ProgramResult init = Init();
    EXPECT_EQ(9, init.status);
    EXPECT_THAT(init.errors, Not(HasSubstr("this node is prepared")));
}

TEST_F(ZavctlLeftoversTest, AnswerThatNamesNoObjectIsNotTakenForGone)
{
    ASSERT_EQ(0, Init().status);
    Fault(
        R"("kind": "answer", "answer": {"error": {"code": 0}}, "method": "GET", "target": "lungroup/1$", "count": 0)");
    EXPECT_EQ(9, Cleanup().status);
    EXPECT_TRUE(boost::filesystem::exists(ZavctlRecordPath(m_array)));
    EXPECT_THAT(ReadText(ProductPath("conf/san-journal")), Not(HasSubstr("dropped")));
}

TEST_F(ZavctlLeftoversTest, CleanupLeavesAHostThatHasSomebodyElsesInitiator)
{
    ASSERT_EQ(0, Init().status);
    m_array.Operate("POST", "iscsi_initiator", R"({"TYPE":"222","ID":"iqn.2020-01.another.node"})");
    m_array.Operate("PUT", "iscsi_initiator/add_iscsi_to_host",
                    R"({"TYPE":"222","PARENTTYPE":"21","PARENTID":"1","ID":"iqn.2020-01.another.node"})");
    const Base::ProgramResult cleanup = Cleanup();
    EXPECT_EQ(0, cleanup.status) << cleanup.errors;
    EXPECT_THAT(cleanup.errors, HasSubstr("host 1 stays: it has iSCSI initiator iqn.2020-01.another.node, which this "
                                          "node did not put there"));
    EXPECT_THAT(m_array.Members("host", "1", "iscsi_initiator"), Contains("iqn.2020-01.another.node"));
    EXPECT_THAT(m_array.Ids("hostgroup"), IsEmpty());
}

TEST_F(ZavctlLeftoversTest, CleanupTakesNoPartOfAPortsNameForThatPort)
{
    SetFcPorts({"0x21000024ff4b8c1a"});
    m_array.SetFcPortOnline("21000024ff4b8c1a", true);
    ASSERT_EQ(0, Init().status);
    Fault(
        R"("kind": "answer", "answer": {"data": [{"ID": "24ff4b8c1a"}], "error": {"code": 0, "description": "0"}}, "method": "GET", "target": "/fc_initiator.PARENTID=1")");
    EXPECT_THAT(RunZavctl({"cleanup", "--env", m_env, "--dry-run"}).errors,
                HasSubstr("host 1 stays: it has FC initiator 24ff4b8c1a, which this node did not put there"));
}

TEST_F(ZavctlLeftoversTest, JournalThatCannotBeKeptIsToldBeforeAnythingIsMade)
{
    boost::filesystem::create_directory(ProductPath("conf/san-journal"));
    const Base::ProgramResult init = Init();
    EXPECT_EQ(7, init.status);
    EXPECT_THAT(init.errors, HasSubstr("what is made could not be entered into the journal: cannot write " +
                                       ProductPath("conf/san-journal") + ": it is no regular file"));
    ExpectNothingLeft();
}

TEST_F(ZavctlLeftoversTest, WhatBearsThePrefixAloneIsListedAndLeft)
{
    ASSERT_EQ(0, Init().status);
    m_array.Operate("POST", "hostgroup", R"({"NAME":"Vendrix_of_another_node","TYPE":"14"})");
    const Base::ProgramResult tidy = Tidy("--yes");
    EXPECT_EQ(0, tidy.status);
    EXPECT_THAT(tidy.errors, HasSubstr("not ours by the journal, and left: host group 2 (Vendrix_of_another_node)"));
    EXPECT_THAT(m_array.Ids("hostgroup"), Contains("2"));
}

TEST_F(ZavctlLeftoversTest, OrphansAreToldApartAndLeft)
{
    ASSERT_EQ(0, Init().status);
    boost::filesystem::remove(ZavctlRecordPath(m_array)); // what was made is the journal's alone
    m_array.Operate("POST", "hostgroup", R"({"NAME":"Vendrix_of_another_node","TYPE":"14"})");
    m_array.Operate("POST", "hostgroup", R"({"NAME":"an operator's","TYPE":"14"})");
    m_array.Operate("POST", "host/associate", R"({"TYPE":"14","ID":"3","ASSOCIATEOBJTYPE":"21","ASSOCIATEOBJID":"1"})");
    const Base::ProgramResult orphans = RunZavctl({"orphans", "--env", m_env, "-o", "json"});
    EXPECT_EQ(0, orphans.status) << orphans.errors;
    std::vector<std::string> told;
    const Json::Value answer = ParseJsonText(orphans.output);
    for (const Json::Value& each : answer["orphans"]) {
        told.push_back(each["kind"].asString() + " " + each["id"].asString() +
                       (each["certain"].asBool() ? "" : " possibly: " + each["why"].asString()));
    }
    EXPECT_THAT(told, ElementsAre("mapping view 1", "host group 1", "LUN group 1", "host 1",
                                  "host group 3 possibly: it holds host 1",
                                  "host group 2 possibly: it bears the prefix; another node's, most likely"));
    EXPECT_THAT(RunZavctl({"orphans", "--env", m_env}).output,
                HasSubstr("hostgroup:3    an operator's                   possibly     it holds host 1\n"));
    EXPECT_THAT(m_array.Ids("hostgroup"), UnorderedElementsAre("1", "2", "3"));
}

TEST_F(ZavctlLeftoversTest, ListThatTheArrayRefusesIsNotTakenForAnEmptyOne)
{
    ASSERT_EQ(0, Init().status);
    const std::string cause = m_array.Url() + ": the array does not list its mapping views: licence (42)\n";
    Fault(
        R"("kind": "code", "code": 42, "description": "licence", "method": "GET", "target": "mappingview.range", "count": 0)");
    const Base::ProgramResult orphans = RunZavctl({"orphans", "--env", m_env});
    EXPECT_EQ(9, orphans.status);
    EXPECT_THAT(orphans.errors, AllOf(HasSubstr(cause), Not(HasSubstr("no orphans"))));
    for (const char* const option : {"--dry-run", "--yes"}) {
        const Base::ProgramResult tidy = Tidy(option);
        EXPECT_EQ(9, tidy.status) << option;
        EXPECT_THAT(tidy.errors, AllOf(HasSubstr(cause), Not(HasSubstr("nothing of this node is left over"))));
    }
    ExpectWholeChain();
}

TEST_F(ZavctlLeftoversTest, IdleObjectOfAnotherNodeGoesWhenItIsNamed)
{
    ASSERT_EQ(0, Init().status);
    m_array.Operate("POST", "hostgroup", R"({"NAME":"Vendrix_of_another_node","TYPE":"14"})");
    const Base::ProgramResult dry = RunZavctl({"tidy", "--env", m_env, "--id", "hostgroup:2", "--dry-run"});
    EXPECT_EQ(0, dry.status) << dry.errors;
    EXPECT_THAT(dry.errors, HasSubstr("not ours by the journal: host group 2 (Vendrix_of_another_node)\n"));
    const Base::ProgramResult unasked = RunZavctl({"tidy", "--env", m_env, "--id", "hostgroup:2"});
    EXPECT_EQ(2, unasked.status);
    EXPECT_THAT(m_array.Ids("hostgroup"), Contains("2"));
    const Base::ProgramResult tidy = RunZavctl({"tidy", "--env", m_env, "--id", "hostgroup:2", "--yes"});
    EXPECT_EQ(0, tidy.status) << tidy.errors;
    EXPECT_THAT(tidy.errors, HasSubstr("removed host group 2 (Vendrix_of_another_node)\n"));
    ExpectWholeChain();
}

TEST_F(ZavctlLeftoversTest, ViewThatMapsTheRecordedGroupsIsInUseWhereTheRecordedOneIsGone)
{
    ASSERT_EQ(0, Init().status);
    m_array.Operate("POST", "lungroup/associate",
                    R"({"TYPE":"256","ID":"1","ASSOCIATEOBJTYPE":"11","ASSOCIATEOBJID":"3"})");
    std::string record = ReadText(ZavctlRecordPath(m_array)); // one from before, with another view's id
    const std::string id = "\"MAPVIEWID\" : \"1\"";
    ASSERT_NE(std::string::npos, record.find(id)) << record;
    WriteText(ZavctlRecordPath(m_array), record.replace(record.find(id), id.size(), "\"MAPVIEWID\" : \"99\""));
    EXPECT_THAT(Tidy("--dry-run").errors, HasSubstr("), which holds LUN 3\n"));
}

TEST_F(ZavctlLeftoversTest, ViewOfAnotherNodeOverOurGroupsStays)
{
    ASSERT_EQ(0, Init().status);
    m_array.Operate("POST", "mappingview", R"({"NAME":"Vendrix_of_another_node","TYPE":"245"})");
    m_array.Operate("PUT", "mappingview/CREATE_ASSOCIATE",
                    R"({"TYPE":"245","ID":"2","ASSOCIATEOBJTYPE":"14","ASSOCIATEOBJID":"1"})");
    const Base::ProgramResult tidy = RunZavctl({"tidy", "--env", m_env, "--id", "mappingview:2", "--yes"});
    EXPECT_EQ(5, tidy.status) << tidy.errors;
    EXPECT_THAT(tidy.errors, HasSubstr("which holds host group 1: it is in use"));
    EXPECT_THAT(m_array.Members("mappingview", "2", "hostgroup"), ElementsAre("1"));
}

TEST_F(ZavctlLeftoversTest, ObjectOfAnotherNodeThatIsInUseStaysWhateverIsNamed)
{
    ASSERT_EQ(0, Init().status);
    m_array.Operate("POST", "host", R"({"NAME":"other","TYPE":"21"})");
    m_array.Operate("POST", "hostgroup", R"({"NAME":"Vendrix_of_another_node","TYPE":"14"})");
    m_array.Operate("POST", "host/associate", R"({"TYPE":"14","ID":"2","ASSOCIATEOBJTYPE":"21","ASSOCIATEOBJID":"2"})");
    const auto expectForeign = [this](const std::string& named, const std::string& why) {
        const Base::ProgramResult tidy = RunZavctl({"tidy", "--env", m_env, "--id", named, "--yes"});
        EXPECT_EQ(5, tidy.status) << tidy.errors;
        EXPECT_THAT(tidy.errors, HasSubstr(why));
    };
    expectForeign("hostgroup:2",
                  "host group 2 (Vendrix_of_another_node), which holds host 2: it is in use, and not ours "
                  "by the journal; nothing was changed");
    expectForeign("host:2", "host 2 (other) bears no name that this product makes");
    expectForeign("hostgroup:1", "is this node's record's: it is in use here");
    EXPECT_THAT(m_array.Members("hostgroup", "2", "host"), ElementsAre("2"));
    EXPECT_THAT(m_array.Ids("host"), UnorderedElementsAre("1", "2"));
}

TEST_F(ZavctlLeftoversTest, CleanupLeavesAGroupThatOthersAreInUnlessItIsNamed)
{
    ASSERT_EQ(0, Init().status);
    m_array.Operate("POST", "host", R"({"NAME":"other","TYPE":"21"})");
    m_array.Operate("POST", "host/associate", R"({"TYPE":"14","ID":"1","ASSOCIATEOBJTYPE":"21","ASSOCIATEOBJID":"2"})");
    const Base::ProgramResult refused = Cleanup();
    EXPECT_EQ(5, refused.status);
    EXPECT_THAT(refused.errors, HasSubstr("host group 1 holds other hosts (2), and nothing was changed"));
    EXPECT_THAT(m_array.Ids("mappingview"), SizeIs(1));
    const Base::ProgramResult named = RunZavctl({"cleanup", "--env", m_env, "--shared-group", "1"});
    EXPECT_EQ(0, named.status) << named.errors;
    EXPECT_THAT(m_array.Ids("hostgroup"), IsEmpty());
    EXPECT_THAT(m_array.Ids("host"), ElementsAre("2"));
}

TEST_F(ZavctlLeftoversTest, CleanupLeavesAHostThatTheJournalDoesNotName)
{
    m_array.Operate("POST", "host", R"({"NAME":"an operator's","TYPE":"21"})");
    m_array.Operate("POST", "iscsi_initiator", std::string(R"({"TYPE":"222","ID":")") + NODE_IQN + R"("})");
    m_array.Operate("PUT", "iscsi_initiator/add_iscsi_to_host",
                    std::string(R"({"TYPE":"222","PARENTTYPE":"21","PARENTID":"1","ID":")") + NODE_IQN + R"("})");
    ASSERT_EQ(0, Init().status);
    const Base::ProgramResult cleanup = RunZavctl({"cleanup", "--env", m_env, "--delete-host"});
    EXPECT_EQ(0, cleanup.status) << cleanup.errors;
    EXPECT_THAT(cleanup.errors, HasSubstr("host 1 stays: the journal of what this node makes does not name it"));
    EXPECT_THAT(m_array.Members("host", "1", "iscsi_initiator"), ElementsAre(NODE_IQN));
    EXPECT_THAT(m_array.Ids("hostgroup"), IsEmpty());
}

TEST_F(ZavctlLeftoversTest, TidyTakesAHostOfThisNodesAwayThatHoldsItsInitiatorsAlone)
{
    ASSERT_EQ(0, Init().status);
    boost::filesystem::remove(ZavctlRecordPath(m_array));
    const Base::ProgramResult tidy = Tidy("--yes");
    EXPECT_EQ(0, tidy.status) << tidy.errors;
    EXPECT_THAT(tidy.errors, HasSubstr(std::string("which holds iSCSI initiator ") + NODE_IQN));
    ExpectNothingLeft();
}

TEST_F(ZavctlLeftoversTest, TidyLeavesAHostThatHoldsSomebodyElsesInitiatorAndEndsWithTheCause)
{
    ASSERT_EQ(0, Init().status);
    boost::filesystem::remove(ZavctlRecordPath(m_array));
    m_array.Operate("POST", "iscsi_initiator", R"({"TYPE":"222","ID":"iqn.2020-01.another.node"})");
    m_array.Operate("PUT", "iscsi_initiator/add_iscsi_to_host",
                    R"({"TYPE":"222","PARENTTYPE":"21","PARENTID":"1","ID":"iqn.2020-01.another.node"})");
    const Base::ProgramResult tidy = Tidy("--yes");
    EXPECT_EQ(5, tidy.status);
    EXPECT_THAT(tidy.errors,
                ::testing::ContainsRegex("host 1 stays: it holds iSCSI initiator iqn.2020-01.another.node\n"
                                         "zavctl: remedy: [^\n]*\n$"));
    EXPECT_THAT(m_array.Members("host", "1", "iscsi_initiator"),
                UnorderedElementsAre("iqn.2020-01.another.node", NODE_IQN));
    EXPECT_THAT(m_array.Ids("hostgroup"), IsEmpty());
}

TEST_F(ZavctlLeftoversTest, HostThatComesIntoAGroupWhileThatIsTakenApartStaysThere)
{
    ASSERT_EQ(0, Init().status);
    boost::filesystem::remove(ZavctlRecordPath(m_array));
    m_array.DeleteBehindBack("mappingview", "1");
    m_array.Operate("POST", "host", R"({"NAME":"other","TYPE":"21"})");
    m_array.Operate("POST", "host/associate", R"({"TYPE":"14","ID":"1","ASSOCIATEOBJTYPE":"21","ASSOCIATEOBJID":"2"})");
    // Whoever looked for what is left over, and for its uses, saw this node's host alone.
    Fault(
        R"("kind": "answer", "answer": {"data": [{"ID": "1"}], "error": {"code": 0, "description": "0"}}, "method": "GET", "target": "/host/associate.*OBJTYPE=14&", "count": 3)");
    const Base::ProgramResult tidy = Tidy("--yes");
    EXPECT_EQ(9, tidy.status) << tidy.errors;
    EXPECT_THAT(tidy.errors, HasSubstr("cannot delete host group 1"));
    EXPECT_THAT(m_array.Members("hostgroup", "1", "host"), ElementsAre("2"));
}

TEST_F(ZavctlLeftoversTest, InitiatorThatComesOntoAHostWhileThatIsTakenApartStaysThere)
{
    ASSERT_EQ(0, Init().status);
    boost::filesystem::remove(ZavctlRecordPath(m_array));
    m_array.Operate("POST", "iscsi_initiator", R"({"TYPE":"222","ID":"iqn.2020-01.another.node"})");
    m_array.Operate("PUT", "iscsi_initiator/add_iscsi_to_host",
                    R"({"TYPE":"222","PARENTTYPE":"21","PARENTID":"1","ID":"iqn.2020-01.another.node"})");
    Fault(
        R"("kind": "answer", "answer": {"data": [{"ID": ")" + std::string(NODE_IQN) +
        R"("}], "error": {"code": 0, "description": "0"}}, "method": "GET", "target": "/iscsi_initiator.PARENTID=1", "count": 4)");
    const Base::ProgramResult tidy = Tidy("--yes");
    EXPECT_EQ(9, tidy.status) << tidy.errors;
    EXPECT_THAT(tidy.errors, HasSubstr("cannot delete host 1"));
    EXPECT_THAT(m_array.Members("host", "1", "iscsi_initiator"), ElementsAre("iqn.2020-01.another.node"));
}

TEST_F(ZavctlLeftoversTest, WatchThatMakesAllAnewLeavesWhatOthersUse)
{
    const std::string ofNode =
        std::string(R"({"TYPE":"222","PARENTTYPE":"21","PARENTID":"1","ID":")") + NODE_IQN + R"("})";
    m_array.Operate("POST", "host", R"({"NAME":"operators-host","TYPE":"21"})");
    m_array.Operate("POST", "iscsi_initiator", ofNode);
    m_array.Operate("PUT", "iscsi_initiator/add_iscsi_to_host", ofNode);
    const auto zavctl = StartZavctl({"init", "--env", m_env, "--watch", "1"});
    zavctl->AwaitLine("MAPPING VIEW NAME");
    m_array.Operate("POST", "host", R"({"NAME":"other","TYPE":"21"})");
    m_array.Operate("POST", "host/associate", R"({"TYPE":"14","ID":"1","ASSOCIATEOBJTYPE":"21","ASSOCIATEOBJID":"2"})");
    m_array.Operate("POST", "lungroup/associate",
                    R"({"TYPE":"256","ID":"1","ASSOCIATEOBJTYPE":"11","ASSOCIATEOBJID":"3"})");
    m_array.DeleteBehindBack("mappingview", "1");
    zavctl->AwaitError("left by an earlier run, and in use: host group 1 ");
    zavctl->AwaitError("left by an earlier run, and in use: LUN group 1 ");
    AwaitFurtherRounds();
    zavctl->Signal(SIGTERM);
    zavctl->Wait();
    const std::string errors = zavctl->Errors();
    EXPECT_EQ(errors.find("in use: LUN group 1"), errors.rfind("in use: LUN group 1")) << "told twice: " << errors;

    EXPECT_EQ("operators-host", m_array.Object("host", "1")["name"].asString());
    EXPECT_THAT(m_array.Members("host", "1", "iscsi_initiator"), ElementsAre(NODE_IQN));
    EXPECT_THAT(m_array.Members("hostgroup", "1", "host"), UnorderedElementsAre("1", "2"));
    EXPECT_THAT(m_array.Members("lungroup", "1", "lun"), ElementsAre("3"));
    EXPECT_THAT(m_array.Ids("mappingview"), ElementsAre("2"));
    EXPECT_THAT(m_array.Members("mappingview", "2", "hostgroup"), ElementsAre("2"));
    EXPECT_THAT(m_array.Members("hostgroup", "2", "host"), ElementsAre("1"));
}

TEST_F(ZavctlLeftoversTest, WatchKeepsTheViewWhoseGroupItEnteredIntoTheRecord)
{
    ASSERT_EQ(0, Init().status);
    LetTheRecordLackItsLunGroup();
    const auto zavctl = StartZavctl({"init", "--env", m_env, "--watch", "1"});
    zavctl->AwaitError("the record did not name LUN group 1"); // for which the library had made another
    zavctl->AwaitLine("MAPPING VIEW NAME");
    AwaitFurtherRounds();
    zavctl->Signal(SIGTERM);
    zavctl->Wait();
    EXPECT_EQ(0, CountOfRequests("DELETE mappingview"));
    EXPECT_THAT(m_array.Ids("mappingview"), ElementsAre("1"));
    ExpectWholeChain();
}

TEST_F(ZavctlLeftoversTest, SeveralAtOnceMakeNothingTwice)
{
    std::vector<std::unique_ptr<Process>> several;
    for (int i = 0; i < 4; ++i) {
        several.push_back(StartZavctl({"init", "--env", m_env}));
    }
    for (const auto& one : several) {
        EXPECT_EQ(0, one->Wait()) << one->Errors();
    }
    ExpectWholeChain();
    const std::string journal = ReadText(ProductPath("conf/san-journal"));
    EXPECT_THAT(journal, Not(HasSubstr("zavsim-admin")));
}

} // namespace
