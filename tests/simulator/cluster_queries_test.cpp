#include "tests/simulator/support/running_cluster.h"

#include <gmock/gmock.h>

namespace ZavSimTest {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char* MANAGEMENT_IPS = "/lumeda/service/cluster/managerip/query";

class ClusterQueriesTest : public ClusterTest {};

TEST_F(ClusterQueriesTest, EachIsAnsweredBesideTheResult)
{
    options.cluster.shape.version = "8.2";
    options.cluster.shape.serial = "SN7";
    options.cluster.shape.productModel = "Model \"7\"";
    options.cluster.shape.ips = {"10.0.0.1", "10.0.0.2", "10.0.0.3"};
    Start();
    const auto client = Client();
    EXPECT_EQ(R"({"result":0,"version":"8.2"})", client->Get("/lumeda/service/v1/version").body);
    EXPECT_EQ(R"({"result":0,"sn":"SN7"})", client->Get("/lumeda/service/v1/cluster/sn").body);
    EXPECT_EQ(R"({"productModel":"Model \"7\"","result":0})", client->Get("/lumeda/service/v1/productModel").body);
    EXPECT_EQ(R"({"manageIpInfo":{"externalIpInfo":{"activeIp":"10.0.0.3","floatIp":"10.0.0.1",)"
              R"("standbyIp":"10.0.0.2"}},"result":0})",
              client->Get(MANAGEMENT_IPS).body);
}

TEST_F(ClusterQueriesTest, QueryStringIsNoPartOfTheResource)
{
    Start();
    EXPECT_EQ(0, Client()->Get("/lumeda/service/v1/version?language=en").json["result"].asInt());
}

TEST_F(ClusterQueriesTest, AddressesThatAreEmptyAreNotTold)
{
    options.cluster.shape.ips.active = "10.0.0.3";
    Start();
    EXPECT_EQ(R"({"manageIpInfo":{"externalIpInfo":{"activeIp":"10.0.0.3"}},"result":0})",
              Client()->Get(MANAGEMENT_IPS).body);
    options.cluster.shape.ips.active.clear();
    Start();
    EXPECT_EQ(R"({"manageIpInfo":{"externalIpInfo":{}},"result":0})", Client()->Get(MANAGEMENT_IPS).body);
}

TEST_F(ClusterQueriesTest, AddressThatIsAskedDecidesWhichAddressesAreTold)
{
    options.cluster.listen.push_back({false, "::1", 0});
    options.cluster.shape.ips.floating = "10.0.0.1";
    options.cluster.shape.ipsByAddress["::1"].floating = "fd00::1";
    Start();
    const auto client = Client();
    const auto floatIp = [](const Reply& reply) {
        return reply.json["manageIpInfo"]["externalIpInfo"]["floatIp"].asString();
    };
    EXPECT_EQ("10.0.0.1", floatIp(client->Get(MANAGEMENT_IPS)));
    ClusterClient other(ClusterUrl(1));
    other.token = client->token;
    EXPECT_EQ("fd00::1", floatIp(other.Get(MANAGEMENT_IPS))) << "one cluster: its sessions hold on every address";
}

TEST_F(ClusterQueriesTest, UnknownResourceAndMethodAreRefusedInTheirDialect)
{
    Start();
    const auto client = Client();
    EXPECT_EQ(R"({"detail":[{"description":"The cluster has no such resource or method: GET /lumeda/x",)"
              R"("errorCode":1107296259}],"result":1})",
              client->Get("/lumeda/x?y").body);
    EXPECT_THAT(client->Send("POST", ClusterClient::VERSION, "{}").body, HasSubstr("method: POST /lumeda/service/v1"));
    EXPECT_EQ(R"({"result":{"code":1107296259,"description":)"
              R"("The cluster has no such resource or method: GET /api/v2/aa/sessions"}})",
              client->Get(ClusterClient::SESSIONS).body);
    EXPECT_EQ(404, client->Get("/api/v1/aa").status);
}

