#include "tests/simulator/support/running_cluster.h"

#include <gmock/gmock.h>

namespace ZavSimTest {
namespace {

using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;

class ClusterSessionTest : public ClusterTest {
protected:
    ClusterSessionTest()
    {
        options.sessions.sessions = 2;
        Start();
    }
};

TEST_F(ClusterSessionTest, LoginGivesATokenThatQueriesAreAnsweredWith)
{
    ClusterClient client(ClusterUrl());
    const Reply login = client.Login();
    EXPECT_EQ(200, login.status);
    EXPECT_THAT(login.body, MatchesRegex(R"(\{"data":\{"x_auth_token":"[0-9a-f]{48}"\},)"
                                         R"("result":\{"code":0,"description":"Success"\}\})"));
    EXPECT_EQ(R"({"result":0,"version":"1.0.0"})", client.Get(ClusterClient::VERSION).body);
}

TEST_F(ClusterSessionTest, LoginWithWrongUserOrPasswordIsRefused)
{
    ClusterClient client(ClusterUrl());
    const char* const refusal =
        R"({"result":{"code":1107296257,"description":"The user name or the password is wrong: user \"admin\""}})";
    EXPECT_EQ(refusal, client.Login("admin", "wrong").body);
    EXPECT_THAT(client.Login("other").body, HasSubstr("1107296257"));
    EXPECT_EQ("", client.token);
    EXPECT_TRUE(Sessions().empty());
}

TEST_F(ClusterSessionTest, LoginWithAMalformedBodyIsRefusedAndNamesWhatIsMissing)
{
    ClusterClient client(ClusterUrl());
    const auto complaint = [&client](const std::string& body) {
        return client.Raw("POST", ClusterClient::SESSIONS, body).json["result"]["description"].asString();
    };
    for (const char* const body : {"", "null", "[]", "{", R"({"password":7,"user_name":"admin"})"}) {
        EXPECT_THAT(complaint(body), HasSubstr("password as a text")) << body;
    }
    EXPECT_THAT(complaint(R"({"password":"zavsim-admin"})"), HasSubstr("user_name as a text"));
}

TEST_F(ClusterSessionTest, LoginBeyondTheLimitIsRefusedUntilOneEnds)
{
    const auto first = Client();
    const auto second = Client();
    ClusterClient third(ClusterUrl());
    EXPECT_EQ(1107296258, third.Login().json["result"]["code"].asInt64());
    EXPECT_EQ(R"({"result":{"code":0,"description":"Success"}})", first->Logout().body);
    EXPECT_EQ(0, third.Login().json["result"]["code"].asInt64());
}

TEST_F(ClusterSessionTest, RequestWithoutOrWithAForeignTokenIsToldSoInItsDialect)
{
    ClusterClient client(ClusterUrl());
    EXPECT_EQ(R"({"description":"There is no such session, or it has lapsed: the request has no token",)"
              R"("errorCode":"-401","result":2})",
              client.Raw("GET", ClusterClient::VERSION).body);
    client.token = "0123";
    EXPECT_EQ(R"({"result":{"code":-401,"description":"There is no such session, or it has lapsed: )"
              R"(the token is of none that stands"}})",
              client.Logout().body);
}

TEST_F(ClusterSessionTest, SessionLapsesWhenItIsIdleForLongerThanTheLimit)
{
    options.sessions.idle = std::chrono::seconds(30);
    Start();
    const auto client = Client();
    seconds += 30;
    EXPECT_EQ(0, client->Get(ClusterClient::VERSION).json["result"].asInt());
    seconds += 31;
    EXPECT_EQ("-401", client->Get(ClusterClient::VERSION).json["errorCode"].asString());
    EXPECT_TRUE(Sessions().empty());
}

TEST_F(ClusterSessionTest, SessionsOfTheArrayAreOthers)
{
    ArrayClient array(Url());
    EXPECT_CODE(ZavSim::Code::Success, array.Login());
    ClusterClient client(ClusterUrl());
    client.token = array.token;
    EXPECT_EQ("-401", client.Get(ClusterClient::VERSION).json["errorCode"].asString());
}

TEST_F(ClusterSessionTest, AdminShowsAndEndsSessionsOfBothSystems)
{
    ArrayClient array(Url());
    array.Login();
    const auto client = Client();
    seconds += 5;
    EXPECT_EQ(R"([{"idleSeconds":5,"session":1,"system":"array","user":"admin"},)"
              R"({"idleSeconds":5,"session":1,"system":"cluster","user":"admin"}])"
              "\n",
              Admin("GET", "sessions").body);
    Admin("DELETE", "sessions");
    EXPECT_TRUE(Sessions().empty());
    EXPECT_EQ("-401", client->Get(ClusterClient::VERSION).json["errorCode"].asString());
}

TEST_F(ClusterSessionTest, JournalTellsSessionAndCodeAndMasksPasswordAndToken)
{
    const auto client = Client();
    client->Get(ClusterClient::VERSION);
    client->Get("/lumeda/service/v1/none");
    const Reply journal = Admin("GET", "journal");
    const Json::Value& entries = journal.json["entries"];
    ASSERT_EQ(3U, entries.size());
    EXPECT_EQ("admin", entries[0]["body"]["user_name"].asString());
    EXPECT_EQ("***", entries[0]["body"]["password"].asString());
    EXPECT_EQ(ClusterUrl(), entries[1]["listener"].asString());
    EXPECT_EQ(1, entries[1]["session"].asInt());
    EXPECT_EQ(0, entries[1]["code"].asInt());
    EXPECT_EQ(1107296259, entries[2]["code"].asInt64());
    EXPECT_THAT(journal.body, Not(HasSubstr("zavsim-admin")));
    EXPECT_THAT(journal.body, Not(HasSubstr(client->token)));
}

} // namespace
} // namespace ZavSimTest
