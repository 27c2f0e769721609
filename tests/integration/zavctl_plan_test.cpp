#include "tests/integration/stage.h"

#include <gmock/gmock.h>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem.hpp>

#include <algorithm>
#include <map>
#include <set>

using ::testing::AllOf;
using ::testing::AnyOf;
using ::testing::Contains;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

namespace fs = boost::filesystem;

namespace {

using Texts = std::multiset<std::string>;
using Record = std::map<std::string, std::string>;

const std::string NEW = "(new)";

const std::map<std::string, std::string> WORDS = {{"host", "host"},
                                                  {"hostgroup", "host group"},
                                                  {"lungroup", "LUN group"},
                                                  {"mappingview", "mapping view"},
                                                  {"iscsi_initiator", "iSCSI initiator"},
                                                  {"fc_initiator", "FC initiator"}};
const std::map<std::string, std::string> WORDS_OF_TYPE = {{"14", "hostgroup"}, {"21", "host"}, {"256", "lungroup"}};

/// What plan says against what init does, from each state that a node can start in.
class ZavctlPlanTest : public Stage {
protected:
    ZavctlPlanTest()
        : m_array(StartArray(WithTwoPortals()))
        , m_env(EnvironmentFileOf(m_array))
    {
        StartTargets(m_array.Options().serviceIps);
    }

    ArrayOptions WithTwoPortals() const
    {
        ArrayOptions options;
        options.serviceIps = {Address(8), Address(9)};
        return options;
    }

    Base::ProgramResult Run(const std::string& command, const Process::Arguments& further = {}) const
    {
        Process::Arguments arguments = {command, "--env", m_env};
        arguments.insert(arguments.end(), further.begin(), further.end());
        return RunZavctl(arguments);
    }

    void Prepare() const
    {
        for (int i = 0; i < 2; ++i) { // the second enters that the host is not to be deleted
            const Base::ProgramResult init = Run("init");
            ASSERT_EQ(0, init.status) << init.errors;
        }
    }

    void PutOntoHost(const std::string& iqn, const std::string& host) const
    {
        const std::string id = R"("TYPE":"222","ID":")" + iqn + '"';
        m_array.Operate("POST", "iscsi_initiator", "{" + id + "}");
        m_array.Operate("PUT", "iscsi_initiator/add_iscsi_to_host",
                        "{" + id + R"(,"PARENTTYPE":"21","PARENTID":")" + host + R"("})");
    }

