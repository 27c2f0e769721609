#include "tests/unit/rest/nimb_rest_test.h"

#include <algorithm>

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

namespace {

const std::string RESOURCE = "/lumeda/service/v1/thing";

class NimbRestApiRetryTest : public NimbRestTest {
protected:
    void SetUp() override
    {
        NimbRestTest::SetUp();
        LogIn();
        m_started = m_clock.WallSeconds();
        m_http.Observe([this](const TMSHttpRequest&) {
            m_pauses.push_back(m_clock.WallSeconds() - m_started);
            m_started = m_clock.WallSeconds();
        });
    }

    int Send(int errorCode = 0)
    {
        m_errorCode = errorCode;
        TMSHttpRequest request;
        request.method = "GET";
        request.url = RESOURCE;
        return m_api->SendRequest(request, m_data, m_errorText, m_errorCode);
    }

    /// The lines of attempt `number`, which fails with `failure`, up to its end.
    static void AppendAttempt(std::vector<LineMatcher>& lines, int number, const LineMatcher& failure)
    {
        lines.push_back(Line("SendRequest", 1, "try send request, times is  " + std::to_string(number)));
        if (number > 0) {
            lines.push_back(
                Line("SendRequest", 3, "send failed. Retry " + std::to_string(number) + " time. url=" + Url(RESOURCE)));
        }
        lines.push_back(failure);
    }

    /// How many requests of `method` left.
    long Count(const std::string& method) const
    {
        const std::vector<TMSHttpRequest> requests = m_http.Requests();
        return std::count_if(requests.begin(), requests.end(),
                             [&method](const TMSHttpRequest& request) { return request.method == method; });
    }

