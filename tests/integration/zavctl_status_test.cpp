#include "tests/integration/stage.h"

#include <gmock/gmock.h>

#include <boost/filesystem/operations.hpp>

#include <algorithm>

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

constexpr int FIRST_OF_TWO = 10; // service addresses of another array

/// How a node hangs on its array, looked at from both ends.
class ZavctlStatusTest : public Stage {
protected:
    ZavctlStatusTest()
        : m_array(StartArray())
        , m_env(EnvironmentFileOf(m_array))
    {
        StartTargets({m_array.Options().serviceIps[0], Address(FIRST_OF_TWO), Address(FIRST_OF_TWO + 1)});
    }

    void Prepare()
    {
        const Base::ProgramResult init = RunZavctl({"init", "--env", m_env});
        ASSERT_EQ(0, init.status) << init.errors;
        m_array.Operate("POST", "lungroup/associate",
                        R"({"TYPE":"256","ID":"1","ASSOCIATEOBJTYPE":"11","ASSOCIATEOBJID":"3"})");
    }

    /// Another array, on whose first service address a session stands.
    const Array& PrepareOnTwoAddresses()
    {
        ArrayOptions options;
        options.serviceIps = {Address(FIRST_OF_TWO), Address(FIRST_OF_TWO + 1)};
        const Array& array = StartArray(options);
        const Base::ProgramResult init = RunZavctl({"init", "--env", EnvironmentFileOf(array)});
        EXPECT_EQ(0, init.status) << init.errors;
        return array;
    }

    Base::ProgramResult Status(const std::string& form) { return RunZavctl({"status", "--env", m_env, "-o", form}); }
    Base::ProgramResult Check() { return RunZavctl({"check", "--env", m_env}); }

    std::string Named(const std::string& kind) const { return m_array.Object(kind, "1")["name"].asString(); }

    std::string Heading() const { return "node  on " + m_array.Url() + " (" + m_array.Options().serial + ")\n"; }

    std::string Initiator() const
    {
        return "├─ iSCSI initiator " + std::string(NODE_IQN) + "  on host 1\n│  └─ session " +
               m_array.Options().serviceIps[0] + ":3260  up\n";
    }

    const Array& m_array;
    const std::string m_env;
};

TEST_F(ZavctlStatusTest, PreparedNodeIsShownFromItsInitiatorToItsLuns)
{
    Prepare();
    const Base::ProgramResult status = Status("table");
    EXPECT_EQ(0, status.status) << status.errors;
    EXPECT_EQ(Heading() + Initiator() + "└─ host 1 (" + Named("host") + ")\n   └─ host group 1 (" + Named("hostgroup") +
                  ")\n      └─ mapping view 1 (" + Named("mappingview") + ")\n         └─ LUN group 1 (" +
                  Named("lungroup") + ")\n            └─ LUN 3 (LUN_000003)  4.00 GiB\n",
              status.output);
    const Base::ProgramResult check = Check();
    EXPECT_EQ(0, check.status) << check.errors;
    EXPECT_THAT(check.errors, EndsWith("zavctl: this node is prepared on " + m_array.Url() + "\n"));
    EXPECT_THAT(check.output, IsEmpty());
}

TEST_F(ZavctlStatusTest, LookingChangesNothing)
{
    Prepare();
    const std::string record = ReadText(ZavctlRecordPath(m_array));
    m_array.DeleteBehindBack("mappingview", "1");
    m_array.ClearJournal();
    EXPECT_EQ(10, Status("table").status);
    EXPECT_EQ(10, Check().status);
    for (const std::string& request : m_array.Requests()) {
        EXPECT_THAT(request, ::testing::AnyOf(StartsWith("GET "), EndsWith(" sessions")));
    }
    EXPECT_EQ(record, ReadText(ZavctlRecordPath(m_array)));
}

