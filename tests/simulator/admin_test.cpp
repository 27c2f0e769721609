#include "tests/simulator/support/running_simulation.h"

#include <gmock/gmock.h>

namespace ZavSimTest {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ZavSim::Code;

class AdminTest : public SimulationTest {
protected:
    AdminTest()
    {
        options.listen.push_back({false, "127.0.0.2", 0});
        Start();
    }

    std::string Switch(std::size_t listener, bool on)
    {
        return R"({"url":")" + Url(listener) + R"(","listening":)" + (on ? "true" : "false") + "}";
    }
};

TEST_F(AdminTest, JournalShowsRequestsWithSecretsMasked)
{
    const auto client = Client();
    client->Get("lun/count");
    client->Get("host/9");
    const Reply journal = Admin("GET", "journal");
    const Json::Value& entries = journal.json["entries"];
    ASSERT_EQ(3U, entries.size());
    EXPECT_EQ("/deviceManager/rest//sessions", entries[0]["target"].asString());
    EXPECT_EQ("POST", entries[0]["method"].asString());
    EXPECT_EQ("admin", entries[0]["body"]["username"].asString());
    EXPECT_EQ(Url(), entries[1]["listener"].asString());
    EXPECT_EQ("127.0.0.1", entries[1]["peer"].asString());
    EXPECT_EQ(1, entries[1]["session"].asInt());
    EXPECT_EQ(0, entries[1]["code"].asInt());
    EXPECT_EQ(200, entries[1]["status"].asInt());
    EXPECT_EQ(static_cast<std::int64_t>(Code::HostGone), entries[2]["code"].asInt64());
    for (const std::string& secret : {std::string("zavsim-admin"), client->token, client->cookie.substr(8)}) {
        EXPECT_THAT(journal.body, Not(HasSubstr(secret)));
    }
    EXPECT_EQ(1U, Admin("GET", "journal?since=2").json["entries"].size());
    EXPECT_EQ(400, Admin("GET", "journal?since=x").status);
    EXPECT_EQ(200, Admin("DELETE", "journal").status);
    EXPECT_EQ(0U, Admin("GET", "journal").json["entries"].size());
}

TEST_F(AdminTest, PageOfAnotherOriginMayNotSteer)
{
    HttpClient client(Url());
    const auto status = [&](const Headers& headers) { return client.Send("GET", "/zavsim/faults", headers).status; };
    EXPECT_EQ(200, status({}));
    EXPECT_EQ(200, status({{"Origin", Url()}}));
    EXPECT_EQ(403, status({{"Origin", "http://elsewhere.example"}}));
    EXPECT_EQ(403, status({{"Origin", "null"}}));
    EXPECT_EQ(200, status({{"Host", "localhost:8088"}}));
    EXPECT_EQ(403, status({{"Host", "rebound.example:8088"}}));
    EXPECT_EQ(403, status({{"Host", "127.0.0.1.example"}}));
}

TEST_F(AdminTest, ObjectsShowsWhatIsJoinedToWhat)
{
    const auto client = Client();
    client->Make("host", "h");
    client->Make("hostgroup", "g");
    client->Post("host/associate", R"({"TYPE":"14","ID":"1","ASSOCIATEOBJTYPE":"21","ASSOCIATEOBJID":"1"})");
    const Json::Value objects = Admin("GET", "objects").json;
    EXPECT_EQ("h", objects["host"][0]["name"].asString());
    EXPECT_EQ("1", objects["host"][0]["memberOf"]["hostgroup"][0].asString());
    EXPECT_EQ("1", objects["hostgroup"][0]["members"]["host"][0].asString());
    EXPECT_EQ(16, objects["lun"]["count"].asInt());
    EXPECT_EQ(0U, objects["mappingview"].size());
}

TEST_F(AdminTest, ObjectsShowsDeletedLunsAndTheLunOfASnapshot)
{
    Client()->Post("snapshot", R"({"NAME":"s","PARENTID":"5"})");
    Admin("DELETE", "objects/lun/3");
    const Json::Value objects = Admin("GET", "objects").json;
    EXPECT_EQ("5", objects["snapshot"][0]["lun"].asString());
    ASSERT_EQ(1U, objects["lun"]["deleted"].size());
    EXPECT_EQ("3", objects["lun"]["deleted"][0].asString());
}

TEST_F(AdminTest, ObjectDeletedBehindTheClientsBackIsGoneForIt)
{
    const auto client = Client();
    client->Make("host", "h");
    client->Make("hostgroup", "g");
    client->Post("host/associate", R"({"TYPE":"14","ID":"1","ASSOCIATEOBJTYPE":"21","ASSOCIATEOBJID":"1"})");
    EXPECT_EQ(200, Admin("DELETE", "objects/host/1").status);
    EXPECT_CODE(Code::HostGone, client->Get("host/1"));
    EXPECT_FALSE(client->Get("host/associate?ASSOCIATEOBJID=1&ASSOCIATEOBJTYPE=14&TYPE=21").HasData());
    EXPECT_EQ(200, Admin("DELETE", "objects/lun/3").status);
    EXPECT_CODE(Code::LunGone, client->Get("lun/3"));
    EXPECT_EQ("15", client->Get("lun/count").Data()["COUNT"].asString());
    EXPECT_EQ("4", client->Get("lun?range=[3-4]").Data()[0]["ID"].asString());
    EXPECT_EQ(404, Admin("DELETE", "objects/host/1").status);
    EXPECT_EQ(404, Admin("DELETE", "objects/disk/1").status);
}

TEST_F(AdminTest, SessionsCanBeEndedBehindTheClientsBack)
{
    const auto client = Client();
    seconds += 7;
    const Json::Value sessions = Admin("GET", "sessions").json;
    EXPECT_EQ("admin", sessions[0]["user"].asString());
    EXPECT_EQ(7, sessions[0]["idleSeconds"].asInt());
    Admin("DELETE", "sessions");
    EXPECT_CODE(-401, client->Get("lun/count"));
}

TEST_F(AdminTest, ListenerGoesDownAndUpAgainOnTheSamePort)
{
    ArrayClient second(Url(1));
    EXPECT_CODE(Code::Success, second.Login());
    const std::string url = Url(1);
    EXPECT_EQ(200, Admin("POST", "listeners", Switch(1, false)).status);
    EXPECT_EQ(0, second.Get("lun/count").status) << "the kept connection is cut";
    EXPECT_EQ(0, ArrayClient(url).Login().status);
    EXPECT_FALSE(Admin("GET", "listeners").json[1]["listening"].asBool());
    EXPECT_CODE(Code::Success, ArrayClient(Url()).Login()) << "the others go on";
    EXPECT_EQ(200, Admin("POST", "listeners", Switch(1, true)).status);
    EXPECT_EQ(200, Admin("POST", "listeners", Switch(1, true)).status) << "twice is as good as once";
    EXPECT_EQ(url, Url(1));
    EXPECT_CODE(Code::Success, second.Get("lun/count")) << "its session stood all the while";
}

TEST_F(AdminTest, ListenerWhoseAddressWasTakenMeanwhileStaysDownAndSaysWhy)
{
    const std::string url = Url(1);
    Admin("POST", "listeners", Switch(1, false));
    ZavSim::Options others = options;
    others.listen = {ZavSim::ParseListenAddress(url)};
    ZavSim::Simulation other(others);
    other.Start();
    const Reply refusal = Admin("POST", "listeners", Switch(1, true));
    EXPECT_EQ(409, refusal.status);
    EXPECT_THAT(refusal.body, HasSubstr("cannot listen on " + url + ": Address already in use"));
    EXPECT_FALSE(Admin("GET", "listeners").json[1]["listening"].asBool());
}

TEST_F(AdminTest, ListenerAnswersTheRequestThatStopsIt)
{
    EXPECT_EQ(200, Admin("POST", "listeners", Switch(0, false)).status);
    EXPECT_EQ(0, ArrayClient(Url()).Login().status);
    EXPECT_EQ(200, ArrayClient(Url(1)).Raw("POST", "/zavsim/listeners", Switch(0, true)).status);
    EXPECT_CODE(Code::Success, ArrayClient(Url()).Login());
}

TEST_F(AdminTest, WhatIsMalformedIsToldWithAStatus)
{
    const struct {
        const char* method;
        const char* resource;
        const char* body;
        int status;
        const char* text;
    } calls[] = {
        {"GET", "nothing", "", 404, "no such resource"},
        {"PUT", "journal", "{}", 404, "no such resource"},
        {"POST", "faults", "{", 400, "not JSON"},
        {"POST", "faults", R"({"kind":"drop","target":"["})", 400, "regular expression"},
        {"POST", "listeners", "{}", 400, "url"},
        {"POST", "listeners", R"({"url":"http://127.0.0.9:1","listening":true})", 404, "no listener"},
        {"POST", "ports", R"({"wwn":"12","online":true})", 409, "16 hexadecimal digits"},
        {"POST", "ports", R"({"wwn":"2100000000000001"})", 400, "online"},
        {"DELETE", "faults/77", "", 404, "no fault 77"},
        {"GET", "%zz", "", 400, "percent sign"},
    };
    for (const auto& call : calls) {
        const Reply reply = Admin(call.method, call.resource, call.body);
        EXPECT_EQ(call.status, reply.status) << call.resource;
        EXPECT_THAT(reply.json["error"].asString(), HasSubstr(call.text)) << reply.body;
    }
}

TEST_F(AdminTest, ClientsOfOtherMachinesAreRefused)
{
    ZavSim::ListenerSet none;
    ZavSim::ArraySystem array(
        {}, {}, {}, [] { return ZavSim::SteadyTime(); }, nullptr);
    ZavSim::ClusterSystem cluster({}, {}, {}, [] { return ZavSim::SteadyTime(); });
    ZavSim::Journal journal(1);
    ZavSim::FaultPlan faults(1);
    ZavSim::AdminService admin(array, cluster, journal, faults, none);
    ZavSim::HttpRequest request;
    request.method = "GET";
    request.target = "/zavsim/objects";
    request.peer = "10.0.0.1";
    EXPECT_EQ(403, admin.Handle(request).status);
    request.peer = "127.0.0.1";
    EXPECT_EQ(200, admin.Handle(request).status);
}

} // namespace
} // namespace ZavSimTest
