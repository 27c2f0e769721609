#include "tests/integration/stage.h"

#include "rest/nimb_rest_api.h"

#include <gmock/gmock.h>

#include <future>

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

constexpr int LOGGED_IN = 1;
constexpr int NOT_LOGGED_IN = 0;
constexpr int TRANSPORT_ERROR = 200000;
const std::string SESSIONS = "/api/v2/aa/sessions";
const std::string VERSION = "/lumeda/service/v1/version";

class NimbRestApiClusterTest : public Stage {
protected:
    int Login(NimbRestApi& api, const Cluster& cluster, const std::string& password = PASSWORD)
    {
        EXPECT_TRUE(api.Init());
        return api.Login(cluster.Address(), Cluster::PORT, "admin", password, errorText);
    }

    std::string version = "unchanged";
    std::string errorText;
};

TEST_F(NimbRestApiClusterTest, QueriesTellWhatTheClusterIsAndTheEndLogsOut)
{
    ClusterOptions options;
    options.further = {"--cluster-version",       "8.1.5",   "--cluster-sn",        "SN7",
                       "--cluster-product-model", "Model 7", "--cluster-active-ip", "10.0.0.9"};
    const Cluster& cluster = StartCluster(options);
    {
        NimbRestApi api;
        ASSERT_EQ(LOGGED_IN, Login(api, cluster)) << errorText;
        std::string serial;
        std::string productModel;
        std::vector<std::string> ips;
        EXPECT_EQ(0, api.GetStorageVersion(version, errorText));
        EXPECT_EQ(0, api.GetSerialNum(serial, errorText));
        EXPECT_EQ(0, api.GetProductMode(productModel, errorText));
        EXPECT_EQ(0, api.GetManagementIP(ips, errorText));
        EXPECT_EQ("8.1.5", version);
        EXPECT_EQ("SN7", serial);
        EXPECT_EQ("Model 7", productModel);
        EXPECT_THAT(ips, ElementsAre(cluster.Address(0), cluster.Address(1), "10.0.0.9"));
        EXPECT_EQ("", errorText);
        EXPECT_EQ(1U, cluster.SessionCount());
    }
    EXPECT_EQ(0U, cluster.SessionCount());
    EXPECT_THAT(cluster.Requests(),
                ElementsAre("POST " + SESSIONS, "GET " + VERSION, "GET /lumeda/service/v1/cluster/sn",
                            "GET /lumeda/service/v1/productModel", "GET /lumeda/service/cluster/managerip/query",
                            "DELETE " + SESSIONS));
    EXPECT_THAT(LogText(), AllOf(HasSubstr("logout ok "), Not(HasSubstr(PASSWORD))));
}

TEST_F(NimbRestApiClusterTest, AnswersTravelCompressedAndAreReadWhole)
{
    const std::string longVersion(5000, 'v');
    ClusterOptions options;
    options.further = {"--cluster-version", longVersion};
    const Cluster& cluster = StartCluster(options);
    NimbRestApi api;
    ASSERT_EQ(LOGGED_IN, Login(api, cluster)) << errorText;
    EXPECT_EQ(0, api.GetStorageVersion(version, errorText));
    EXPECT_EQ(longVersion, version);
    std::vector<std::string> encodings;
    for (const JournalEntry& entry : cluster.Journal()) {
        encodings.push_back(entry.encoding);
    }
    EXPECT_THAT(encodings, ElementsAre("gzip", "gzip"));
}

TEST_F(NimbRestApiClusterTest, LoginWithAWrongPasswordFailsAtOnce)
{
    const Cluster& cluster = StartCluster();
    NimbRestApi api;
    EXPECT_EQ(NOT_LOGGED_IN, Login(api, cluster, "not it"));
    EXPECT_THAT(errorText, HasSubstr("The user name or the password is wrong"));
    EXPECT_THAT(cluster.Requests(), ElementsAre("POST " + SESSIONS)) << "an answer is an answer: no second attempt";
    EXPECT_THAT(LogText(),
                AllOf(HasSubstr("Login failed, errCode: 1107296257, errDes: The user name"), Not(HasSubstr("not it"))));
}

TEST_F(NimbRestApiClusterTest, LoginThatIsRefusedAsBusyTellsTheCode)
{
    const Cluster& cluster = StartCluster();
    cluster.AddFault(R"({"kind": "code", "code": 1077949006, "description": "busy", "method": "POST"})");
    NimbRestApi api;
    EXPECT_EQ(NOT_LOGGED_IN, Login(api, cluster));
    EXPECT_EQ("busy", errorText);
    EXPECT_THAT(LogText(), HasSubstr("Login failed, errCode: 1077949006, errDes: busy"));
}