    Json::Value m_data = "unchanged";
    int m_errorCode = 0;
    std::vector<std::int64_t> m_pauses; ///< seconds before each request
    std::int64_t m_started = 0;
};

TEST_F(NimbRestApiRetryTest, AnAnswerAtTheFirstAttemptNeedsNoPause)
{
    m_http.Next(Body(R"({"result": 0, "x": 1})"));
    EXPECT_EQ(0, Send(99));
    EXPECT_EQ("", m_errorText);
    EXPECT_EQ(0, m_errorCode);
    EXPECT_EQ(1, m_data["x"].asInt());
    EXPECT_THAT(m_pauses, ElementsAre(0));
    EXPECT_THAT(m_clock.Sleeps(), IsEmpty());
    EXPECT_THAT(m_log.Lines(),
                ElementsAre(Line("SendRequest", 1, "Enter SendRequest"),
                            Line("SendRequest", 1, "try send request, times is  0"),
                            Line("SendRequest", 2, "Send request ok."), Line("SendRequest", 1, "End SendRequest")));
}

TEST_F(NimbRestApiRetryTest, FourFailuresArePausedByThreeSecondsEach)
{
    m_http.Next(NetworkError("no route"));
    m_http.Next(HttpError(401, "Unauthorized"));
    m_http.Next(NoResponse());
    m_http.Next(HttpError(502, "Bad Gateway"));
    EXPECT_EQ(502, Send());
    EXPECT_EQ("Bad Gateway", m_errorText);
    EXPECT_EQ(0, m_errorCode);
    EXPECT_EQ(Json::Value("unchanged"), m_data);
    EXPECT_THAT(m_pauses, ElementsAre(0, 3, 3, 3));
    EXPECT_THAT(m_clock.Sleeps(), ElementsAre(3, 3, 3));

    std::vector<LineMatcher> lines;
    const std::string function = "SendAndParseRsp";
    AppendAttempt(lines, 0,
                  Line(function, 4, "StatusCode: 0 , Send http request occur network error. Error is no route"));
    AppendAttempt(lines, 1, Line(function, 4, "StatusCode: 401 , Http response error. Error is Unauthorized"));
    AppendAttempt(lines, 2, Line(function, 4, "Return response is empty. "));
    AppendAttempt(lines, 3, Line(function, 4, "StatusCode: 502 , Http response error. Error is Bad Gateway"));
    lines.push_back(Line("SendRequest", 4, "Exit "));
    EXPECT_THAT(m_log.Told(), ElementsAreArray(lines));
}

TEST_F(NimbRestApiRetryTest, APauseIsLoggedWhenItIsOver)
{
    m_http.Next(NoResponse());
    m_http.Next(Body(R"({"result": 0})"));
    std::vector<LogLine> linesBefore;
    m_clock.ObserveSleeps([this, &linesBefore] { linesBefore = m_log.Told(); });
    EXPECT_EQ(0, Send());
    ASSERT_THAT(linesBefore, SizeIs(3));
    EXPECT_THAT(linesBefore.back(), Line("SendRequest", 1, "try send request, times is  1"));
    EXPECT_THAT(m_log.Told()[3], Line("SendRequest", 3, "send failed. Retry 1 time. url=" + Url(RESOURCE)));
}

TEST_F(NimbRestApiRetryTest, EveryAttemptSendsTheSameRequest)
{
    m_http.Always("GET", RESOURCE, NoResponse());
    EXPECT_EQ(-1, Send());
    ASSERT_THAT(m_http.Lines(), SizeIs(4));
    EXPECT_THAT(m_http.Lines(), Each("GET " + Url(RESOURCE)));
    EXPECT_THAT(m_http.Timeouts(), Each(10U));
    for (const TMSHttpRequest& request : m_http.Requests()) {
        EXPECT_EQ(m_http.Requests().front().headers, request.headers);
    }
}

TEST_F(NimbRestApiRetryTest, AnAnswerAtTheLastAttemptIsASuccess)
{
    m_http.Next(NoResponse());
    m_http.Next(NoResponse());
    m_http.Next(NoResponse());
    m_http.Next(Body(R"({"result": 0})"));
    EXPECT_EQ(0, Send());
    EXPECT_THAT(m_pauses, ElementsAre(0, 3, 3, 3));
    EXPECT_EQ("Send request ok.", m_log.Told().back().text);
}

TEST_F(NimbRestApiRetryTest, ARefusalInTheBodyIsNotTriedAgain)
{
    m_http.Next(Body(R"({"result": 2, "errorCode": "-401", "description": "unauthorized"})"));
    EXPECT_EQ(0, Send());
    EXPECT_EQ("unauthorized", m_errorText);
    EXPECT_EQ(-401, m_errorCode);
    EXPECT_THAT(m_http.Requests(), SizeIs(1));
}

TEST_F(NimbRestApiRetryTest, TransportAndBusyCodesOfTheCallerAreTold)
{
    for (const int code : {200000, 1077949006}) {
        m_log.Clear();
        m_http.Next(NoResponse());
        m_http.Next(Body(""));
        EXPECT_EQ(0, Send(code));
        EXPECT_EQ(code, m_errorCode); // what is no JSON tells no code
        std::vector<LineMatcher> lines;
        AppendAttempt(lines, 0, Line("SendAndParseRsp", 4, "Return response is empty. "));
        lines.push_back(Line("SendRequest", 3, "network error or system busy: errorCode: " + std::to_string(code)));
        AppendAttempt(lines, 1, Line("ParseBodyV1", 4, "Parse json string failed."));
        lines.push_back(Line("SendRequest", 2, "Send request ok."));
        EXPECT_THAT(m_log.Told(), ElementsAreArray(lines));
    }
    EXPECT_EQ(0, Count("POST") + Count("DELETE"));
}

TEST_F(NimbRestApiRetryTest, AnyOtherCodeOfTheCallerIsNotTold)
{
    for (const int code : {0, -1, 401, 199999, 1077949007}) {
        m_log.Clear();
        m_http.Next(NoResponse());
        m_http.Next(Body(""));
        EXPECT_EQ(0, Send(code));
        EXPECT_THAT(m_log.Told(), SizeIs(6)); // as above without the line about the code
    }
    EXPECT_EQ(0, Count("POST") + Count("DELETE"));
}

TEST_F(NimbRestApiRetryTest, AResultOf401AloneRenewsNothing)
{
    m_http.Always("GET", RESOURCE, HttpError(-401, "Unauthorized"));
    EXPECT_EQ(-401, Send());
    EXPECT_THAT(m_http.Requests(), SizeIs(4));
    EXPECT_EQ(4, Count("GET"));
}

TEST_F(NimbRestApiRetryTest, AnUnauthorizedCallerHasTheSessionRenewedAfterAFailedAttempt)
{
    m_http.Next(HttpError(401, "Unauthorized"));
    m_http.On("DELETE", SESSIONS, Granted());
    m_http.On("POST", SESSIONS, Granted(R"({"x_auth_token": "TOK2"})"));
    m_http.On("GET", RESOURCE, Body(R"({"result": 0})"));
    EXPECT_EQ(0, Send(-401));

    ASSERT_THAT(m_http.Lines(), ElementsAre("GET " + Url(RESOURCE), "DELETE " + Url(SESSIONS), "POST " + Url(SESSIONS),
                                            "GET " + Url(RESOURCE)));
    EXPECT_THAT(m_pauses, ElementsAre(0, 0, 0, 3));
    const std::vector<TMSHttpRequest> requests = m_http.Requests();
    EXPECT_EQ(R"({"password":"secret","user_name":"admin"})", requests[2].body);
    EXPECT_THAT(requests[2].headers, Contains(Pair("X-Auth-Token", "TOK1")));
    EXPECT_EQ(requests[0].headers, requests[3].headers); // built once: the request still bears the old token
    TMSHttpRequest next;
    m_api->BuildReqHeaders(next);
    EXPECT_THAT(next.headers, Contains(Pair("X-Auth-Token", "TOK2")));

    std::vector<LineMatcher> lines;
    AppendAttempt(lines, 0, Line("SendAndParseRsp", 4, "StatusCode: 401 , Http response error. Error is Unauthorized"));
    lines.push_back(Line("SendRequest", 3, "Unauthorized rest, need re-login"));
    lines.push_back(Line("Logout", 1, "Start logout."));
    for (const LineMatcher& line : Sent()) {
        lines.push_back(line);
    }
    lines.push_back(Line("Logout", 2, "logout ok "));
    lines.push_back(Line("Login", 1, "Start login."));
    for (const LineMatcher& line : Sent()) {
        lines.push_back(line);
    }
    lines.push_back(Line("Login", 2, "Login ok."));
    lines.push_back(Line("SendRequest", 1, "try send request, times is  1"));
    lines.push_back(Line("SendRequest", 3, "send failed. Retry 1 time. url=" + Url(RESOURCE)));
    lines.push_back(Line("SendRequest", 2, "Send request ok."));
    EXPECT_THAT(m_log.Told(), ElementsAreArray(lines));
}

TEST_F(NimbRestApiRetryTest, AnUnauthorizedCallerThatIsAnsweredAtOnceRenewsNothing)
{
    m_http.Next(Body(R"({"result": 0})"));
    EXPECT_EQ(0, Send(-401));
    EXPECT_EQ(0, m_errorCode);
    EXPECT_THAT(m_http.Requests(), SizeIs(1));
}

TEST_F(NimbRestApiRetryTest, TheSessionIsRenewedAfterEachFailedAttemptTheLastIncluded)
{
    m_http.Always("GET", RESOURCE, HttpError(401, "Unauthorized"));
    m_http.Always("DELETE", SESSIONS, Granted());
    m_http.Always("POST", SESSIONS, LoginAnswer());
    EXPECT_EQ(401, Send(-401));
    EXPECT_EQ(-401, m_errorCode);
    EXPECT_EQ("granted", m_errorText); // what the last login told
    EXPECT_EQ(4, Count("GET"));
    EXPECT_EQ(4, Count("DELETE"));
    EXPECT_EQ(4, Count("POST"));
    EXPECT_EQ("POST " + Url(SESSIONS), m_http.Lines().back());
    EXPECT_THAT(m_clock.Sleeps(), ElementsAre(3, 3, 3));
    EXPECT_EQ("Exit ", m_log.Told().back().text);
}

TEST_F(NimbRestApiRetryTest, ARenewalThatFailsTakesFourAttemptsForEachOfItsRequests)
{
    m_http.Always("", "", NetworkError("no route"));
    EXPECT_EQ(200000, Send(-401));
    EXPECT_EQ("no route", m_errorText);
    EXPECT_EQ(-401, m_errorCode);
    EXPECT_EQ(4, Count("GET"));
    EXPECT_EQ(4 * 4, Count("DELETE"));
    EXPECT_EQ(4 * 4, Count("POST"));

    // Around each attempt but the first a pause of its own, and three within each nested round.
    EXPECT_THAT(m_clock.Sleeps(), SizeIs(3 + 4 * (3 + 3)));
    EXPECT_THAT(m_clock.Sleeps(), Each(3));
    const std::vector<std::int64_t> round = {3, 0, 3, 3, 3, 0, 3, 3, 3};
    std::vector<std::int64_t> pauses;
    for (int attempt = 0; attempt < 4; ++attempt) {
        pauses.insert(pauses.end(), round.begin(), round.end());
    }
    pauses.front() = 0;
    EXPECT_THAT(m_pauses, ElementsAreArray(pauses));
}

} // namespace
