#include "tests/unit/rest/nimb_rest_test.h"

#include <stdexcept>

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

namespace {

const std::string RESOURCE = "/lumeda/service/v1/thing";

class NimbRestApiHeadersTest : public NimbRestTest {
protected:
    static auto FixedHeaders(const std::string& token)
    {
        return ElementsAre(Pair("Accept", "application/json"), Pair("Accept-Encoding", "gzip"),
                           Pair("Accept-Language", "en"), Pair("Cache-Control", "no-cache"),
                           Pair("Connection", "keep-alive"), Pair("Content-Type", "application/json"),
                           Pair("X-Auth-Token", token));
    }
};

TEST_F(NimbRestApiHeadersTest, BuildReqHeadersCompletesTheUrlAndAddsTheSevenHeaders)
{
    LogIn();
    TMSHttpRequest request;
    request.method = "GET";
    request.url = RESOURCE;
    request.body = "{}";
    m_api->BuildReqHeaders(request);
    EXPECT_EQ("https://10.0.0.9:28443/lumeda/service/v1/thing", request.url);
    EXPECT_THAT(request.headers, FixedHeaders("TOK1"));
    EXPECT_EQ("GET", request.method);
    EXPECT_EQ("{}", request.body);
    EXPECT_THAT(m_log.Lines(), IsEmpty());
}

TEST_F(NimbRestApiHeadersTest, BuildReqHeadersBeforeTheLoginHasNeitherAddressNorToken)
{
    TMSHttpRequest request;
    request.url = RESOURCE;
    m_api->BuildReqHeaders(request);
    EXPECT_EQ("https://:" + RESOURCE, request.url);
    EXPECT_THAT(request.headers, FixedHeaders(""));
}

TEST_F(NimbRestApiHeadersTest, BuildReqHeadersKeepsWhatTheRequestBears)
{
    LogIn();
    TMSHttpRequest request;
    request.headers = {{"X-Auth-Token", "OLD"}, {"Accept", "application/json"}};
    m_api->BuildReqHeaders(request);
    EXPECT_THAT(request.headers, SizeIs(8));
    EXPECT_THAT(request.headers, Contains(Pair("X-Auth-Token", "OLD")));
    EXPECT_THAT(request.headers, Contains(Pair("X-Auth-Token", "TOK1")));
}

TEST_F(NimbRestApiHeadersTest, TheSameRequestSentTwiceDoublesItsHost)
{
    LogIn();
    TMSHttpRequest request;
    request.method = "GET";
    request.url = RESOURCE;
    Json::Value data;
    int errorCode = 0;
    m_http.Always("GET", RESOURCE, Body(R"({"result": 0})"));
    m_api->SendRequest(request, data, m_errorText, errorCode);
    m_api->SendRequest(request, data, m_errorText, errorCode);
    EXPECT_THAT(m_http.Lines(), ElementsAre("GET " + Url(RESOURCE), "GET https://10.0.0.9:28443" + Url(RESOURCE)));
}

TEST_F(NimbRestApiHeadersTest, InitWithALibraryThatThrowsHasNoClient)
{
    m_http.ThrowOnCreate("no socket left");
    NimbRestApi api;
    EXPECT_FALSE(api.Init());
    EXPECT_THAT(m_log.Told(), ElementsAre(Line("Init", 4, "m_httpClient is null."),
                                          Line("Init", 4, "The HTTP client failed: no socket left")));
}

class NimbRestApiSendTest : public NimbRestTest {
protected:
    int Attempt(const std::string& url)
    {
        TMSHttpRequest request;
        request.method = "GET";
        request.url = url;
        return m_api->SendAndParseRsp(request, m_data, m_errorText, m_errorCode);
    }