TEST_F(NimbRestApiClusterTest, QueryThatIsRefusedInEitherFormOfV1TellsSoInItsTextAlone)
{
    const Cluster& cluster = StartCluster();
    NimbRestApi api;
    ASSERT_EQ(LOGGED_IN, Login(api, cluster)) << errorText;
    for (const std::string result : {"1", "2"}) {
        cluster.AddFault(R"({"kind": "code", "code": 5, "description": "form )" + result + R"(", "result": )" + result +
                         "}");
        EXPECT_EQ(0, api.GetStorageVersion(version, errorText));
        EXPECT_EQ("form " + result, errorText);
        EXPECT_EQ("unchanged", version);
        EXPECT_THAT(LogText(), HasSubstr("code : 5, Describe : form " + result));
    }
    EXPECT_EQ(0, api.GetStorageVersion(version, errorText));
    EXPECT_EQ("1.0.0", version);
    EXPECT_EQ("", errorText) << "success clears it";
}

TEST_F(NimbRestApiClusterTest, AddressesThatTheClusterDoesNotTellAreNoneOrAnError)
{
    const Cluster& cluster = StartCluster();
    NimbRestApi api;
    ASSERT_EQ(LOGGED_IN, Login(api, cluster)) << errorText;
    std::vector<std::string> ips;
    cluster.AddFault(R"({"kind": "answer", "answer": {"result": 0, "manageIpInfo": {"externalIpInfo": {}}}})");
    EXPECT_EQ(0, api.GetManagementIP(ips, errorText));
    cluster.AddFault(R"({"kind": "answer", "answer": {"result": 0}})");
    EXPECT_EQ(0, api.GetManagementIP(ips, errorText));
    cluster.AddFault(R"({"kind": "answer", "answer": {"result": 0, "manageIpInfo": {}}})");
    EXPECT_EQ(-1, api.GetManagementIP(ips, errorText));
    EXPECT_THAT(ips, IsEmpty());
}

TEST_F(NimbRestApiClusterTest, SessionThatLapsedIsRefusedUntilTheNextLogin)
{
    const Cluster& cluster = StartCluster();
    NimbRestApi api;
    ASSERT_EQ(LOGGED_IN, Login(api, cluster)) << errorText;
    cluster.EndSessions();
    EXPECT_EQ(0, api.GetStorageVersion(version, errorText));
    EXPECT_THAT(errorText, HasSubstr("There is no such session, or it has lapsed"));
    EXPECT_EQ("unchanged", version);
    ASSERT_EQ(LOGGED_IN, Login(api, cluster)) << errorText;
    EXPECT_EQ(0, api.GetStorageVersion(version, errorText));
    EXPECT_EQ("1.0.0", version);
}

TEST_F(NimbRestApiClusterTest, ClusterOfAForeignAuthorityGetsNoRequest)
{
    const Cluster& cluster = StartCluster();
    ClusterOptions options;
    options.caFolder = Directory() + "/foreign";
    const Cluster& foreign = StartCluster(options);
    NimbRestApi api;
    ASSERT_EQ(LOGGED_IN, Login(api, cluster)) << errorText;
    TMSHttpRequest request;
    request.method = "GET";
    request.url = foreign.Url() + VERSION;
    Json::Value data;
    int errorCode = 0;
    EXPECT_EQ(TRANSPORT_ERROR, api.SendAndParseRsp(request, data, errorText, errorCode)) << "one attempt, no pauses";
    EXPECT_THAT(errorText, HasSubstr("certificate"));
    EXPECT_THAT(foreign.Requests(), IsEmpty());
}

// One of the two tests that last as long as the pauses between attempts do.
TEST_F(NimbRestApiClusterTest, QueryIsTriedAgainAndSucceedsWhenTheClusterIsBack)
{
    const Cluster& cluster = StartCluster();
    NimbRestApi api;
    ASSERT_EQ(LOGGED_IN, Login(api, cluster)) << errorText;
    cluster.SetListening(0, false);
    cluster.ClearJournal();
    std::future<void> operatorsWork = std::async(std::launch::async, [this, &cluster] {
        WaitUntil("a failed attempt", [this] { return LogText().find("occur network error") != std::string::npos; });
        cluster.SetListening(0, true);
    });
    EXPECT_EQ(0, api.GetStorageVersion(version, errorText));
    operatorsWork.get();
    EXPECT_EQ("1.0.0", version);
    EXPECT_EQ("", errorText);
    EXPECT_THAT(cluster.Requests(), ElementsAre("GET " + VERSION));
    EXPECT_THAT(LogText(), HasSubstr("send failed. Retry 1 time. url=" + cluster.Url() + VERSION));
}

} // namespace