TEST_F(ZavctlStatusTest, WhatIsGoneIsMarkedAndEndsWithTen)
{
    Prepare();
    m_array.DeleteBehindBack("mappingview", "1");
    m_array.Operate("DELETE", "host/associate?TYPE=14&ID=1&ASSOCIATEOBJTYPE=21&ASSOCIATEOBJID=1", "");
    const Base::ProgramResult status = Status("table");
    EXPECT_EQ(10, status.status);
    EXPECT_THAT(status.output, HasSubstr(")  missing: host 1 is not in host group 1\n"));
    EXPECT_THAT(status.output, HasSubstr(")  missing: the array has none of this id\n"));
    EXPECT_THAT(status.errors, HasSubstr("this node is not rightly prepared: host group 1 ("));
    EXPECT_THAT(status.errors, EndsWith("zavctl: remedy: run zavctl init again; what it does not mend has to be mended "
                                        "on the array\n"));
    EXPECT_EQ(10, Check().status);
}

TEST_F(ZavctlStatusTest, InitiatorOnSomebodyElsesHostIsForeign)
{
    Prepare();
    m_array.Operate("POST", "host", R"({"NAME":"other","TYPE":"21"})");
    for (const char* const request : {"remove_iscsi_from_host", "add_iscsi_to_host"}) {
        m_array.Operate("PUT", std::string("iscsi_initiator/") + request,
                        std::string(R"({"TYPE":"222","PARENTTYPE":"21","PARENTID":"2","ID":")") + NODE_IQN + R"("})");
    }
    const Base::ProgramResult status = Status("table");
    EXPECT_EQ(10, status.status);
    EXPECT_THAT(status.output, HasSubstr(std::string("iSCSI initiator ") + NODE_IQN +
                                         "  foreign: it is on host 2, which is not this node's\n"));
}

TEST_F(ZavctlStatusTest, InitiatorOfAnotherNodeOnOurHostIsForeign)
{
    Prepare();
    m_array.Operate("POST", "iscsi_initiator", R"({"TYPE":"222","ID":"iqn.2020-01.local.other:01"})");
    m_array.Operate("PUT", "iscsi_initiator/add_iscsi_to_host",
                    R"({"TYPE":"222","PARENTTYPE":"21","PARENTID":"1","ID":"iqn.2020-01.local.other:01"})");
    const Base::ProgramResult status = Status("table");
    EXPECT_EQ(10, status.status);
    EXPECT_THAT(status.output, HasSubstr("├─ iSCSI initiator iqn.2020-01.local.other:01  foreign: it is on this node's "
                                         "host and not this node's\n"));
}

TEST_F(ZavctlStatusTest, NameThatThisNodeHadOnceIsNoFaultAndItsNewOneIsMissed)
{
    Prepare();
    SetInitiatorFile("InitiatorName=iqn.2020-01.local.node:02\n");
    const Base::ProgramResult status = Status("table");
    EXPECT_EQ(10, status.status);
    EXPECT_THAT(status.output,
                HasSubstr("├─ iSCSI initiator iqn.2020-01.local.node:02  missing: the array does not have it\n"));
    EXPECT_THAT(status.output, HasSubstr(std::string(NODE_IQN) + "  not recorded: this node had it once; it is another "
                                                                 "machine's by now, or nobody's\n"));
}

TEST_F(ZavctlStatusTest, AddressWithoutASessionIsMissedWhereNoneStands)
{
    const Array& array = PrepareOnTwoAddresses();
    const std::vector<std::string>& addresses = array.Options().serviceIps;
    const Base::ProgramResult status = RunZavctl({"status", "--env", EnvironmentFileOf(array)});
    EXPECT_EQ(0, status.status) << status.errors;
    EXPECT_THAT(status.output, HasSubstr("│  ├─ session " + addresses[0] + ":3260  up\n│  └─ portal " + addresses[1] +
                                         "  no session\n"));
    EXPECT_EQ(0, RunZavctl({"check", "--env", EnvironmentFileOf(array)}).status);
    RunToEnd({ProgramPath("node/iscsiadm"), "-m", "node", "-u"});
    const Base::ProgramResult cut = RunZavctl({"check", "--env", EnvironmentFileOf(array)});
    EXPECT_EQ(10, cut.status);
    EXPECT_THAT(cut.errors,
                HasSubstr(": this node is not rightly prepared: this node has no online FC port and no iSCSI "
                          "session with the array\n"))
        << "one fault for all addresses";
    const std::string drifted = RunZavctl({"status", "--env", EnvironmentFileOf(array)}).output;
    for (const std::string& address : addresses) {
        EXPECT_THAT(drifted, HasSubstr("─ portal " + address + "  missing: no session stands with it\n"));
    }
}

TEST_F(ZavctlStatusTest, NodeThatUsesFcNeedsNoSession)
{
    SetFcPort(m_array, "Online", true);
    Prepare();
    const Base::ProgramResult status = Status("table");
    EXPECT_EQ(0, status.status) << status.errors;
    EXPECT_THAT(status.output, HasSubstr("└─ portal " + m_array.Options().serviceIps[0] + "  no session\n"));
}

TEST_F(ZavctlStatusTest, NodeThatUsesFcNeedsNoIscsiadm)
{
    SetFcPort(m_array, "Online", true);
    Prepare();
    WriteProgram(Directory() + "/node/bin/iscsiadm", "exit 141\n"); // as for a user who is not root
    const Base::ProgramResult status = Status("table");
    EXPECT_EQ(0, status.status) << status.errors;
    EXPECT_THAT(status.output, HasSubstr("└─ sessions  this node's iSCSI sessions are not known: iscsiadm said "));
    EXPECT_EQ(0, Check().status);

    SetFcPort(m_array, "Linkdown", false);
    const Base::ProgramResult cut = Check();
    EXPECT_EQ(10, cut.status);
    EXPECT_THAT(cut.errors, HasSubstr(": this node has no online FC port, and whether it has an iSCSI session is not "
                                      "known\n"));
}

TEST_F(ZavctlStatusTest, FcPortIsToldAsTheKernelAndTheArrayHaveIt)
{
    SetFcPort(m_array, "Online", true);
    Prepare();
    const std::string port = std::string("├─ FC initiator ") + WWPN;
    const Base::ProgramResult online = Status("table");
    EXPECT_EQ(0, online.status) << online.errors;
    EXPECT_THAT(online.output, HasSubstr(port + "  Online here, on host 1\n"));

    SetFcPort(m_array, "Linkdown", false);
    const Base::ProgramResult offline = Status("table");
    EXPECT_EQ(10, offline.status) << "no path is left";
    EXPECT_THAT(offline.output,
                HasSubstr(port + "  Linkdown here, on host 1  down: the array does not see it online\n"));
}

TEST_F(ZavctlStatusTest, FcPortThatTheArrayDoesNotHaveIsNotDownThere)
{
    Prepare();
    SetFcPort(m_array, "Linkdown", false);
    const Base::ProgramResult status = Status("table");
    EXPECT_EQ(0, status.status) << status.errors;
    EXPECT_THAT(status.output,
                HasSubstr(std::string("├─ FC initiator ") + WWPN + "  Linkdown here, the array does not have it\n"));
}

TEST_F(ZavctlStatusTest, FcPortOfWhichTheArrayDoesNotSayWhetherItSeesItIsNotToldAsDown)
{
    SetFcPort(m_array, "Online", true);
    Prepare();
    const std::string port = std::string("fc_initiator/") + WWPN;
    const auto ending = [&](const char* command, const std::string& letThrough) {
        m_array.AddFault(R"({"kind": "code", "code": 1077949006, "description": "busy", "target": ")" + port +
                         R"($", "skip": )" + letThrough + "}");
        return RunZavctl({command, "--env", m_env});
    };
    const auto isTold = ::testing::AllOf(
        ::testing::Field(&Base::ProgramResult::status, 9),
        ::testing::Field(&Base::ProgramResult::errors,
                         HasSubstr("zavctl: " + m_array.Url() + ": cannot read whether FC initiator " + WWPN +
                                   " is online: busy (1077949006)\nzavctl: remedy: the array is busy")));
    EXPECT_THAT(ending("status", "1"), isTold) << "behind the question where the port is";
    EXPECT_THAT(ending("check", "1"), isTold);
    m_array.ClearJournal();
    ASSERT_EQ(0, RunZavctl({"init", "--env", m_env}).status);
    const std::vector<std::string> requests = m_array.Requests();
    const auto looks = std::count(requests.begin(), requests.end(), "GET " + port);
    ASSERT_LT(1, looks);
    EXPECT_THAT(ending("init", std::to_string(looks - 1)), isTold) << "the last of its looks at the port";
}

