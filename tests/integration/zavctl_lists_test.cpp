#include "tests/integration/stage.h"

#include <gmock/gmock.h>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/filesystem/operations.hpp>

using ::testing::AllOf;
using ::testing::AnyOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

/// What an array, this node and this program are, in lists.
class ZavctlListsTest : public Stage {
protected:
    ZavctlListsTest()
        : m_array(StartArray(WithLuns(1203)))
        , m_env(EnvironmentFileOf(m_array))
    {
    }

    static ArrayOptions WithLuns(int luns)
    {
        ArrayOptions options;
        options.further = {"--luns", std::to_string(luns)};
        return options;
    }

    Base::ProgramResult List(const std::string& command, const Process::Arguments& further = {}) const
    {
        Process::Arguments arguments = {command, "--env", m_env};
        arguments.insert(arguments.end(), further.begin(), further.end());
        return RunZavctl(arguments);
    }

    static std::vector<std::string> Lines(const std::string& text)
    {
        std::vector<std::string> lines;
        boost::split(lines, text, boost::is_any_of("\n"));
        lines.pop_back();
        return lines;
    }

    void ExpectOnlyReadingRequests() const
    {
        for (const std::string& request : m_array.Requests()) {
            EXPECT_THAT(request, AnyOf(StartsWith("GET "), EndsWith(" sessions")));
        }
    }

