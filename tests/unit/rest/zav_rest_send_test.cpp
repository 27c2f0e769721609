#include "tests/unit/rest/rest_test.h"

#include "common/json_text.h"

#include <boost/make_shared.hpp>
#include <boost/thread/exceptions.hpp>

#include <pthread.h>

#include <functional>
#include <stdexcept>
#include <thread>

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

namespace {

class ZavRestApiRequestTest : public RestTest {};

TEST_F(ZavRestApiRequestTest, BuildBaseRequestStampsUrlOptionAndSession)
{
    LogIn();
    TMSHttpRequest request;
    request.method = "PUT";
    request.body = "{}";
    request.optionText = "replaced";
    request.url = "replaced";
    m_api.BuildBaseRequest(request, "lun/count");

    EXPECT_EQ("https://10.0.0.1:8088/deviceManager/rest/DEV1/lun/count", request.url);
    EXPECT_EQ("option", request.optionText);
    EXPECT_THAT(request.headers, ElementsAre(Pair("Cookie", "session=c1"), Pair("iBaseToken", "TOK1")));
    EXPECT_EQ("PUT", request.method);
    EXPECT_EQ("{}", request.body);
    EXPECT_THAT(m_log.Lines(), IsEmpty());
}

TEST_F(ZavRestApiRequestTest, BuildBaseRequestBeforeAnyLoginHasEmptySegments)
{
    TMSHttpRequest request;
    m_api.BuildBaseRequest(request, "lun");
    EXPECT_EQ("/deviceManager/rest//lun", request.url);
    EXPECT_THAT(request.headers, ElementsAre(Pair("Cookie", ""), Pair("iBaseToken", "")));
}

TEST_F(ZavRestApiRequestTest, BuildBaseRequestTwiceKeepsOneOfEachHeader)
{
    LogIn();
    TMSHttpRequest request;
    m_api.BuildBaseRequest(request, "lun");
    m_api.BuildBaseRequest(request, "host");
    EXPECT_EQ(Url("host"), request.url);
    EXPECT_THAT(request.headers, ElementsAre(Pair("Cookie", "session=c1"), Pair("iBaseToken", "TOK1")));
}

TEST_F(ZavRestApiRequestTest, BuildBaseRequestTakesTheRequestsOwnUrlAsTheResource)
{
    LogIn();
    TMSHttpRequest request;
    request.url = "lun/count";
    m_api.BuildBaseRequest(request, request.url);
    EXPECT_EQ(Url("lun/count"), request.url);
}

TEST_F(ZavRestApiRequestTest, BuildBaseRequestKeepsAnotherValueOfTheSameHeaderBesideItsOwn)
{
    LogIn();
    TMSHttpRequest request;
    request.headers = {{"Cookie", "older"}, {"X", "y"}};
    m_api.BuildBaseRequest(request, "lun");
    EXPECT_THAT(request.headers, ElementsAre(Pair("Cookie", "older"), Pair("Cookie", "session=c1"), Pair("X", "y"),
                                             Pair("iBaseToken", "TOK1")));
}

TEST_F(ZavRestApiRequestTest, ToQueryStringJoinsThePairsInKeyOrderUnescaped)
{
    EXPECT_EQ("", m_api.ToQueryString({}));
    EXPECT_EQ("a=1", m_api.ToQueryString({{"a", "1"}}));
    EXPECT_EQ("a=1&b=2", m_api.ToQueryString({{"b", "2"}, {"a", "1"}}));
    EXPECT_EQ("=&a b=[0-1]&c=x=y&z", m_api.ToQueryString({{"a b", "[0-1]"}, {"", ""}, {"c", "x=y&z"}}));
    EXPECT_THAT(m_log.Lines(), IsEmpty());
}

class ZavRestApiSendTest : public RestTest {
protected:
    int Send(bool parseCookie = false)
    {
        TMSHttpRequest request;
        request.method = "GET";
        request.url = "https://somewhere/lun";
        return m_api.SendAndParseRsp(request, m_data, m_errorText, parseCookie);
    }

    std::string Cookie()
    {
        TMSHttpRequest request;
        m_api.BuildBaseRequest(request, "");
        return request.headers.begin()->second;
    }

