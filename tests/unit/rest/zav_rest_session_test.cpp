#include "tests/unit/rest/rest_test.h"

#include "common/framework/log_proxy.h"
#include "common/json_text.h"

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::Pair;

namespace {

const char* const LOGIN_LINE = "POST https://10.0.0.1:8088/deviceManager/rest//sessions";

class ZavRestApiLoginTest : public RestTest {
protected:
    int Login() { return m_api.Login(BASE_URL, "admin", "secret", m_errorText); }

    bool IsLoggedIn()
    {
        Zav::SessionInfo session;
        return m_api.GetSession(session);
    }
};

TEST_F(ZavRestApiLoginTest, LoginSendsTheCredentialsAsTabIndentedJson)
{
    m_http.Next(LoginAnswer());
    EXPECT_EQ(0, m_api.Login(BASE_URL, "admin", "se\"cret", m_errorText));

    ASSERT_THAT(m_http.Lines(), ElementsAre(LOGIN_LINE));
    const TMSHttpRequest request = m_http.Requests().front();
    EXPECT_EQ("{\n\t\"password\" : \"se\\\"cret\",\n\t\"scope\" : 0,\n\t\"username\" : \"admin\"\n}", request.body);
    EXPECT_EQ("option", request.optionText);
    EXPECT_THAT(request.headers, IsEmpty());
    EXPECT_EQ("", request.spare1 + request.spare2 + request.spare3 + request.spare4 + request.spare5);
    EXPECT_EQ(0, request.spareNumber);
    EXPECT_THAT(m_http.Timeouts(), ElementsAre(90U));
    EXPECT_EQ("untouched", m_errorText);
}

TEST_F(ZavRestApiLoginTest, LoginLogsItsEntryItsRequestAndItsExit)
{
    m_http.Next(LoginAnswer());
    ASSERT_EQ(0, Login());
    EXPECT_THAT(m_log.Lines(),
                ElementsAre(Line("Login", 1, "Enter Login"), CountLine(), Line("Login", 1, "End Login")));
}

TEST_F(ZavRestApiLoginTest, LoginLogsUnderTheRequestOfItsThread)
{
    TSP_RequestID.set(4711);
    m_http.Next(LoginAnswer());
    EXPECT_EQ(0, Login());
    TSP_RequestID.set(0);
    EXPECT_THAT(m_log.Lines(), Each(Field(&LogLine::requestId, 4711UL)));
}

TEST_F(ZavRestApiLoginTest, LoginKeepsAddressDeviceTokenAndTheFirstPieceOfTheSmallestCookie)
{
    m_http.Next(
        Data(R"({"deviceid": "DEV1", "iBaseToken": "TOK1"})").WithCookie("b=2; Path=/").WithCookie("a=1; Secure"));
    ASSERT_EQ(0, Login());

    Zav::SessionInfo session;
    ASSERT_TRUE(m_api.GetSession(session));
    EXPECT_EQ(BASE_URL, session.baseUrl);
    EXPECT_EQ("DEV1", session.deviceId);
    EXPECT_EQ("TOK1", session.token);
    EXPECT_EQ("a=1", session.cookie);
}

TEST_F(ZavRestApiLoginTest, LoginAgainReplacesTheWholeSession)
{
    LogIn();
    m_http.Next(Data(R"({"deviceid": "DEV2", "iBaseToken": "TOK2"})").WithCookie("session=c2"));
    ASSERT_EQ(0, m_api.Login("http://10.0.0.2:80", "root", "other", m_errorText));

    Zav::SessionInfo session;
    ASSERT_TRUE(m_api.GetSession(session));
    EXPECT_EQ("http://10.0.0.2:80", session.baseUrl);
    EXPECT_EQ("DEV2", session.deviceId);
    EXPECT_EQ("TOK2", session.token);
    EXPECT_EQ("session=c2", session.cookie);
}

TEST_F(ZavRestApiLoginTest, LoginRefusedByTheArrayPassesItsCodeOnAndStaysLoggedOut)
{
    m_http.Next(ArrayError(77, "wrong password").WithCookie("session=c1"));
    EXPECT_EQ(77, Login());
    EXPECT_EQ("wrong password", m_errorText);
    EXPECT_THAT(m_log.Told(), ElementsAre(CountLine(), Line("ParseRsp", 4, "code : 77, Describe : wrong password")));
    EXPECT_FALSE(IsLoggedIn());
}

TEST_F(ZavRestApiLoginTest, LoginWithoutACookieFails)
{
    m_http.Next(Data(R"({"deviceid": "DEV1", "iBaseToken": "TOK1"})"));
    EXPECT_EQ(-1, Login());
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_THAT(m_log.Told(), ElementsAre(CountLine(), Line("ParseCookie", 4, "Cookie is empty.")));
    EXPECT_FALSE(IsLoggedIn());
}

TEST_F(ZavRestApiLoginTest, LoginAnsweredWithoutDataFails)
{
    m_http.Next(NoData().WithCookie("session=c1"));
    EXPECT_EQ(-1, Login());
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_THAT(m_log.Told(),
                ElementsAre(CountLine(), Line("ParseLoginRespons", 4, "Login response data is missing.")));
    EXPECT_FALSE(IsLoggedIn());
}

TEST_F(ZavRestApiLoginTest, LoginThatFailsInTransportStaysLoggedOut)
{
    m_http.Next(NetworkError("connection refused"));
    EXPECT_EQ(-20000, Login());
    EXPECT_EQ("connection refused", m_errorText);
    EXPECT_FALSE(IsLoggedIn());
}

TEST_F(ZavRestApiLoginTest, LoginThatFailsLaterKeepsTheSessionButForTheNewCookie)
{
    LogIn();
    m_http.Next(Data(R"({"iBaseToken": "TOK2"})").WithCookie("session=c2"));
    EXPECT_EQ(-1, m_api.Login("https://elsewhere:1", "admin", "secret", m_errorText));

    Zav::SessionInfo session;
    ASSERT_TRUE(m_api.GetSession(session));
    EXPECT_EQ(BASE_URL, session.baseUrl);
    EXPECT_EQ("DEV1", session.deviceId);
    EXPECT_EQ("TOK1", session.token);
    EXPECT_EQ("session=c2", session.cookie);
}

class ZavRestApiLogoutTest : public RestTest {};

TEST_F(ZavRestApiLogoutTest, LogoutDeletesTheSession)
{
    LogIn();
    m_http.Next(NoData());
    EXPECT_EQ(0, m_api.Logout(m_errorText));
    EXPECT_EQ("untouched", m_errorText);

    ASSERT_THAT(m_http.Lines(), ElementsAre("DELETE " + Url("sessions")));
    const TMSHttpRequest request = m_http.Requests().front();
    EXPECT_THAT(request.headers, ElementsAre(Pair("Cookie", "session=c1"), Pair("iBaseToken", "TOK1")));
    EXPECT_EQ("option", request.optionText);
    EXPECT_EQ("", request.body);
    EXPECT_THAT(m_http.Timeouts(), ElementsAre(90U));
    EXPECT_THAT(m_log.Lines(),
                ElementsAre(Line("Logout", 1, "Enter Logout"), CountLine(), Line("Logout", 1, "End Logout")));
}

TEST_F(ZavRestApiLogoutTest, LogoutTwiceAsksTheArrayOnce)
{
    LogIn();
    m_http.Next(NoData());
    ASSERT_EQ(0, m_api.Logout(m_errorText));
    m_log.Clear();
    EXPECT_EQ(0, m_api.Logout(m_errorText));
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_EQ(1U, m_http.Requests().size());
    EXPECT_THAT(m_log.Lines(),
                ElementsAre(Line("Logout", 1, "Enter Logout"), Line("Logout", 3, "The device has Logouted before."),
                            Line("Logout", 1, "End Logout")));
}

TEST_F(ZavRestApiLogoutTest, LogoutBeforeAnyLoginSendsNothing)
{
    EXPECT_EQ(0, m_api.Logout(m_errorText));
    EXPECT_THAT(m_http.Requests(), IsEmpty());
}

TEST_F(ZavRestApiLogoutTest, LogoutRefusedByTheArrayStillEndsTheSessionHere)
{
    LogIn();
    m_http.Next(ArrayError(1077949061, "session gone"));
    EXPECT_EQ(1077949061, m_api.Logout(m_errorText));
    EXPECT_EQ("session gone", m_errorText);
    Zav::SessionInfo session;
    EXPECT_FALSE(m_api.GetSession(session));
    EXPECT_EQ(0, m_api.Logout(m_errorText));
    EXPECT_EQ(1U, m_http.Requests().size());
}

TEST_F(ZavRestApiLogoutTest, LogoutCountsBeforeTheRequestIsSent)
{
    LogIn();
    bool isLoggedIn = true;
    m_http.Observe([this, &isLoggedIn](const TMSHttpRequest&) {
        Zav::SessionInfo session;
        isLoggedIn = m_api.GetSession(session);
    });
    m_http.Next(NoData());
    EXPECT_EQ(0, m_api.Logout(m_errorText));
    EXPECT_FALSE(isLoggedIn);
}

TEST_F(ZavRestApiLogoutTest, LogoutTakesNoCookieAndKeepsTheTexts)
{
    LogIn();
    m_http.Next(NoData().WithCookie("session=c2"));
    ASSERT_EQ(0, m_api.Logout(m_errorText));
    TMSHttpRequest request;
    m_api.BuildBaseRequest(request, "lun");
    EXPECT_EQ(Url("lun"), request.url);
    EXPECT_THAT(request.headers, ElementsAre(Pair("Cookie", "session=c1"), Pair("iBaseToken", "TOK1")));
}

TEST_F(ZavRestApiLogoutTest, DestructionSendsNothing)
{
    {
        ZavRestApi api("");
        m_http.Next(LoginAnswer());
        ASSERT_EQ(0, api.Login(BASE_URL, "admin", "secret", m_errorText));
    }
    EXPECT_THAT(m_http.Lines(), ElementsAre(LOGIN_LINE));
}

class ZavRestApiGetSessionTest : public RestTest {
protected:
    Zav::SessionInfo m_session = {"url", "device", "token", "cookie"};
};

TEST_F(ZavRestApiGetSessionTest, GetSessionBeforeAnyLoginLeavesTheRecord)
{
    EXPECT_FALSE(m_api.GetSession(m_session));
    EXPECT_EQ("url", m_session.baseUrl);
    EXPECT_EQ("device", m_session.deviceId);
    EXPECT_EQ("token", m_session.token);
    EXPECT_EQ("cookie", m_session.cookie);
    EXPECT_THAT(m_log.Lines(),
                ElementsAre(Line("GetSession", 1, "Enter GetSession"), Line("GetSession", 1, "End GetSession")));
}

TEST_F(ZavRestApiGetSessionTest, GetSessionAfterTheLoginReplacesTheRecord)
{
    LogIn();
    EXPECT_TRUE(m_api.GetSession(m_session));
    EXPECT_EQ(BASE_URL, m_session.baseUrl);
    EXPECT_EQ("DEV1", m_session.deviceId);
    EXPECT_EQ("TOK1", m_session.token);
    EXPECT_EQ("session=c1", m_session.cookie);
}

TEST_F(ZavRestApiGetSessionTest, GetSessionAfterTheLogoutLeavesTheRecord)
{
    LogIn();
    m_http.Next(NoData());
    ASSERT_EQ(0, m_api.Logout(m_errorText));
    EXPECT_FALSE(m_api.GetSession(m_session));
    EXPECT_EQ("token", m_session.token);
}

struct LoginData {
    const char* name;
    const char* json;
    int result;
    const char* deviceId; ///< afterwards, in place of DEV1
    const char* token;    ///< afterwards, in place of TOK1
};

void PrintTo(const LoginData& row, std::ostream* out)
{
    *out << row.json;
}

class ZavRestApiLoginDataTest : public RestTest, public ::testing::WithParamInterface<LoginData> {};

TEST_P(ZavRestApiLoginDataTest, ParseLoginResponsTakesBothOrNeither)
{
    LogIn();
    Json::Value data;
    ASSERT_TRUE(JsonText::Parse(GetParam().json, data));
    EXPECT_EQ(GetParam().result, m_api.ParseLoginRespons(data));
    if (GetParam().result == 0) {
        EXPECT_THAT(m_log.Lines(), IsEmpty());
    } else {
        EXPECT_THAT(m_log.Lines(), ElementsAre(Line("ParseLoginRespons", 4, "Login response data is missing.")));
    }
    Zav::SessionInfo session;
    ASSERT_TRUE(m_api.GetSession(session));
    EXPECT_EQ(GetParam().deviceId, session.deviceId);
    EXPECT_EQ(GetParam().token, session.token);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ZavRestApiLoginDataTest,
    ::testing::Values(LoginData{"Texts", R"({"deviceid": "D", "iBaseToken": "T"})", 0, "D", "T"},
                      LoginData{"Numbers", R"({"deviceid": 1, "iBaseToken": 2})", 0, "1", "2"},
                      LoginData{"EmptyTexts", R"({"deviceid": "", "iBaseToken": ""})", 0, "", ""},
                      LoginData{"NoDevice", R"({"iBaseToken": "T"})", -1, "DEV1", "TOK1"},
                      LoginData{"NoToken", R"({"deviceid": "D"})", -1, "DEV1", "TOK1"},
                      LoginData{"TokenIsAnObject", R"({"deviceid": "D", "iBaseToken": {}})", -1, "DEV1", "TOK1"},
                      LoginData{"DeviceIsAList", R"({"deviceid": [], "iBaseToken": "T"})", -1, "DEV1", "TOK1"},
                      LoginData{"Null", "null", -1, "DEV1", "TOK1"}, LoginData{"List", "[]", -1, "DEV1", "TOK1"},
                      LoginData{"Text", "\"iBaseToken\"", -1, "DEV1", "TOK1"}),
    [](const auto& row) { return row.param.name; });

class ZavRestApiNoCookieTest : public RestTest {};

TEST_F(ZavRestApiNoCookieTest, ParseCookieOfNoneKeepsTheOldOne)
{
    LogIn();
    EXPECT_EQ(-1, m_api.ParseCookie({}));
    EXPECT_THAT(m_log.Lines(), ElementsAre(Line("ParseCookie", 4, "Cookie is empty.")));
    TMSHttpRequest request;
    m_api.BuildBaseRequest(request, "lun");
    EXPECT_THAT(request.headers, Contains(Pair("Cookie", "session=c1")));
}

struct Cookies {
    const char* name;
    std::set<std::string> cookies;
    const char* cookie;
};

void PrintTo(const Cookies& row, std::ostream* out)
{
    *out << row.name;
}

class ZavRestApiCookieTest : public RestTest, public ::testing::WithParamInterface<Cookies> {};

TEST_P(ZavRestApiCookieTest, ParseCookieTakesTheFirstPieceOfTheSmallest)
{
    LogIn();
    EXPECT_EQ(0, m_api.ParseCookie(GetParam().cookies));
    EXPECT_THAT(m_log.Lines(), IsEmpty());
    TMSHttpRequest request;
    m_api.BuildBaseRequest(request, "lun");
    EXPECT_THAT(request.headers, Contains(Pair("Cookie", GetParam().cookie)));
}

INSTANTIATE_TEST_SUITE_P(Rows, ZavRestApiCookieTest,
                         ::testing::Values(Cookies{"One", {"session=c2; Path=/"}, "session=c2"},
                                           Cookies{"WithoutAttributes", {"session=c2"}, "session=c2"},
                                           Cookies{"SmallestInByteOrder", {"b=2; Path=/", "a=1; Secure"}, "a=1"},
                                           Cookies{"CapitalsComeFirst", {"a=1", "B=2"}, "B=2"},
                                           Cookies{"BlanksAreKept", {" a=1 ; Secure"}, " a=1 "},
                                           Cookies{"EmptyText", {""}, ""}, Cookies{"EmptyPiece", {";a=1"}, ""}),
                         [](const auto& row) { return row.param.name; });

} // namespace