TEST_F(ZavctlStatusTest, NodeThatWasNeverPreparedLacksAll)
{
    const Base::ProgramResult status = Status("table");
    EXPECT_EQ(10, status.status);
    EXPECT_THAT(status.output, HasSubstr("  missing: the array does not have it\n│  └─ portal " +
                                         m_array.Options().serviceIps[0] + "  missing: no session stands with it\n"));
    for (const char* const kind : {"host", "host group", "mapping view", "LUN group"}) {
        EXPECT_THAT(status.output, HasSubstr("└─ " + std::string(kind) + "  missing: none is recorded\n"));
    }
    EXPECT_THAT(status.errors, HasSubstr("this node has no online FC port and no iSCSI session with the array"));
}

TEST_F(ZavctlStatusTest, ScriptsGetTheSameAsJson)
{
    Prepare();
    const Json::Value sound = ParseJsonText(Status("json").output);
    EXPECT_EQ("zavctl/1", sound["schema"].asString());
    EXPECT_TRUE(sound["prepared"].asBool());
    const Json::Value& host = sound["node"]["parts"][1];
    EXPECT_EQ("host", host["kind"].asString());
    EXPECT_EQ("sound", host["standing"].asString());
    const Json::Value& lun = host["parts"][0]["parts"][0]["parts"][0]["parts"][0];
    EXPECT_EQ("LUN", lun["kind"].asString());
    EXPECT_EQ("3", lun["id"].asString());
    m_array.DeleteBehindBack("mappingview", "1");
    const Base::ProgramResult check = RunZavctl({"check", "--env", m_env, "-o", "json"});
    EXPECT_EQ(10, check.status);
    const Json::Value broken = ParseJsonText(check.output);
    EXPECT_FALSE(broken["prepared"].asBool());
    EXPECT_EQ(10, broken["error"]["exit"].asInt());
    EXPECT_THAT(check.errors, HasSubstr("zavctl: remedy: run zavctl init again;"));
    ASSERT_EQ(1U, broken["faults"].size());
    EXPECT_THAT(broken["faults"][0].asString(), EndsWith(": the array has none of this id"));
}

