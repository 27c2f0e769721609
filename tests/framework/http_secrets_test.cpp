#include "tests/framework/support/framework_test.h"
#include "tests/framework/support/memory_search.h"
#include "tests/framework/support/probe.h"
#include "tests/framework/support/web_server.h"

#include <string>

namespace {

std::string Hex(const std::string& bytes)
{
    constexpr char DIGITS[] = "0123456789abcdef";
    std::string hex;
    for (const char character : bytes) {
        const auto byte = static_cast<unsigned char>(character);
        hex += DIGITS[byte >> 4];
        hex += DIGITS[byte & 0xF];
    }
    return hex;
}

class HttpSecretsTest : public FrameworkTest {
protected:
    void ServeSecrets(WebServer& server) const
    {
        server.On("/secret", [this](const ServedRequest& request, HttpReply& response) {
            response.status =
                request.body == m_body.Reveal() && request.Header("iBaseToken") == m_token.Reveal() ? 200 : 400;
            if (m_isCookieSet) {
                for (int time = 0; time < m_cookieTimes; ++time) {
                    response.headers.emplace("Set-Cookie", "session=" + std::string(m_cookiePadding, '.') +
                                                               m_cookie.Reveal() + "; path=/");
                }
            }
            if (m_isAnswerInHead) {
                response.headers.emplace("X-Session", m_answer.Reveal());
            }
            const std::string padding(m_paddingSize, ' ');
            response.body = padding + m_answer.Reveal() + padding;
        });
    }

    std::string WhatStays(const WebServer& server) const
    {
        const Base::ProgramResult result =
            RunToEnd({ProbePath(), m_isCookieSet ? "secrets" : "secrets-without-cookie", server.Url("/secret"),
                      Hex(m_body.Turned()), Hex(m_token.Turned()), Hex(m_answer.Turned()), Hex(m_cookie.Turned())});
        EXPECT_EQ("", result.errors);
        return result.output;
    }

    std::size_t m_paddingSize = 0; ///< around the answer's secret
    bool m_isAnswerInHead = false; ///< as well
    bool m_isCookieSet = true;
    int m_cookieTimes = 1; ///< in one answer
    std::size_t m_cookiePadding = 0;

private:
    const HiddenText m_body = HiddenText::Random("body-");
    const HiddenText m_token = HiddenText::Random("token-");
    const HiddenText m_answer = HiddenText::Random("answer-");
    const HiddenText m_cookie = HiddenText::Random("cookie-");
};

const std::string NOTHING = "between requests: body 0, token 0, answer 0, cookie 0\n"
                            "afterwards: body 0, token 0, answer 0, cookie 0\n";

TEST_F(HttpSecretsTest, NothingOfAnHttpExchangeStaysInMemory)
{
    WebServer server;
    ServeSecrets(server);
    EXPECT_EQ(NOTHING, WhatStays(server));
}

TEST_F(HttpSecretsTest, NothingOfALongAnswerStaysInMemory)
{
    m_paddingSize = 100'000; // it arrives in several pieces
    WebServer server;
    ServeSecrets(server);
    EXPECT_EQ(NOTHING, WhatStays(server));
}

TEST_F(HttpSecretsTest, NothingOfARepeatedCookieStaysInMemory)
{
    m_cookieTimes = 3;
    m_cookiePadding = 700; // of a size that is asked for nowhere else, so that what is given back stays as it is
    WebServer server;
    ServeSecrets(server);
    EXPECT_EQ(NOTHING, WhatStays(server));
}

TEST_F(HttpSecretsTest, NothingOfAnAnswersHeadStaysInMemory)
{
    m_isAnswerInHead = true;
    WebServer server;
    ServeSecrets(server);
    EXPECT_EQ(NOTHING, WhatStays(server));
}

TEST_F(HttpSecretsTest, NothingOfAnHttpsExchangeStaysInMemory)
{
    const TestCa ca;
    WriteText(InRoot("ca.pem"), ca.Own().Pem());
    Configure({{"Http", {{"CaFile", "ca.pem"}}}});
    WebServer server(ca.Issue());
    ServeSecrets(server);
    EXPECT_EQ(NOTHING, WhatStays(server));
}

// As of most answers, whose handle is kept for the next request.
TEST_F(HttpSecretsTest, NothingOfAnExchangeWithoutACookieStaysInMemory)
{
    const TestCa ca;
    WriteText(InRoot("ca.pem"), ca.Own().Pem());
    Configure({{"Http", {{"CaFile", "ca.pem"}}}});
    m_isCookieSet = false;
    for (const std::size_t size : {0U, 100'000U}) {
        m_paddingSize = size;
        WebServer server(ca.Issue());
        ServeSecrets(server);
        EXPECT_EQ(NOTHING, WhatStays(server));
        EXPECT_EQ(1U, server.ConnectionCount());
    }
}

TEST_F(HttpSecretsTest, NothingOfASessionStaysInMemoryWhenItsManagerIsReleased)
{
    const TestCa ca;
    WriteText(InRoot("ca.pem"), ca.Own().Pem());
    Configure({{"Http", {{"CaFile", "ca.pem"}}}});
    WebServer server(ca.Issue());
    server.Answer("GET", "/deviceManager/rest/device/system/", R"({"error":{"code":0,"description":"0"}})");
    const Base::ProgramResult result =
        RunToEnd({ProbePath(), "san-secrets", "127.0.0.1", std::to_string(server.Port()),
                  Hex(HiddenText::Random("token-").Turned()), Hex(HiddenText::Random("cookie-").Turned())});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("token 0, cookie 0\n", result.output);
}

} // namespace
