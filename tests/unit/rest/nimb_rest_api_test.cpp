#include "tests/unit/rest/nimb_rest_test.h"
#include "tests/unit/virtual_slot.h"

#include "common/framework/log_proxy.h"

#include <boost/thread/exceptions.hpp>

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

namespace {

const char* const CONTENT_TYPE = "application/json";

// ---- Init

class NimbRestApiInitTest : public FakesTest {
protected:
    NimbRestApi m_api;
};

TEST_F(NimbRestApiInitTest, InitWithoutAClientFails)
{
    m_http.RefuseClients();
    EXPECT_FALSE(m_api.Init());
    EXPECT_THAT(m_log.Told(), ElementsAre(IsLineOf("Init", 4, "m_httpClient is null.")));
}

TEST_F(NimbRestApiInitTest, InitThatFailsLaterGivesUpTheEarlierClient)
{
    ASSERT_TRUE(m_api.Init());
    m_http.RefuseClients();
    EXPECT_FALSE(m_api.Init());
    m_log.Clear();
    std::string errorText = "untouched";
    std::string version = "before";
    EXPECT_EQ(-1, m_api.GetStorageVersion(version, errorText));
    EXPECT_THAT(m_http.Requests(), IsEmpty());
    EXPECT_EQ("untouched", errorText);
    EXPECT_EQ("before", version);
    EXPECT_THAT(m_log.Told(), Contains(IsLineOf("SendAndParseRsp", 4, "m_httpClient is null.")).Times(4));
}

TEST_F(NimbRestApiInitTest, ARequestWithoutAnyInitFails)
{
    std::string errorText;
    EXPECT_EQ(0, m_api.Login("10.0.0.9", "28443", "admin", "secret", errorText));
    EXPECT_THAT(m_log.Told(), Contains(IsLineOf("Login", 4, "Login failed, errCode: 0, errDes: ")));
}

class NimbRestApiInitAgainTest : public NimbRestTest {};

TEST_F(NimbRestApiInitAgainTest, InitMakesANewClientEachTime)
{
    EXPECT_TRUE(m_api->Init());
    EXPECT_EQ(2, m_http.ClientsMade());
    EXPECT_THAT(m_log.Lines(), ElementsAre(Line("Init", 1, "Enter Init"), Line("Init", 1, "End Init")));
}

// ---- Login

class NimbRestApiLoginTest : public NimbRestTest {
protected:
    /// The token that requests bear now.
    std::string Token()
    {
        TMSHttpRequest request;
        m_api->BuildReqHeaders(request);
        for (const auto& [name, value] : request.headers) {
            if (name == "X-Auth-Token") {
                return value;
            }
        }
        return "no header";
    }
};

TEST_F(NimbRestApiLoginTest, LoginSendsTheCredentialsCompactly)
{
    m_http.Next(LoginAnswer());
    EXPECT_EQ(1, m_api->Login("10.0.0.9", "28443", "admin", "se\"cret", m_errorText));

    ASSERT_THAT(m_http.Lines(), ElementsAre("POST https://10.0.0.9:28443/api/v2/aa/sessions"));
    const TMSHttpRequest request = m_http.Requests().front();
    EXPECT_EQ(R"({"password":"se\"cret","user_name":"admin"})", request.body);
    EXPECT_THAT(request.headers, ElementsAre(Pair("Accept", CONTENT_TYPE), Pair("Accept-Encoding", "gzip"),
                                             Pair("Accept-Language", "en"), Pair("Cache-Control", "no-cache"),
                                             Pair("Connection", "keep-alive"), Pair("Content-Type", CONTENT_TYPE),
                                             Pair("X-Auth-Token", "")));
    EXPECT_EQ("", request.optionText);
    EXPECT_THAT(m_http.Timeouts(), ElementsAre(10U));
    EXPECT_EQ("TOK1", Token());
    EXPECT_EQ("granted", m_errorText);
    EXPECT_THAT(m_log.Lines(),
                ElementsAre(Line("Login", 1, "Start login."), Line("SendRequest", 1, "Enter SendRequest"),
                            Line("SendRequest", 1, "try send request, times is  0"),
                            Line("SendRequest", 2, "Send request ok."), Line("SendRequest", 1, "End SendRequest"),
                            Line("Login", 2, "Login ok.")));
}

TEST_F(NimbRestApiLoginTest, LoginLogsUnderTheRequestOfItsThread)
{
    TSP_RequestID.set(4711);
    m_http.Next(LoginAnswer());
    EXPECT_EQ(1, Login());
    TSP_RequestID.set(0);
    EXPECT_THAT(m_log.Lines(), Each(Field(&LogLine::requestId, 4711UL)));
}