TEST_F(ZavctlStatusTest, DiffHoldsTheRecordAgainstTheArray)
{
    Prepare();
    const auto diff = [this] {
        const Base::ProgramResult check = RunZavctl({"check", "--diff", "--env", m_env});
        return std::pair(check.status, check.output);
    };
    const std::string name = Named("host");
    const std::string head = "--- " + ZavctlRecordPath(m_array) + "\n+++ " + m_array.Url() + "\n";
    EXPECT_EQ(std::pair(0, head + " iSCSI initiator " + NODE_IQN + " on host 1\n host 1 (" + name +
                               ")\n host 1 in host group 1\n host group 1 (" + name +
                               ")\n host group 1 in mapping view 1\n mapping view 1 (" + name +
                               ")\n LUN group 1 in mapping view 1\n LUN group 1 (" + name + ")\n"),
              diff());
    m_array.Operate("POST", "host", R"({"NAME":"other","TYPE":"21"})");
    m_array.Operate("POST", "host/associate", R"({"TYPE":"14","ID":"1","ASSOCIATEOBJTYPE":"21","ASSOCIATEOBJID":"2"})");
    m_array.Operate("DELETE", "host/associate?TYPE=14&ID=1&ASSOCIATEOBJTYPE=21&ASSOCIATEOBJID=1", "");
    m_array.Operate("PUT", "iscsi_initiator/remove_iscsi_from_host",
                    std::string(R"({"TYPE":"222","ID":")") + NODE_IQN + R"("})");
    m_array.DeleteBehindBack("mappingview", "1");
    std::string record = ReadText(ZavctlRecordPath(m_array));
    const std::size_t position = record.find(name, record.find("\"HOSTNAME\""));
    WriteText(ZavctlRecordPath(m_array), record.replace(position, name.size(), "another"));
    const std::string changed = ReadText(ZavctlRecordPath(m_array));
    EXPECT_EQ(std::pair(10, head + "-iSCSI initiator " + NODE_IQN + " on host 1\n+iSCSI initiator " + NODE_IQN +
                                " on no host\n-host 1 (another)\n+host 1 (" + name +
                                ")\n-host 1 in host group 1\n+host 2 in host group 1\n host group 1 (" + name +
                                ")\n-host group 1 in mapping view 1\n-mapping view 1 (" + name +
                                ")\n-LUN group 1 in mapping view 1\n LUN group 1 (" + name + ")\n"),
              diff());
    EXPECT_EQ(changed, ReadText(ZavctlRecordPath(m_array))) << "looking changes nothing";
    const Json::Value answer = ParseJsonText(RunZavctl({"check", "--diff", "--env", m_env, "-o", "json"}).output);
    EXPECT_EQ(10, answer["error"]["exit"].asInt());
    EXPECT_EQ("record", answer["diff"][0]["side"].asString());
    EXPECT_EQ(std::string("iSCSI initiator ") + NODE_IQN + " on no host", answer["diff"][1]["text"].asString());
}

TEST_F(ZavctlStatusTest, DiffOfANodeThatIsNotPreparedShowsNothingRecorded)
{
    const Base::ProgramResult check = RunZavctl({"check", "--diff", "--env", m_env});
    EXPECT_EQ(10, check.status);
    EXPECT_EQ("--- " + ZavctlRecordPath(m_array) + "\n+++ " + m_array.Url() + "\n", check.output);
}

TEST_F(ZavctlStatusTest, DrawingIsMadeByGraphviz)
{
    Prepare();
    const std::string tools = Directory() + "/tools";
    boost::filesystem::create_directory(tools);
    const Process::Arguments command = {ProductPath("bin/zavctl"), "status", "--env", m_env, "-o", "svg"};
    const Base::ProgramResult without = RunToEnd(command, {"PATH=" + tools});
    EXPECT_EQ(7, without.status);
    EXPECT_THAT(without.errors, HasSubstr("dot"));
    EXPECT_THAT(without.errors, EndsWith("zavctl: remedy: install graphviz, or take -o html, which needs nothing\n"));
    const Base::ProgramResult drawn = RunToEnd(command);
    EXPECT_EQ(0, drawn.status) << drawn.errors;
    EXPECT_THAT(drawn.output, StartsWith("<?xml"));
    EXPECT_THAT(drawn.output, HasSubstr(">LUN 3</text>"));
    Process::Arguments fromAnother = {"env", "--ignore-signal=CHLD"}; // a parent that ignores its children's ends
    fromAnother.insert(fromAnother.end(), command.begin(), command.end());
    EXPECT_EQ(drawn.output, RunToEnd(fromAnother).output);
}

TEST_F(ZavctlStatusTest, PagesAndDrawingsHoldNoTextAsItCame)
{
    Prepare();
    std::string record = ReadText(ZavctlRecordPath(m_array));
    const std::string name = Named("host");
    WriteText(ZavctlRecordPath(m_array), record.replace(record.find(name), name.size(), R"(<script>\"x\\\u0007)"));
    const std::string html = Status("html").output;
    EXPECT_THAT(html, StartsWith("<!DOCTYPE html>"));
    EXPECT_THAT(html, HasSubstr("&lt;script&gt;&quot;x"));
    EXPECT_THAT(html, Not(HasSubstr("<script")));
    EXPECT_THAT(html, Not(HasSubstr("src=")));
    EXPECT_THAT(html, Not(HasSubstr("\a")));
    const std::string dot = Status("dot").output;
    EXPECT_THAT(dot, StartsWith("digraph mapping {\n"));
    EXPECT_THAT(dot, HasSubstr(R"(\n<script>\"x)"));
    EXPECT_THAT(dot, Not(HasSubstr("\a")));
    EXPECT_THAT(Status("svg").output, HasSubstr("&lt;script&gt;&quot;x"));
}

TEST_F(ZavctlStatusTest, NameThatHoldsAnEntityIsShownAsItIs)
{
    Prepare();
    std::string record = ReadText(ZavctlRecordPath(m_array));
    const std::string name = Named("host");
    WriteText(ZavctlRecordPath(m_array), record.replace(record.find(name), name.size(), "R&D;&auml;&bogus;"));
    EXPECT_THAT(Status("dot").output, HasSubstr(R"(\nR&amp;D;&amp;auml;&amp;bogus;\n)"));
    EXPECT_THAT(Status("svg").output, HasSubstr(">R&amp;D;&amp;auml;&amp;bogus;</text>"));
}

} // namespace
