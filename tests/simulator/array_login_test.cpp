#include "tests/simulator/support/running_simulation.h"

#include <gmock/gmock.h>

namespace ZavSimTest {
namespace {

using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ZavSim::Code;

class ArrayLoginTest : public SimulationTest {};

TEST_F(ArrayLoginTest, LoginGivesDeviceIdTokenAndCookie)
{
    Start();
    ArrayClient client(Url());
    const Reply reply = client.Login();
    EXPECT_EQ(200, reply.status);
    EXPECT_CODE(Code::Success, reply);
    EXPECT_EQ("0", reply.json["error"]["description"].asString());
    EXPECT_EQ("ZAVSIM0000000001", reply.Data()["deviceid"].asString());
    EXPECT_THAT(reply.Data()["iBaseToken"].asString(), MatchesRegex("[0-9a-f]{48}"));
    EXPECT_THAT(reply.Cookie(), MatchesRegex("session=[0-9a-f]{48}; Path=/deviceManager; HttpOnly"));
}

TEST_F(ArrayLoginTest, LoginOverTlsKeepsTheCookieThere)
{
    options.listen = {{true, "127.0.0.1", 0}};
    Start();
    EXPECT_THAT(ArrayClient(Url()).Login().Cookie(),
                MatchesRegex("session=[0-9a-f]{48}; Path=/deviceManager; Secure; HttpOnly"));
}

TEST_F(ArrayLoginTest, LoginWithAWrongPasswordOrUserIsRefusedAlike)
{
    Start();
    ArrayClient client(Url());
    EXPECT_CODE(Code::LoginRefused, client.Login("admin", "wrong"));
    EXPECT_CODE(Code::LoginRefused, client.Login("nobody", "zavsim-admin"));
    EXPECT_EQ("", client.Login("admin", "wrong").Cookie());
    EXPECT_EQ(0U, Admin("GET", "sessions").json.size());
}

TEST_F(ArrayLoginTest, LoginWithABrokenBodySaysWhatIsWrong)
{
    Start();
    ArrayClient client(Url());
    const auto login = [&](const std::string& body) {
        return client.Raw("POST", "/deviceManager/rest//sessions", body);
    };
    for (const char* const body :
         {"", "x", "[]", "{}", R"({"username":"admin","password":"zavsim-admin"})",
          R"({"username":"admin","password":"zavsim-admin","scope":"0"})",
          R"({"username":"admin","password":1,"scope":0})", R"({"password":"zavsim-admin","scope":0})"}) {
        EXPECT_CODE(Code::ParameterBad, login(body)) << body;
    }
    EXPECT_THAT(login(R"({"scope":1})").json["error"]["description"].asString(), HasSubstr("scope"));
}

TEST_F(ArrayLoginTest, RequestNeedsTokenAndCookieOfOneSession)
{
    Start();
    const auto first = Client();
    const auto second = Client();
    ArrayClient mixed(Url());
    mixed.device = first->device;
    EXPECT_CODE(-401, mixed.Get("lun/count"));
    mixed.token = first->token;
    EXPECT_CODE(-401, mixed.Get("lun/count"));
    mixed.cookie = second->cookie;
    const Reply refused = mixed.Get("lun/count");
    EXPECT_CODE(-401, refused);
    EXPECT_EQ(200, refused.status);
    EXPECT_FALSE(refused.HasData());
    mixed.cookie = "other=1; " + first->cookie;
    EXPECT_CODE(Code::Success, mixed.Get("lun/count"));
}

TEST_F(ArrayLoginTest, SessionLapsesWhenItLiesIdle)
{
    options.sessions.idle = std::chrono::seconds(300);
    Start();
    const auto client = Client();
    seconds += 300;
    EXPECT_CODE(Code::Success, client->Get("lun/count"));
    seconds += 301;
    EXPECT_CODE(Code::SessionLapsed, client->Get("lun/count"));
    EXPECT_CODE(Code::Success, client->Login());
    EXPECT_CODE(Code::Success, client->Get("lun/count"));
}

TEST_F(ArrayLoginTest, LogoutEndsTheSessionAndFreesItsPlace)
{
    options.sessions.sessions = 1;
    Start();
    const auto client = Client();
    EXPECT_CODE(Code::SessionLimitReached, ArrayClient(Url()).Login());
    EXPECT_CODE(Code::Success, client->Delete("sessions"));
    EXPECT_CODE(Code::SessionLapsed, client->Delete("sessions"));
    EXPECT_CODE(Code::Success, ArrayClient(Url()).Login());
}

TEST_F(ArrayLoginTest, ForeignDeviceIdIsRefusedAfterTheSessionWasChecked)
{
    Start();
    const auto client = Client();
    client->device = "OTHER";
    EXPECT_CODE(Code::DeviceUnknown, client->Get("lun/count"));
    client->token.clear();
    EXPECT_CODE(Code::SessionLapsed, client->Get("lun/count"));
}

TEST_F(ArrayLoginTest, SuccessfulPutSetsTheSessionsCookieAgainAndOthersDoNot)
{
    Start();
    const auto client = Client();
    const std::string iqn = "iqn.2020-01.example.node:1";
    const std::string host = client->Make("host", "h");
    const Reply posted = client->Post("iscsi_initiator", R"({"ID":")" + iqn + R"(","TYPE":"222"})");
    EXPECT_EQ("", posted.Cookie());
    const Reply put =
        client->Put("iscsi_initiator/add_iscsi_to_host",
                    R"({"TYPE":"222","ID":")" + iqn + R"(","PARENTTYPE":"21","PARENTID":")" + host + "\"}");
    EXPECT_CODE(Code::Success, put);
    EXPECT_EQ(client->cookie, put.Cookie().substr(0, put.Cookie().find(';')));
    EXPECT_EQ("", client->Put("iscsi_initiator/add_iscsi_to_host", "{}").Cookie());
    EXPECT_EQ("", client->Get("lun/count").Cookie());
}

TEST_F(ArrayLoginTest, SeveralUsersHaveTheirOwnPasswords)
{
    options.accounts.Add("second", "other-password");
    Start();
    EXPECT_CODE(Code::Success, ArrayClient(Url()).Login("second", "other-password"));
    EXPECT_CODE(Code::LoginRefused, ArrayClient(Url()).Login("second", "zavsim-admin"));
    EXPECT_EQ("second", Admin("GET", "sessions").json[0]["user"].asString());
}

} // namespace
} // namespace ZavSimTest