TEST_F(NimbRestApiLoginTest, LoginAgainReplacesAddressAndTokenAndBearsTheOldToken)
{
    LogIn();
    m_http.Next(Granted(R"({"x_auth_token": "TOK2"})"));
    EXPECT_EQ(1, m_api->Login("10.0.0.10", "443", "root", "other", m_errorText));
    ASSERT_THAT(m_http.Lines(), ElementsAre("POST https://10.0.0.10:443/api/v2/aa/sessions"));
    EXPECT_THAT(m_http.Requests().front().headers, Contains(Pair("X-Auth-Token", "TOK1")));
    EXPECT_EQ(R"({"password":"other","user_name":"root"})", m_http.Requests().front().body);
    EXPECT_EQ("TOK2", Token());
}

TEST_F(NimbRestApiLoginTest, LoginRefusedByTheStorageFailsAndKeepsTheToken)
{
    LogIn();
    m_http.Next(Refused(1090519047, "wrong password"));
    EXPECT_EQ(0, Login());
    EXPECT_EQ("wrong password", m_errorText);
    EXPECT_EQ("TOK1", Token());
    std::vector<LineMatcher> lines = {Line("Login", 1, "Start login.")};
    const auto sent = Sent({Line("ParseBodyV2", 4, "code : 1090519047, Describe : wrong password")});
    lines.insert(lines.end(), sent.begin(), sent.end());
    lines.push_back(Line("Login", 4, "Login failed, errCode: 1090519047, errDes: wrong password"));
    EXPECT_THAT(m_log.Told(), ElementsAreArray(lines));
}

TEST_F(NimbRestApiLoginTest, LoginThatGetsNoAnswerFailsAfterFourAttempts)
{
    m_http.Always("POST", SESSIONS, NetworkError("no route"));
    EXPECT_EQ(0, Login());
    EXPECT_EQ("no route", m_errorText);
    EXPECT_THAT(m_http.Requests(), SizeIs(4));
    EXPECT_THAT(m_log.Told(), Contains(Line("Login", 4, "Login failed, errCode: 0, errDes: no route")));
}

TEST_F(NimbRestApiLoginTest, LoginThatFailsHasReplacedAddressAndCredentials)
{
    LogIn();
    m_http.Next(Refused(5, "no"));
    EXPECT_EQ(0, m_api->Login("10.0.0.10", "443", "root", "other", m_errorText));
    TMSHttpRequest request;
    request.url = "/x";
    m_api->BuildReqHeaders(request);
    EXPECT_EQ("https://10.0.0.10:443/x", request.url);
}

struct TokenAnswer {
    const char* name;
    const char* body;
    int result;
    const char* token; ///< afterwards, in place of TOK1
    const char* errorText;
};

void PrintTo(const TokenAnswer& row, std::ostream* out)
{
    *out << row.body;
}

class NimbRestApiTokenTest : public NimbRestApiLoginTest, public ::testing::WithParamInterface<TokenAnswer> {};

TEST_P(NimbRestApiTokenTest, LoginTakesWhateverTokenASuccessTells)
{
    LogIn();
    m_http.Next(Body(GetParam().body));
    EXPECT_EQ(GetParam().result, Login());
    EXPECT_EQ(GetParam().token, Token());
    EXPECT_EQ(GetParam().errorText, m_errorText);
    if (GetParam().result == 1) {
        EXPECT_EQ("Login ok.", m_log.Lines().back().text);
    } else {
        EXPECT_THAT(m_log.Lines().back(),
                    Line("Login", 4, "Login failed, errCode: 0, errDes: " + std::string(GetParam().errorText)));
    }
}

const char* const MALFORMED = "Json object format is error. ";

INSTANTIATE_TEST_SUITE_P(
    Rows, NimbRestApiTokenTest,
    ::testing::Values(
        TokenAnswer{"Text", R"({"data": {"x_auth_token": "T"}, "result": {"code": 0, "description": "d"}})", 1, "T",
                    "d"},
        TokenAnswer{"Number", R"({"data": {"x_auth_token": 5}, "result": {"code": 0, "description": "d"}})", 1, "5",
                    "d"},
        TokenAnswer{"Empty", R"({"data": {"x_auth_token": ""}, "result": {"code": 0, "description": "d"}})", 1, "",
                    "d"},
        TokenAnswer{"NoToken", R"({"data": {}, "result": {"code": 0, "description": "d"}})", 1, "", "d"},
        TokenAnswer{"NoData", R"({"result": {"code": 0, "description": "d"}})", 1, "", "d"},
        TokenAnswer{"NoJson", "<html>", 1, "", "Parse json string failed"},
        TokenAnswer{"OtherDialect", R"({"result": 0, "x_auth_token": "T"})", 1, "", MALFORMED},
        TokenAnswer{"TokenIsAnObject", R"({"data": {"x_auth_token": {}}, "result": {"code": 0, "description": "d"}})",
                    0, "TOK1", MALFORMED},
        TokenAnswer{"DataIsAList", R"({"data": ["T"], "result": {"code": 0, "description": "d"}})", 0, "TOK1",
                    MALFORMED},
        TokenAnswer{"DataIsAText", R"({"data": "T", "result": {"code": 0, "description": "d"}})", 0, "TOK1",
                    MALFORMED}),
    [](const auto& row) { return row.param.name; });