    void MakeOperatorsHost() const
    {
        m_array.Operate("POST", "host", R"({"NAME":"an operator's","TYPE":"21"})");
        PutOntoHost(NODE_IQN, "1");
    }

    /// Onto a second one, which an operator makes.
    void MoveOntoHostOfOthers() const
    {
        m_array.Operate("POST", "host", R"({"NAME":"other","TYPE":"21"})");
        m_array.Operate("PUT", "iscsi_initiator/remove_iscsi_from_host",
                        std::string(R"({"TYPE":"222","ID":")") + NODE_IQN + R"("})");
        m_array.Operate("PUT", "iscsi_initiator/add_iscsi_to_host",
                        std::string(R"({"TYPE":"222","PARENTTYPE":"21","PARENTID":"2","ID":")") + NODE_IQN + R"("})");
    }

    /// The files below the node's folders, with their content, but for the lock that any iscsiadm takes.
    std::map<std::string, std::string> Files() const
    {
        std::map<std::string, std::string> files;
        for (const char* const folder : {"/product/conf", "/node"}) {
            for (fs::recursive_directory_iterator each(Directory() + folder), end; each != end; ++each) {
                if (fs::is_regular_file(each->path()) && each->path().filename() != "lock") {
                    files[each->path().string()] = ReadText(each->path().string());
                }
            }
        }
        return files;
    }

    Record RecordNow() const
    {
        return fs::exists(ZavctlRecordPath(m_array)) ? ReadRecord(ZavctlRecordPath(m_array)) : Record();
    }

    std::string SessionsNow() const { return RunToEnd({ProgramPath("node/iscsiadm"), "-m", "session"}).output; }

    void EndSessions() const { RunToEnd({ProgramPath("node/iscsiadm"), "-m", "node", "-u"}); }

    std::map<std::string, std::vector<std::string>> IdsNow() const
    {
        std::map<std::string, std::vector<std::string>> ids;
        for (const auto& [resource, words] : WORDS) {
            ids[resource] = m_array.Ids(resource);
        }
        return ids;
    }

    /// What was asked of the array since the journal was cleared, and granted, in the words of a plan. What takes
    /// leftovers apart is told by their removal.
    Texts Granted(const std::map<std::string, std::vector<std::string>>& before) const
    {
        const auto known = [&before](const std::string& resource, const std::string& id) {
            const std::vector<std::string>& ids = before.at(resource);
            return std::find(ids.begin(), ids.end(), id) == ids.end() && !boost::ends_with(resource, "initiator") ? NEW
                                                                                                                  : id;
        };
        Texts granted;
        const std::string prefix = "/deviceManager/rest/";
        for (const JournalEntry& entry : m_array.Journal()) {
            const std::string target = entry.target.substr(entry.target.find('/', prefix.size()) + 1);
            const std::string resource = target.substr(0, target.find_first_of("/?"));
            const Json::Value& body = entry.body;
            if (entry.code != 0 || entry.method == "GET" || WORDS.count(resource) == 0 ||
                boost::contains(target, "remove_") || boost::contains(target, "REMOVE_") ||
                (entry.method == "DELETE" && boost::contains(target, "associate"))) {
                continue;
            }
            if (entry.method == "DELETE") {
                granted.insert("remove " + WORDS.at(resource) + " " + target.substr(target.find('/') + 1));
            } else if (target == "host/associate") {
                granted.insert("join host " + known("host", body["ASSOCIATEOBJID"].asString()) + " into host group " +
                               known("hostgroup", body["ID"].asString()));
            } else if (target == "mappingview/CREATE_ASSOCIATE") {
                const std::string member = WORDS_OF_TYPE.at(body["ASSOCIATEOBJTYPE"].asString());
                granted.insert("join " + WORDS.at(member) + " " + known(member, body["ASSOCIATEOBJID"].asString()) +
                               " into mapping view " + known("mappingview", body["ID"].asString()));
            } else if (entry.method == "PUT") {
                granted.insert("join " + WORDS.at(resource) + " " + body["ID"].asString() + " into host " +
                               known("host", body["PARENTID"].asString()));
            } else {
                granted.insert("make " + WORDS.at(resource) + " " +
                               (body.isMember("ID") ? body["ID"].asString() : NEW));
            }
        }
        return granted;
    }

    static Texts Planned(const Json::Value& plan)
    {
        Texts planned;
        for (const Json::Value& step : plan["steps"]) {
            if (step["where"] == "array" && step["changes"].asBool()) {
                const std::string action = step["action"] == "mend" ? "join" : step["action"].asString();
                planned.insert(action + " " + step["kind"].asString() + " " + step["id"].asString() +
                               (step.isMember("into")
                                    ? " into " + step["into"].asString() + " " + step["into_id"].asString()
                                    : ""));
            }
        }
        return planned;
    }

    static void ExpectPlannedRecord(const Json::Value& plan, const Record& before, const Record& after)
    {
        Record planned = before;
        for (const Json::Value& step : plan["steps"]) {
            if (step["action"] == "enter") {
                planned[step["id"].asString()] = step["name"].asString();
            } else if (step["action"] == "forget") {
                planned.erase(step["id"].asString());
            }
        }
        for (auto& [name, value] : planned) {
            const auto was = before.find(name);
            const auto is = after.find(name);
            if (value == NEW && is != after.end() && (was == before.end() || was->second != is->second)) {
                value = is->second; // which nobody knew before
            }
        }
        EXPECT_EQ(planned, after);
    }

    /// Plans, looks that nothing changed by it, has init do it, and compares.
    Json::Value ExpectInitDoesAsPlanned(int planStatus, int initStatus, const Process::Arguments& further = {}) const
    {
        const auto files = Files();
        const auto ids = IdsNow();
        const Record record = RecordNow();
        const std::string sessions = SessionsNow();
        m_array.ClearJournal();
        Process::Arguments arguments = {"-o", "json"};
        arguments.insert(arguments.end(), further.begin(), further.end());
        const Base::ProgramResult planned = Run("plan", arguments);
        EXPECT_EQ(planStatus, planned.status) << planned.errors;
        for (const std::string& request : m_array.Requests()) {
            EXPECT_THAT(request, AnyOf(StartsWith("GET "), EndsWith(" sessions")));
        }
        EXPECT_EQ(files, Files());
        EXPECT_EQ(sessions, SessionsNow());
        const Json::Value plan = ParseJsonText(planned.output);
        m_array.ClearJournal();
        const Base::ProgramResult init = Run("init", further);
        EXPECT_EQ(initStatus, init.status) << init.errors;
        EXPECT_EQ(Planned(plan), Granted(ids)) << planned.output;
        ExpectPlannedRecord(plan, record, RecordNow());
        const bool isLoginPlanned =
            std::any_of(plan["steps"].begin(), plan["steps"].end(),
                        [](const Json::Value& step) { return step["where"] == "node" && step["action"] == "make"; });
        EXPECT_EQ(isLoginPlanned, SessionsNow() != sessions) << SessionsNow();
        return plan;
    }

    void ExpectBothRefuse(const Process::Arguments& further = {}) const
    {
        const Json::Value before = m_array.Objects();
        const Base::ProgramResult plan = Run("plan", further);
        EXPECT_EQ(5, plan.status);
        EXPECT_THAT(plan.output, IsEmpty());
        const Base::ProgramResult init = Run("init", further);
        EXPECT_EQ(5, init.status);
        const std::size_t words = plan.errors.find("zavctl: " + m_array.Url());
        ASSERT_NE(std::string::npos, words) << plan.errors;
        EXPECT_THAT(plan.errors, HasSubstr("nothing was changed\nzavctl: remedy: "));
        EXPECT_THAT(init.errors, EndsWith(plan.errors.substr(words)));
        EXPECT_EQ(before, m_array.Objects());
    }

    static std::vector<std::string> Lines(const Json::Value& plan)
    {
        std::vector<std::string> lines;
        for (const Json::Value& step : plan["steps"]) {
            lines.push_back(step["where"].asString() + " " + step["action"].asString() + " " + step["kind"].asString() +
                            " " + step["id"].asString());
        }
        return lines;
    }

    const Array& m_array;
    const std::string m_env;
};

TEST_F(ZavctlPlanTest, WhereNothingIsThereAllIsMade)
{
    const Json::Value plan = ExpectInitDoesAsPlanned(11, 0);
    EXPECT_TRUE(plan["changes"].asBool());
    EXPECT_THAT(Lines(plan), AllOf(Contains("array make host (new)"), Contains("array make mapping view (new)"),
                                   Contains("node make iSCSI session " + m_array.Options().serviceIps[0]),
                                   Contains("record enter record entry HOSTID")));
}

TEST_F(ZavctlPlanTest, SecondInitEntersThatTheHostIsLeftAndAThirdNothing)
{
    ASSERT_EQ(0, Run("init").status);
    const Json::Value second = ExpectInitDoesAsPlanned(11, 0);
    EXPECT_THAT(Lines(second), Contains("record enter record entry DONOTDELETEHOST"));
    EXPECT_EQ(Texts(), Planned(second));
    const Json::Value third = ExpectInitDoesAsPlanned(0, 0);
    EXPECT_FALSE(third["changes"].asBool());
    EXPECT_THAT(Lines(third), AllOf(Contains("array reuse host 1"), Contains("array reuse mapping view 1"),
                                    Contains(std::string("array reuse iSCSI initiator ") + NODE_IQN),
                                    Contains("node reuse iSCSI session " + m_array.Options().serviceIps[0])));
}

TEST_F(ZavctlPlanTest, HostThatHasThisNodesInitiatorIsAdopted)
{
    MakeOperatorsHost();
    EXPECT_THAT(Lines(ExpectInitDoesAsPlanned(11, 0)),
                AllOf(Contains("array adopt host 1"), Not(Contains("array make host (new)"))));
    EXPECT_THAT(Lines(ExpectInitDoesAsPlanned(0, 0)), Contains("array reuse host 1")) << "it is recorded by now";
}

TEST_F(ZavctlPlanTest, WhatInitRefusesPlanRefusesInTheSameWords)
{
    MakeOperatorsHost();
    ExpectBothRefuse({"--no-adopt"});
    PutOntoHost("iqn.2020-01.local.other:01", "1");
    ExpectBothRefuse();
    EXPECT_THAT(m_array.Ids("hostgroup"), IsEmpty());
}

TEST_F(ZavctlPlanTest, RecordThatNamesWhatIsGoneHasAllMadeAnew)
{
    for (const char* const kind : {"mappingview", "hostgroup"}) {
        Prepare();
        const std::string id = m_array.Ids(kind).back();
        if (std::string(kind) == "hostgroup") { // an array gives up no group that a view holds
            m_array.DeleteBehindBack("mappingview", m_array.Ids("mappingview").back());
        }
        m_array.DeleteBehindBack(kind, id);
        const Json::Value plan = ExpectInitDoesAsPlanned(11, 0);
        EXPECT_THAT(Lines(plan), Contains("array make mapping view (new)")) << kind;
    }
}

TEST_F(ZavctlPlanTest, RecordedNameThatTheArrayDoesNotHaveHasAllMadeAnew)
{
    Prepare();
    std::string text = ReadText(ZavctlRecordPath(m_array));
    const std::string name = RecordNow().at("HOSTNAME");
    const std::size_t begin = text.find(name, text.find("\"HOSTNAME\""));
    WriteText(ZavctlRecordPath(m_array), text.replace(begin, name.size(), "another"));
    const Json::Value plan = ExpectInitDoesAsPlanned(11, 0);
    EXPECT_THAT(Lines(plan), Contains("array make host group (new)"));
    EXPECT_THAT(plan.toStyledString(), HasSubstr("host 1 (another) is called"));
}

TEST_F(ZavctlPlanTest, WhatWasHalfPreparedIsCompleted)
{
    m_array.AddFault(R"({"kind": "code", "code": 42, "method": "POST", "target": "mappingview$", "count": 0})");
    EXPECT_NE(0, Run("init").status);
    m_array.ClearFaults();
    const Json::Value plan = ExpectInitDoesAsPlanned(11, 0);
    EXPECT_THAT(Lines(plan), AllOf(Contains("array make mapping view (new)"), Contains("array reuse host group 1"),
                                   Not(Contains("array make LUN group (new)"))));
}

TEST_F(ZavctlPlanTest, InitiatorThatIsFreeIsPutOntoTheHost)
{
    m_array.Operate("POST", "iscsi_initiator", std::string(R"({"TYPE":"222","ID":")") + NODE_IQN + R"("})");
    EXPECT_THAT(Lines(ExpectInitDoesAsPlanned(11, 0)),
                AllOf(Contains(std::string("array reuse iSCSI initiator ") + NODE_IQN),
                      Contains(std::string("array join iSCSI initiator ") + NODE_IQN)));
}

TEST_F(ZavctlPlanTest, FcPortThatIsUpIsTakenForOnlineAndNobodyLogsIn)
{
    SetFcPorts({"0x2100001122334455", "0x2100001122334456"});
    m_array.SetFcPortOnline("2100001122334455", true);
    const Json::Value plan = ExpectInitDoesAsPlanned(11, 0);
    EXPECT_THAT(plan.toStyledString(), HasSubstr("does not have it; its link is up: taken for online"));
    EXPECT_THAT(Lines(plan),
                AllOf(Contains("array make FC initiator 2100001122334455"),
                      Contains("record enter record entry FCINITIATORNAME"), Not(Contains(StartsWith("node ")))));
    ExpectInitDoesAsPlanned(11, 0); // the host is left from now on
    ExpectInitDoesAsPlanned(0, 0);
}

TEST_F(ZavctlPlanTest, IscsiadmThatFailsIsNothingToANodeThatGoesByFc)
{
    WriteProgram(Directory() + "/node/bin/iscsiadm", "exit 141\n"); // as for a user who is not root
    const Base::ProgramResult plan = Run("plan");
    EXPECT_EQ(9, plan.status) << "without an FC port";
    EXPECT_THAT(plan.errors, HasSubstr("zavctl: this node's iSCSI sessions are not known: "));
    SetFcPort(m_array, "Online", true);
    ExpectInitDoesAsPlanned(11, 0);
    ExpectInitDoesAsPlanned(11, 0); // the host is left from now on
    EXPECT_EQ(0, Run("plan").status);
}

TEST_F(ZavctlPlanTest, FcPortThatIsDownIsMadeKnownAndTheNodeLogsIn)
{
    SetFcPorts({"0x2100001122334455"});
    WriteText(Directory() + "/node/fc_host/host0/port_state", "Linkdown\n");
    const Json::Value plan = ExpectInitDoesAsPlanned(11, 0);
    EXPECT_THAT(plan.toStyledString(), HasSubstr("does not have it; its link is down"));
    EXPECT_THAT(Lines(plan), AllOf(Contains("array make FC initiator 2100001122334455"),
                                   Contains(std::string("array make iSCSI initiator ") + NODE_IQN)));
}

TEST_F(ZavctlPlanTest, SessionThatIsMissingIsMade)
{
    Prepare();
    EndSessions();
    const Json::Value plan = ExpectInitDoesAsPlanned(11, 0);
    EXPECT_EQ(Texts(), Planned(plan));
    EXPECT_THAT(Lines(plan), Contains("node make iSCSI session " + m_array.Options().serviceIps[0]));
}

TEST_F(ZavctlPlanTest, PortalThatTakesNoConnectionIsPassedOver)
{
    RunToEnd({ProgramPath("zavsim-target"), "stop", "--folder", Directory() + "/targets"});
    StartTargets({m_array.Options().serviceIps[1]});
    EXPECT_THAT(Lines(ExpectInitDoesAsPlanned(11, 0)),
                AllOf(Contains("node leave iSCSI session " + m_array.Options().serviceIps[0]),
                      Contains("node make iSCSI session " + m_array.Options().serviceIps[1])));
}

TEST_F(ZavctlPlanTest, LinkThatIsMissingIsMended)
{
    Prepare();
    m_array.Operate("DELETE", "host/associate?TYPE=14&ID=1&ASSOCIATEOBJTYPE=21&ASSOCIATEOBJID=1", "");
    const Json::Value plan = ExpectInitDoesAsPlanned(11, 0);
    EXPECT_EQ(Texts({"join host 1 into host group 1"}), Planned(plan));
    EXPECT_THAT(Lines(plan), Contains("array mend host 1"));
}

TEST_F(ZavctlPlanTest, WhatInitDoesNotMendIsToldAsItsEnd)
{
    Prepare();
    SetFcPorts({"0x2100001122334455"}); // by which the node is reached from now on
    m_array.SetFcPortOnline("2100001122334455", true);
    MoveOntoHostOfOthers();
    const Json::Value plan = ExpectInitDoesAsPlanned(10, 10);
    EXPECT_EQ(10, plan["error"]["exit"].asInt());
    EXPECT_THAT(plan["error"]["cause"].asString(), HasSubstr("this node is not rightly prepared: "));
}

TEST_F(ZavctlPlanTest, WhatInitRefusesAPreparedNodePlanRefusesToo)
{
    Prepare();
    MoveOntoHostOfOthers();
    PutOntoHost("iqn.2020-01.local.other:01", "2");
    ExpectBothRefuse();
}

TEST_F(ZavctlPlanTest, NodeWithoutAnInitiatorIsToldWhatWouldBeLacking)
{
    SetInitiatorFile("");
    const Json::Value plan = ExpectInitDoesAsPlanned(10, 10);
    EXPECT_THAT(plan["error"]["cause"].asString(), HasSubstr("no host is recorded"));
}

TEST_F(ZavctlPlanTest, ArrayThatDoesNotAnswerGivesNoPlan)
{
    m_array.AddFault(R"({"kind": "code", "code": 1077949006, "target": "iscsi_initiator/", "count": 0, "skip": 1})");
    const Base::ProgramResult plan = Run("plan");
    EXPECT_EQ(9, plan.status) << plan.output;
    EXPECT_THAT(plan.output, IsEmpty());
    EXPECT_THAT(plan.errors, HasSubstr("cannot read iscsi_initiator/"));
}

TEST_F(ZavctlPlanTest, PlanIsATableForPeople)
{
    const Base::ProgramResult plan = Run("plan");
    EXPECT_EQ(11, plan.status);
    EXPECT_THAT(plan.output,
                AllOf(StartsWith("WHERE   ACTION  WHAT"),
                      ::testing::ContainsRegex("\narray   make    host \\(new\\) +none is recorded\n"),
                      ::testing::ContainsRegex("\narray   join    host \\(new\\) into host group \\(new\\)"),
                      ::testing::ContainsRegex("\nrecord  enter   HOSTID = \\(new\\)")));
    EXPECT_THAT(plan.errors, EndsWith("zavctl: nothing was changed; zavctl init does this\n"));
    Prepare();
    const Base::ProgramResult nothing = Run("plan");
    EXPECT_EQ(0, nothing.status);
    EXPECT_THAT(nothing.errors, EndsWith("zavctl: zavctl init would change nothing\n"));
}

} // namespace