    Json::Value m_data = "unchanged";
    int m_errorCode = 99;
};

TEST_F(NimbRestApiSendTest, AnExceptionOfTheClientIsNoResponse)
{
    m_http.Observe([](const TMSHttpRequest&) { throw std::runtime_error("no socket left"); });
    EXPECT_EQ(-1, Attempt("https://somewhere/v1"));
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_THAT(m_log.Told(), ElementsAre(Line("SendAndParseRsp", 4, "Return response is empty. "),
                                          Line("SendAndParseRsp", 4, "The HTTP client failed: no socket left")));
}

TEST_F(NimbRestApiSendTest, SendAndParseRspSendsTheRequestAsItIs)
{
    TMSHttpRequest request;
    request.method = "PUT";
    request.url = "https://somewhere/x";
    request.headers = {{"a", "b"}};
    request.body = "{}";
    m_http.Next(Body(R"({"result": 0})"));
    EXPECT_EQ(0, m_api->SendAndParseRsp(request, m_data, m_errorText, m_errorCode));
    ASSERT_THAT(m_http.Lines(), ElementsAre("PUT https://somewhere/x"));
    EXPECT_THAT(m_http.Requests().front().headers, ElementsAre(Pair("a", "b")));
    EXPECT_EQ("{}", m_http.Requests().front().body);
    EXPECT_THAT(m_http.Timeouts(), ElementsAre(10U));
    EXPECT_THAT(m_log.Lines(), IsEmpty());
}

TEST_F(NimbRestApiSendTest, SendAndParseRspWithoutAnyResponseFailsAndWritesNothing)
{
    m_http.Next(NoResponse());
    EXPECT_EQ(-1, Attempt("https://somewhere/v2/x"));
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_EQ(99, m_errorCode);
    EXPECT_EQ(Json::Value("unchanged"), m_data);
    EXPECT_THAT(m_log.Lines(), ElementsAre(Line("SendAndParseRsp", 4, "Return response is empty. ")));
}

TEST_F(NimbRestApiSendTest, SendAndParseRspTellsTheTransportFailure)
{
    Answer answer = NetworkError("no route");
    answer.status = 0;
    answer.statusText = "not looked at";
    m_http.Next(answer);
    EXPECT_EQ(200000, Attempt("https://somewhere/x"));
    EXPECT_EQ("no route", m_errorText);
    EXPECT_EQ(99, m_errorCode);
    EXPECT_EQ(Json::Value("unchanged"), m_data);
    EXPECT_THAT(m_log.Lines(),
                ElementsAre(Line("SendAndParseRsp", 4,
                                 "StatusCode: 0 , Send http request occur network error. Error is no route")));
}

TEST_F(NimbRestApiSendTest, SendAndParseRspOfATransportFailureTellsAStatusThatCameBeforeIt)
{
    Answer answer = NetworkError("cut off");
    answer.status = 206;
    m_http.Next(answer);
    EXPECT_EQ(200000, Attempt("https://somewhere/x"));
    EXPECT_THAT(m_log.Lines(),
                ElementsAre(Line("SendAndParseRsp", 4,
                                 "StatusCode: 206 , Send http request occur network error. Error is cut off")));
}

TEST_F(NimbRestApiSendTest, SendAndParseRspGivesTheHttpFailureStatus)
{
    Answer answer = HttpError(503, "Service Unavailable");
    answer.errorText = "not looked at";
    answer.body = R"({"result": 0})";
    m_http.Next(answer);
    EXPECT_EQ(503, Attempt("https://somewhere/x"));
    EXPECT_EQ("Service Unavailable", m_errorText);
    EXPECT_EQ(99, m_errorCode);
    EXPECT_EQ(Json::Value("unchanged"), m_data);
    EXPECT_THAT(
        m_log.Lines(),
        ElementsAre(Line("SendAndParseRsp", 4, "StatusCode: 503 , Http response error. Error is Service Unavailable")));
}

struct Dialect {
    const char* name;
    const char* url;
    bool isV2;
};

void PrintTo(const Dialect& row, std::ostream* out)
{
    *out << row.url;
}

class NimbRestApiDialectTest : public NimbRestApiSendTest, public ::testing::WithParamInterface<Dialect> {};

TEST_P(NimbRestApiDialectTest, TheUrlSelectsTheParserAndTheResultIsZeroWhateverItSays)
{
    m_http.Next(Body(R"({"result": {"code": 7, "description": "refused"}})")); // a failure in V2, malformed in V1
    EXPECT_EQ(0, Attempt(GetParam().url));
    EXPECT_EQ(GetParam().isV2 ? 7 : 99, m_errorCode);
    EXPECT_EQ(GetParam().isV2 ? "refused" : "Json object format is error. ", m_errorText);

    m_http.Next(Body(R"({"result": 2, "errorCode": "8", "description": "refused"})")); // the other way round
    EXPECT_EQ(0, Attempt(GetParam().url));
    EXPECT_EQ(GetParam().isV2 ? 7 : 8, m_errorCode);
    EXPECT_EQ(GetParam().isV2 ? "Json object format is error. " : "refused", m_errorText);

    m_http.Next(Body("<html>"));
    EXPECT_EQ(0, Attempt(GetParam().url));
    EXPECT_EQ("Parse json string failed", m_errorText);
    EXPECT_EQ(Json::Value("unchanged"), m_data);
}

INSTANTIATE_TEST_SUITE_P(Rows, NimbRestApiDialectTest,
                         ::testing::Values(Dialect{"V2", "https://somewhere/api/v2/aa/sessions", true},
                                           Dialect{"V2InTheQuery", "https://somewhere/x?y=/v2/", true},
                                           Dialect{"V1", "https://somewhere/lumeda/service/v1/version", false},
                                           Dialect{"None", "https://somewhere/lumeda/service/cluster", false},
                                           Dialect{"V2AtTheEnd", "https://somewhere/v2", false},
                                           Dialect{"V20", "https://somewhere/v20/x", false},
                                           Dialect{"CapitalV2", "https://somewhere/V2/x", false}),
                         [](const auto& row) { return row.param.name; });

} // namespace