// ---- Logout

class NimbRestApiLogoutTest : public NimbRestApiLoginTest {};

TEST_F(NimbRestApiLogoutTest, LogoutDeletesTheSessionWithANullBodyAndKeepsTheToken)
{
    LogIn();
    m_http.Next(Granted());
    m_api->Logout();
    ASSERT_THAT(m_http.Lines(), ElementsAre("DELETE https://10.0.0.9:28443/api/v2/aa/sessions"));
    EXPECT_EQ("null", m_http.Requests().front().body);
    EXPECT_THAT(m_http.Requests().front().headers, Contains(Pair("X-Auth-Token", "TOK1")));
    EXPECT_THAT(m_http.Timeouts(), ElementsAre(10U));
    EXPECT_EQ("TOK1", Token());
    EXPECT_THAT(m_log.Lines(),
                ElementsAre(Line("Logout", 1, "Start logout."), Line("SendRequest", 1, "Enter SendRequest"),
                            Line("SendRequest", 1, "try send request, times is  0"),
                            Line("SendRequest", 2, "Send request ok."), Line("SendRequest", 1, "End SendRequest"),
                            Line("Logout", 2, "logout ok ")));
}

TEST_F(NimbRestApiLogoutTest, LogoutRefusedOrUnansweredIsOnlyLogged)
{
    LogIn();
    m_http.Next(Refused(5, "no"));
    m_api->Logout();
    EXPECT_THAT(m_log.Lines().back(), Line("Logout", 3, "logout nok "));

    m_http.Clear();
    m_http.Always("DELETE", SESSIONS, HttpError(503, "busy"));
    m_api->Logout();
    EXPECT_THAT(m_http.Requests(), SizeIs(4));
    EXPECT_THAT(m_log.Lines().back(), Line("Logout", 3, "logout nok "));
}

TEST_F(NimbRestApiLogoutTest, LogoutAnsweredWithoutJsonCountsAsOne)
{
    LogIn();
    m_http.Next(Body(""));
    m_api->Logout();
    EXPECT_THAT(m_log.Lines().back(), Line("Logout", 2, "logout ok "));
}

TEST_F(NimbRestApiLogoutTest, LogoutTwiceAsksTheStorageTwice)
{
    LogIn();
    m_http.Always("DELETE", SESSIONS, Granted());
    m_api->Logout();
    m_api->Logout();
    EXPECT_THAT(m_http.Requests(), SizeIs(2));
}

// ---- destruction

class NimbRestApiDestructionTest : public NimbRestTest {};

TEST_F(NimbRestApiDestructionTest, DestructionLogsOut)
{
    LogIn();
    m_http.Next(Granted());
    m_api.reset();
    ASSERT_THAT(m_http.Lines(), ElementsAre("DELETE " + Url(SESSIONS)));
    EXPECT_THAT(m_http.Requests().front().headers, Contains(Pair("X-Auth-Token", "TOK1")));
    EXPECT_THAT(m_log.Lines().back(), Line("Logout", 2, "logout ok "));
}

TEST_F(NimbRestApiDestructionTest, DestructionLogsOutAlsoWhenNeverLoggedIn)
{
    m_http.Next(Granted());
    m_api.reset();
    EXPECT_THAT(m_http.Lines(), ElementsAre("DELETE https://:/api/v2/aa/sessions"));
}

TEST_F(NimbRestApiDestructionTest, DestructionWithoutAClientOnlyLogs)
{
    {
        const NimbRestApi api;
    }
    EXPECT_THAT(m_http.Requests(), IsEmpty());
    EXPECT_THAT(m_clock.Sleeps(), IsEmpty());
    EXPECT_THAT(m_log.Lines(), ElementsAre(Line("~NimbRestApi", 3, "logout nok ")));
}

TEST_F(NimbRestApiDestructionTest, DestructionKeepsAnExceptionOfTheClientToItself)
{
    m_http.Observe([](const TMSHttpRequest&) { throw boost::thread_interrupted(); });
    m_api.reset();
    EXPECT_THAT(m_http.Requests(), SizeIs(4)); // each attempt
    EXPECT_THAT(m_log.Told(), Contains(Line("SendAndParseRsp", 4, "Return response is empty. ")));
    EXPECT_THAT(m_log.Told(),
                Contains(Line("SendAndParseRsp", 4, "The HTTP client failed: an exception without a text")));
    EXPECT_THAT(m_log.Told().back(), Line("Logout", 3, "logout nok "));
}

TEST_F(NimbRestApiDestructionTest, TheQueriesHaveTheSlotsBehindTheDestructor)
{
    EXPECT_EQ(2, SlotOf(&NimbRestApi::GetStorageVersion)); // behind the destructor's two
    EXPECT_EQ(3, SlotOf(&NimbRestApi::GetSerialNum));
    EXPECT_EQ(4, SlotOf(&NimbRestApi::GetProductMode));
    EXPECT_EQ(5, SlotOf(&NimbRestApi::GetManagementIP));
}

} // namespace