    Json::Value m_data = "unchanged";
};

TEST_F(ZavRestApiSendTest, SendAndParseRspSendsTheRequestAsItIs)
{
    TMSHttpRequest request;
    request.method = "PUT";
    request.url = "https://somewhere/lun?range=[0-1]";
    request.optionText = "o";
    request.headers = {{"a", "b"}};
    request.body = "{}";
    m_http.Next(NoData());
    EXPECT_EQ(0, m_api.SendAndParseRsp(request, m_data, m_errorText, false));

    ASSERT_EQ(1U, m_http.Requests().size());
    const TMSHttpRequest sent = m_http.Requests().front();
    EXPECT_EQ("PUT", sent.method);
    EXPECT_EQ("https://somewhere/lun?range=[0-1]", sent.url);
    EXPECT_EQ("o", sent.optionText);
    EXPECT_THAT(sent.headers, ElementsAre(Pair("a", "b")));
    EXPECT_EQ("{}", sent.body);
    EXPECT_THAT(m_http.Timeouts(), ElementsAre(90U));
    EXPECT_THAT(m_log.Lines(), ElementsAre(CountLine()));
}

TEST_F(ZavRestApiSendTest, SendAndParseRspWithoutAnyResponseFailsAndKeepsTheErrorText)
{
    m_http.Next(NoResponse());
    EXPECT_EQ(-1, Send(true));
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_EQ(Json::Value("unchanged"), m_data);
    EXPECT_THAT(m_log.Lines(), ElementsAre(CountLine(), Line("SendAndParseRsp", 4, "Return response is empty. ")));
}

TEST_F(ZavRestApiSendTest, SendAndParseRspTellsTheTransportFailure)
{
    Answer answer = NetworkError("no route").WithCookie("session=c2");
    answer.statusText = "not looked at";
    m_http.Next(answer);
    EXPECT_EQ(-20000, Send(true));
    EXPECT_EQ("no route", m_errorText);
    EXPECT_EQ(Json::Value("unchanged"), m_data);
    EXPECT_EQ("", Cookie());
    EXPECT_THAT(m_log.Lines(),
                ElementsAre(CountLine(),
                            Line("SendAndParseRsp", 4, "Send http request occur network error. Error  is no route")));
}

TEST_F(ZavRestApiSendTest, SendAndParseRspTellsTheHttpFailureStatus)
{
    Answer answer = HttpError(503, "Service Unavailable").WithCookie("session=c2");
    answer.errorText = "not looked at";
    answer.body = R"({"data": 1, "error": {"code": 0, "description": "0"}})";
    m_http.Next(answer);
    EXPECT_EQ(-1, Send(true));
    EXPECT_EQ("Service Unavailable", m_errorText);
    EXPECT_EQ(Json::Value("unchanged"), m_data);
    EXPECT_EQ("", Cookie());
    EXPECT_THAT(m_log.Lines(), ElementsAre(CountLine(), Line("SendAndParseRsp", 4,
                                                             "Http response error. Error  is Service Unavailable")));
}

TEST_F(ZavRestApiSendTest, SendAndParseRspOfASuccessLooksAtNoNetworkError)
{
    Answer answer = Data("[1]");
    answer.networkError = 7;
    m_http.Next(answer);
    EXPECT_EQ(0, Send());
    EXPECT_EQ(1U, m_data.size());
}

TEST_F(ZavRestApiSendTest, SendAndParseRspTakesTheCookieOnlyWhenAsked)
{
    m_http.Next(NoData().WithCookie("session=c2"));
    EXPECT_EQ(0, Send(false));
    EXPECT_EQ("", Cookie());
    m_http.Next(NoData().WithCookie("session=c2"));
    EXPECT_EQ(0, Send(true));
    EXPECT_EQ("session=c2", Cookie());
}

TEST_F(ZavRestApiSendTest, SendAndParseRspAskedForACookieThatIsMissingFailsButHandsTheDataOver)
{
    m_http.Next(Data("[1]"));
    EXPECT_EQ(-1, Send(true));
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_EQ(1U, m_data.size());
    EXPECT_THAT(m_log.Lines(), ElementsAre(CountLine(), Line("ParseCookie", 4, "Cookie is empty.")));
}

TEST_F(ZavRestApiSendTest, SendAndParseRspTakesNoCookieFromARefusal)
{
    m_http.Next(ArrayError(-5, "refused").WithCookie("session=c2"));
    EXPECT_EQ(-5, Send(true));
    EXPECT_EQ("refused", m_errorText);
    EXPECT_EQ("", Cookie());
    EXPECT_THAT(m_log.Lines(), ElementsAre(CountLine(), Line("ParseRsp", 4, "code : -5, Describe : refused")));
}

// ---- a client that throws

struct ThrowingClient {
    const char* name;
    std::function<void()> raise;
    std::string cause;
};

void PrintTo(const ThrowingClient& row, std::ostream* out)
{
    *out << row.name;
}

const std::vector<ThrowingClient>& ThrowingClients()
{
    static const std::vector<ThrowingClient> clients = {
        {"StandardException", [] { throw std::runtime_error("no socket left"); }, "no socket left"},
        {"Number", [] { throw 42; }, "an exception without a text"},
        {"Interruption", [] { throw boost::thread_interrupted(); }, "an exception without a text"}};
    return clients;
}

// An answer that throws as soon as anything but its success is asked.
class ThrowingResponse : public QEN::IHttpResponse {
public:
    bool IsSuccess() const override { return true; }
    int GetHttpStatusCode() const override { return 200; }
    const std::string& GetHttpStatusText() const override { return m_text; }
    int IsNetworkError() const override { return 0; }
    const std::string& GetErrorText() const override { return m_text; }
    const std::string& GetBody() const override { throw std::runtime_error("body gone"); }
    const std::set<std::string>& GetCookies() const override { return m_cookies; }

private:
    const std::string m_text;
    const std::set<std::string> m_cookies{};
};

class RespondingClient : public QEN::IHttpClient {
public:
    boost::shared_ptr<QEN::IHttpResponse> SendRequest(const TMSHttpRequest& /*request*/,
                                                      unsigned int /*timeout*/) override
    {
        return boost::make_shared<ThrowingResponse>();
    }
    bool TestConnection(const std::string& /*url*/, int /*timeout*/) override { return false; }
};

class ZavRestApiThrowingClientTest : public LoggedInRestTest, public ::testing::WithParamInterface<ThrowingClient> {};

TEST_P(ZavRestApiThrowingClientTest, AnExceptionOfTheClientEndsInTheOperation)
{
    m_http.Observe([](const TMSHttpRequest&) { GetParam().raise(); });
    std::uint64_t count = 7;
    EXPECT_EQ(-1, m_api.GetLunCount(count, m_errorText));
    EXPECT_EQ(7U, count);
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_THAT(m_log.Told(), ElementsAre(CountLine(), Line("SendAndParseRsp", 4, "Return response is empty. "),
                                          Line("SendAndParseRsp", 4, "The HTTP client failed: " + GetParam().cause)));
}

INSTANTIATE_TEST_SUITE_P(Throws, ZavRestApiThrowingClientTest, ::testing::ValuesIn(ThrowingClients()),
                         [](const auto& row) { return row.param.name; });

TEST_F(ZavRestApiSendTest, AnExceptionOfTheResponseEndsInTheOperation)
{
    m_http.Serve(boost::make_shared<RespondingClient>());
    ZavRestApi api("");
    EXPECT_EQ(-1, api.Login(BASE_URL, "admin", "secret", m_errorText));
    EXPECT_THAT(m_log.Told().back(), Line("SendAndParseRsp", 4, "The HTTP client failed: body gone"));
}

TEST_F(ZavRestApiSendTest, AThreadThatIsCancelledInTheClientEnds)
{
    m_http.Observe([](const TMSHttpRequest&) { pthread_exit(nullptr); });
    bool isDone = false;
    std::thread thread([this, &isDone] {
        Send();
        isDone = true;
    });
    thread.join();
    EXPECT_FALSE(isDone);
}

TEST_F(ZavRestApiSendTest, SendAndParseRspWithoutAClientFails)
{
    m_http.RefuseClients();
    ZavRestApi api("");
    EXPECT_EQ(-1, api.Login(BASE_URL, "admin", "secret", m_errorText));
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_THAT(m_log.Told(), ElementsAre(Line("SendAndParseRsp", 4, "m_httpClient is null.")));
}

struct Envelope {
    const char* name;
    const char* body;
    int result;
    const char* data; ///< afterwards, as JSON
    const char* errorText;
    const char* line; ///< logged at level 4; null: none
};

void PrintTo(const Envelope& row, std::ostream* out)
{
    *out << row.body;
}

class ZavRestApiEnvelopeTest : public RestTest, public ::testing::WithParamInterface<Envelope> {};

TEST_P(ZavRestApiEnvelopeTest, ParseRspUnwrapsTheAnswer)
{
    Json::Value data = "unchanged";
    EXPECT_EQ(GetParam().result, m_api.ParseRsp(GetParam().body, data, m_errorText));
    EXPECT_EQ(GetParam().data, JsonText::Write(data, JsonText::Style::Compact));
    EXPECT_EQ(GetParam().errorText, m_errorText);
    if (GetParam().line == nullptr) {
        EXPECT_THAT(m_log.Lines(), IsEmpty());
    } else {
        EXPECT_THAT(m_log.Lines(), ElementsAre(Line("ParseRsp", 4, GetParam().line)));
    }
}

const char* const UNCHANGED = "\"unchanged\"";
const char* const NO_JSON = "Parse json string failed";
const char* const NO_JSON_LINE = "Parse json string failed.";
const char* const MALFORMED = "Json object format is error. ";
const char* const MALFORMED_LINE = "Json object error.";

Envelope NoJson(const char* name, const char* body)
{
    return {name, body, -1, UNCHANGED, NO_JSON, NO_JSON_LINE};
}

Envelope Malformed(const char* name, const char* body)
{
    return {name, body, -1, UNCHANGED, MALFORMED, MALFORMED_LINE};
}

INSTANTIATE_TEST_SUITE_P(
    Success, ZavRestApiEnvelopeTest,
    ::testing::Values(
        Envelope{"Object", R"({"data": {"ID": "1"}, "error": {"code": 0, "description": "0"}})", 0, R"({"ID":"1"})",
                 "untouched", nullptr},
        Envelope{"List", R"({"data": [1], "error": {"code": 0, "description": ""}})", 0, "[1]", "untouched", nullptr},
        Envelope{"NullData", R"({"data": null, "error": {"code": 0, "description": "0"}})", 0, "null", "untouched",
                 nullptr},
        Envelope{"NoData", R"({"error": {"code": 0, "description": "0"}})", 0, UNCHANGED, "untouched", nullptr},
        Envelope{"DescriptionIsANumber", R"({"data": [], "error": {"code": 0, "description": 0}})", 0, "[]",
                 "untouched", nullptr},
        Envelope{"DescriptionIsAnObject", R"({"data": [1], "error": {"code": 0, "description": {}}})", 0, "[1]",
                 "untouched", nullptr},
        Envelope{"WholeReal", R"({"data": [], "error": {"code": 0.0, "description": "0"}})", 0, "[]", "untouched",
                 nullptr}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Refusal, ZavRestApiEnvelopeTest,
    ::testing::Values(Envelope{"Positive", R"({"data": [1], "error": {"code": 1077949006, "description": "busy"}})",
                               1077949006, UNCHANGED, "busy", "code : 1077949006, Describe : busy"},
                      Envelope{"Negative", R"({"error": {"code": -401, "description": "unauthorized"}})", -401,
                               UNCHANGED, "unauthorized", "code : -401, Describe : unauthorized"},
                      Envelope{"EmptyDescription", R"({"error": {"code": 1, "description": ""}})", 1, UNCHANGED, "",
                               "code : 1, Describe : "},
                      Envelope{"NullDescription", R"({"error": {"code": 1, "description": null}})", 1, UNCHANGED, "",
                               "code : 1, Describe : "}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(NoJson, ZavRestApiEnvelopeTest,
                         ::testing::Values(NoJson("Empty", ""), NoJson("Html", "<html>busy</html>"),
                                           NoJson("Truncated", R"({"data": [)")),
                         [](const auto& row) { return row.param.name; });

TEST_F(ZavRestApiRequestTest, ParseRspOfAnAnswerNestedTooDeepFailsAsNoJson)
{
    Json::Value data;
    EXPECT_EQ(-1, m_api.ParseRsp(std::string(100000, '['), data, m_errorText));
    EXPECT_EQ(NO_JSON, m_errorText);
    EXPECT_THAT(m_log.Lines(), ElementsAre(Line("ParseRsp", 4, NO_JSON_LINE)));
}

INSTANTIATE_TEST_SUITE_P(
    Malformed, ZavRestApiEnvelopeTest,
    ::testing::Values(Malformed("NoError", R"({"data": [1]})"),
                      Malformed("NoCode", R"({"error": {"description": ""}})"),
                      Malformed("NoDescription", R"({"error": {"code": 0}})"),
                      Malformed("ErrorIsAText", R"({"error": "code description"})"),
                      Malformed("ErrorIsNull", R"({"error": null})"), Malformed("ErrorIsAList", R"({"error": []})"),
                      Malformed("CodeIsAText", R"({"data": [], "error": {"code": "0", "description": "0"}})"),
                      Malformed("CodeIsNull", R"({"data": [], "error": {"code": null, "description": "0"}})"),
                      Malformed("CodeIsTooLarge", R"({"error": {"code": 4294967296, "description": "0"}})"),
                      Malformed("CodeIsAFraction", R"({"error": {"code": 0.5, "description": "0"}})"),
                      Malformed("DescriptionIsAnObject", R"({"error": {"code": 1, "description": {}}})"),
                      Malformed("DescriptionIsAList", R"({"data": [1], "error": {"code": -1, "description": []}})"),
                      Malformed("RootIsAList", R"([{"error": {"code": 0, "description": "0"}}])"),
                      Malformed("RootIsAText", "\"error\""), Malformed("RootIsNull", "null")),
    [](const auto& row) { return row.param.name; });

} // namespace