    /// This node's initiator on host 1, "ours"; a host of another.
    void MakeHosts() const
    {
        for (const char* const name : {"ours", "other"}) {
            m_array.Operate("POST", "host", std::string(R"({"TYPE":"21","NAME":")") + name + R"("})");
        }
        for (const auto& [host, iqn] : {std::pair("1", NODE_IQN), std::pair("2", "iqn.2020-01.local.other:01")}) {
            const std::string id = std::string(R"("TYPE":"222","ID":")") + iqn + '"';
            m_array.Operate("POST", "iscsi_initiator", "{" + id + "}");
            m_array.Operate("PUT", "iscsi_initiator/add_iscsi_to_host",
                            "{" + id + R"(,"PARENTTYPE":"21","PARENTID":")" + host + R"("})");
        }
    }

    const Array& m_array;
    const std::string m_env;
};

TEST_F(ZavctlListsTest, TableOfLunsEndsAfterAHundredAndSaysSo)
{
    const Base::ProgramResult luns = List("luns", {"-q"});
    EXPECT_EQ(0, luns.status) << luns.errors;
    EXPECT_EQ("zavctl: there are more; --all lists all\n", luns.errors);
    const auto lines = Lines(luns.output);
    ASSERT_EQ(101U, lines.size());
    EXPECT_THAT(lines[0], MatchesRegex("LUN +NAME +CAPACITY +POOL +HEALTH"));
    EXPECT_THAT(lines[100], MatchesRegex("99 +LUN_000099 +4.00 GiB +1 +1"));
    ExpectOnlyReadingRequests();
}

TEST_F(ZavctlListsTest, AllLunsComePageByPage)
{
    const Base::ProgramResult luns = List("luns", {"--all", "-o", "wide", "-q"});
    EXPECT_EQ("", luns.errors);
    EXPECT_EQ(1204U, Lines(luns.output).size());
    EXPECT_THAT(Lines(luns.output)[0], MatchesRegex("LUN +NAME +CAPACITY +POOL +HEALTH +ALLOCATION +WWN"));
    EXPECT_THAT(m_array.Requests(),
                AllOf(Contains("GET lun?range=[0-500]"), Contains("GET lun?range=[500-1000]"),
                      Contains("GET lun?range=[1000-1500]"), Not(Contains(HasSubstr("range=[1500")))));
}

TEST_F(ZavctlListsTest, ListThatIsCutReadsNoFurther)
{
    const Base::ProgramResult luns = List("luns", {"--limit", "3"});
    EXPECT_EQ(4U, Lines(luns.output).size());
    EXPECT_THAT(luns.errors, EndsWith("zavctl: there are more; --all lists all\n"));
    EXPECT_THAT(m_array.Requests(), Not(Contains(HasSubstr("range=[500"))));
    EXPECT_EQ(2, List("luns", {"--limit", "3", "--all"}).status) << "one or the other";
}

TEST_F(ZavctlListsTest, LunsForScriptsAreAllOfThemInBytes)
{
    const Json::Value all = ParseJsonText(List("luns", {"-o", "json"}).output);
    EXPECT_EQ("zavctl/1", all["schema"].asString());
    EXPECT_EQ(m_array.Url(), all["url"].asString());
    EXPECT_EQ(1203U, all["luns"].size());
    EXPECT_TRUE(all["complete"].asBool());
    EXPECT_EQ(2147483648U, all["luns"][1]["capacity_bytes"].asUInt64());
    const Json::Value cut = ParseJsonText(List("luns", {"-o", "json", "--limit", "1203"}).output);
    EXPECT_TRUE(cut["complete"].asBool()) << "nothing is left out";
    EXPECT_FALSE(ParseJsonText(List("luns", {"-o", "json", "--limit", "2"}).output)["complete"].asBool());
    const Json::Value inventory = ParseJsonText(List("inventory", {"-o", "json"}).output);
    EXPECT_EQ(inventory["luns"], all["luns"]) << "one form of a LUN";
}

TEST_F(ZavctlListsTest, FilterTakesPatternsOfAShellAndLooksThroughAll)
{
    const Base::ProgramResult named = List("luns", {"--filter", "name=LUN_0012*", "-q"});
    EXPECT_THAT(Lines(named.output),
                ElementsAre(StartsWith("LUN"), StartsWith("1200"), StartsWith("1201"), StartsWith("1202")));
    EXPECT_EQ("", named.errors);
    const Base::ProgramResult both = List("luns", {"--filter", "name=LUN_0012*", "--filter", "pool_id=0", "-q"});
    EXPECT_THAT(Lines(both.output), ElementsAre(StartsWith("LUN"), StartsWith("1200"), StartsWith("1202")));
    const Base::ProgramResult none = List("luns", {"--filter", "name=lun_0012*", "-q"});
    EXPECT_EQ(0, none.status);
    EXPECT_THAT(Lines(none.output), ElementsAre(MatchesRegex("LUN +NAME +CAPACITY +POOL +HEALTH")));
    const Json::Value empty = ParseJsonText(List("luns", {"--filter", "id=x", "-o", "json"}).output);
    EXPECT_TRUE(empty["luns"].isArray());
    EXPECT_TRUE(empty["luns"].empty());
}

TEST_F(ZavctlListsTest, FilterOfWhatTheListDoesNotHaveIsRefusedBeforeAnythingIsAsked)
{
    for (const char* const filter : {"colour=red", "name"}) {
        m_array.ClearJournal();
        const Base::ProgramResult outcome = List("luns", {"--filter", filter});
        EXPECT_EQ(2, outcome.status);
        EXPECT_THAT(outcome.errors, HasSubstr("takes MEMBER=PATTERN, of the members id, name, capacity_bytes"));
        EXPECT_THAT(m_array.Requests(), IsEmpty());
    }
}

TEST_F(ZavctlListsTest, FailureInTheMiddleOfAListStandsInItsOneObject)
{
    m_array.AddFault(R"({"kind": "code", "code": 42, "description": "no way", "target": "lun\\?range=\\[500"})");
    const Base::ProgramResult luns = List("luns", {"-o", "json"});
    EXPECT_EQ(9, luns.status);
    const Json::Value answer = ParseJsonText(luns.output);
    EXPECT_EQ(500U, answer["luns"].size());
    EXPECT_FALSE(answer["complete"].asBool());
    EXPECT_THAT(answer["error"]["cause"].asString(), EndsWith("cannot read the LUNs from 500: no way (42)"));
    EXPECT_THAT(luns.errors, HasSubstr("no way (42)\nzavctl: remedy: "));
    m_array.AddFault(R"({"kind": "code", "code": 43, "description": "not now", "target": "lun/count"})");
    const Json::Value nothing = ParseJsonText(List("luns", {"-o", "json"}).output);
    EXPECT_FALSE(nothing.isMember("luns"));
    EXPECT_THAT(nothing["error"]["cause"].asString(), EndsWith("not now (43)"));
}

TEST_F(ZavctlListsTest, FailureInTheMiddleOfAnInventoryStandsInItsOneObject)
{
    EXPECT_TRUE(ParseJsonText(List("inventory", {"-o", "json"}).output)["complete"].asBool());
    m_array.AddFault(R"({"kind": "code", "code": 42, "description": "no way", "target": "lun\\?range=\\[500"})");
    const Base::ProgramResult inventory = List("inventory", {"-o", "json"});
    EXPECT_EQ(9, inventory.status);
    const Json::Value answer = ParseJsonText(inventory.output);
    EXPECT_EQ(m_array.Options().serial, answer["serial_number"].asString());
    EXPECT_EQ(500U, answer["luns"].size());
    EXPECT_FALSE(answer["complete"].asBool());
    EXPECT_THAT(answer["error"]["cause"].asString(), EndsWith("cannot read the LUNs from 500: no way (42)"));
    EXPECT_EQ("42", answer["error"]["code"].asString());
    EXPECT_THAT(inventory.errors, HasSubstr("no way (42)\nzavctl: remedy: "));
}

TEST_F(ZavctlListsTest, SystemPoolsAndPortsAreThoseOfTheInventory)
{
    const Json::Value inventory = ParseJsonText(List("inventory", {"-o", "json"}).output);
    const Json::Value system = ParseJsonText(List("system", {"-o", "json"}).output);
    for (const std::string& member : system.getMemberNames()) {
        EXPECT_EQ(inventory[member], system[member]) << member;
    }
    EXPECT_EQ(7U, system.size());
    EXPECT_EQ(inventory["pools"], ParseJsonText(List("pools", {"-o", "json"}).output)["pools"]);
    EXPECT_THAT(List("system").output, HasSubstr("SERIAL NUMBER     " + m_array.Options().serial + "\n"));
    EXPECT_THAT(Lines(List("pools", {"-o", "wide"}).output),
                ElementsAre(MatchesRegex("POOL +NAME +TOTAL +FREE +USED +HEALTH +USAGE +DESCRIPTION"),
                            MatchesRegex("0 +StoragePool000 +.* TiB +1.00 TiB .*Simulated pool 0"), StartsWith("1 ")));
    EXPECT_THAT(Lines(List("ports").output),
                ElementsAre("USE         ADDRESS", "management  " + m_array.Options().managementIps[0],
                            "service     " + m_array.Options().serviceIps[0]));
    EXPECT_THAT(Lines(List("ports", {"--filter", "use=s*"}).output),
                ElementsAre("USE      ADDRESS", StartsWith("serv")));
    ExpectOnlyReadingRequests();
}

TEST_F(ZavctlListsTest, HostsTellWhichIsThisNodes)
{
    MakeHosts();
    m_array.ClearJournal();
    EXPECT_THAT(Lines(List("hosts").output),
                ElementsAre("HOST  NAME   THIS NODE", "1     ours   yes", "2     other  no"));
    EXPECT_THAT(m_array.Requests(), Not(Contains(HasSubstr("PARENTID="))));
    EXPECT_THAT(Lines(List("hosts", {"-o", "wide"}).output)[2], EndsWith("  no         iqn.2020-01.local.other:01"));
    EXPECT_THAT(Lines(List("hosts", {"--filter", "initiators=*other*"}).output),
                ElementsAre(StartsWith("HOST"), StartsWith("2 ")));
    const Json::Value hosts = ParseJsonText(List("hosts", {"-o", "json", "--filter", "this_node=true"}).output);
    ASSERT_EQ(1U, hosts["hosts"].size());
    EXPECT_EQ(NODE_IQN, hosts["hosts"][0]["initiators"][0].asString());
    ExpectOnlyReadingRequests();
}

TEST_F(ZavctlListsTest, HostsThatTheArrayDoesNotListAreToldWithItsReason)
{
    m_array.AddFault(
        R"({"kind": "code", "code": 1090519044, "description": "no such thing", "target": "host\\?range"})");
    const Base::ProgramResult hosts = List("hosts", {"-o", "json"});
    EXPECT_EQ(9, hosts.status);
    const Json::Value error = ParseJsonText(hosts.output)["error"];
    EXPECT_EQ(m_array.Url() + ": the array does not list its hosts: no such thing (1090519044)",
              error["cause"].asString());
    EXPECT_EQ("1090519044", error["code"].asString());
    EXPECT_THAT(error["remedy"].asString(), StartsWith("the array speaks another version of the interface"));
}

TEST_F(ZavctlListsTest, NodeTellsWhatItIsAndAsksNoArray)
{
    SetFcPorts({"0x2100001122334455"});
    for (const std::string program : {"iscsiadm", "iscsid"}) {
        WriteProgram(Directory() + "/node/bin/" + program, "echo " + program + " version 7.1.8-rc\n");
    }
    m_array.ClearJournal();
    const Base::ProgramResult node = RunZavctl({"node"});
    EXPECT_EQ(0, node.status) << node.errors;
    EXPECT_THAT(node.output, AllOf(HasSubstr(std::string("ISCSI INITIATOR  ") + NODE_IQN + "\n"),
                                   HasSubstr("FC PORT          2100001122334455  Online\n"),
                                   HasSubstr("ISCSID           7.1.8-rc\n"),
                                   HasSubstr("KEY              " + Directory() + "/product.key, usable\n"),
                                   HasSubstr("RECORDS          none in " + ProductPath("conf") + "\n")));
    EXPECT_THAT(node.output, Not(HasSubstr(ReadText(Directory() + "/product.key").substr(0, 32))));
    WriteText(ZavctlRecordPath(m_array), "{}");
    const Json::Value told = ParseJsonText(RunZavctl({"node", "-o", "json"}).output);
    EXPECT_EQ("2100001122334455", told["fc_ports"][0]["name"].asString());
    EXPECT_EQ("7.1.8-rc", told["iscsiadm_version"].asString());
    EXPECT_EQ(ZavctlRecordPath(m_array), told["records"][0].asString());
    EXPECT_EQ(Directory() + "/library.log", told["log"].asString());
    EXPECT_EQ(Directory() + "/product", told["product_root"].asString());
    EXPECT_THAT(m_array.Requests(), IsEmpty());
}

TEST_F(ZavctlListsTest, NodeThatHasNothingSaysSo)
{
    SetInitiatorFile("");
    boost::filesystem::remove(Directory() + "/product.key");
    const Base::ProgramResult node = RunZavctl({"node"});
    EXPECT_EQ(0, node.status) << node.errors;
    EXPECT_THAT(node.output, AllOf(HasSubstr("ISCSI INITIATOR  none\n"), HasSubstr("FC PORTS         none\n"),
                                   HasSubstr("there is no key in " + Directory() + "/product.key yet\n")));
    EXPECT_FALSE(boost::filesystem::exists(Directory() + "/product.key")) << "looking makes none";
}

TEST_F(ZavctlListsTest, VersionTellsTheLibrariesThatAreRunWith)
{
    const Base::ProgramResult table = RunZavctl({"version"});
    EXPECT_THAT(table.output, AllOf(HasSubstr("FRAMEWORK  open\n"),
                                    ::testing::ContainsRegex("libProductStorage.so.1 +"), Not(HasSubstr("libc.so.6"))));
    const Json::Value told = ParseJsonText(RunZavctl({"version", "-o", "json"}).output);
    EXPECT_EQ(RunZavctl({"--version"}).output, "zavctl " + told["zavctl"].asString() + "\n");
    bool isCurlTold = false;
    for (const Json::Value& library : told["libraries"]) {
        isCurlTold = isCurlTold || (library["name"] == "libcurl.so.4" && !library["version"].asString().empty());
        EXPECT_TRUE(boost::filesystem::exists(library["path"].asString()));
    }
    EXPECT_TRUE(isCurlTold);
}

} // namespace