TEST_F(ClusterQueriesTest, ArrayAndClusterAnswerOnTheirOwnAddressesOnly)
{
    Start();
    EXPECT_EQ(404, ClusterClient(Url()).Login().status);
    EXPECT_EQ(404, ArrayClient(ClusterUrl()).Login().status);
    EXPECT_EQ(200, ClusterClient(ClusterUrl()).Raw("GET", "/zavsim/listeners").status);
}

TEST_F(ClusterQueriesTest, AnswerIsGzipWhenAskedAndTheJournalTells)
{
    Start();
    const auto client = Client();
    const HttpReply compressed =
        client->Http().Send("GET", MANAGEMENT_IPS, {{"Accept-Encoding", "gzip"}, {"X-Auth-Token", client->token}});
    EXPECT_EQ("gzip", compressed.Header("Content-Encoding"));
    EXPECT_THAT(compressed.body, StartsWith("\x1f\x8b")) << "gzip's first bytes";
    const Json::Value entries = Admin("GET", "journal").json["entries"];
    EXPECT_EQ("gzip", entries[entries.size() - 1]["encoding"].asString());
}

class ClusterFaultsTest : public ClusterTest {
protected:
    ClusterFaultsTest()
    {
        Start();
        client = Client();
    }

    std::string AnswerTo(const std::string& fault)
    {
        const Reply reply = Admin("POST", "faults", fault);
        EXPECT_EQ(200, reply.status) << reply.body;
        return client->Get(ClusterClient::VERSION).body;
    }

    std::unique_ptr<ClusterClient> client;
};

TEST_F(ClusterFaultsTest, CodeIsToldInTheFormThatTheFaultNames)
{
    EXPECT_EQ(R"({"detail":[{"description":"no","errorCode":5}],"result":1})",
              AnswerTo(R"({"kind":"code","code":5,"description":"no","result":1})"));
    EXPECT_EQ(R"({"description":"no","errorCode":"5","result":2})",
              AnswerTo(R"({"kind":"code","code":5,"description":"no","result":2})"));
    EXPECT_EQ(R"({"result":0,"version":"1.0.0"})", client->Get(ClusterClient::VERSION).body) << "one request each";
}

TEST_F(ClusterFaultsTest, CodeOfTheClustersOwnHasItsUsualFormAndAnyOtherAList)
{
    EXPECT_EQ(R"({"description":"busy","errorCode":"1077949006","result":2})",
              AnswerTo(R"({"kind":"code","code":1077949006,"description":"busy"})"));
    EXPECT_EQ(R"({"description":"lapsed","errorCode":"-401","result":2})",
              AnswerTo(R"({"kind":"code","code":-401,"description":"lapsed"})"));
    EXPECT_EQ(R"({"detail":[{"description":"x","errorCode":1107296260}],"result":1})",
              AnswerTo(R"({"kind":"code","code":1107296260,"description":"x"})"));
    EXPECT_EQ(R"({"detail":[{"description":"x","errorCode":0}],"result":1})",
              AnswerTo(R"({"kind":"code","code":0,"description":"x"})"));
}

TEST_F(ClusterFaultsTest, CodeOfASessionRequestIsToldInV2AndNobodyIsLoggedInOrOut)
{
    Admin("POST", "faults", R"({"kind":"code","code":1077949006,"description":"busy","count":2,"result":2})");
    const char* const busy = R"({"result":{"code":1077949006,"description":"busy"}})";
    EXPECT_EQ(busy, ClusterClient(ClusterUrl()).Login().body);
    EXPECT_EQ(busy, client->Logout().body);
    EXPECT_EQ(1U, Sessions().size());
    const Json::Value entries = Admin("GET", "journal").json["entries"];
    EXPECT_EQ("code", entries[entries.size() - 1]["fault"].asString());
    EXPECT_EQ(1077949006, entries[entries.size() - 1]["code"].asInt64());
}

TEST_F(ClusterFaultsTest, AnswerIsSentAsItIs)
{
    EXPECT_EQ(R"({"detail":[],"result":1})", AnswerTo(R"({"kind":"answer","answer":{"result":1,"detail":[]}})"));
}

} // namespace
} // namespace ZavSimTest
