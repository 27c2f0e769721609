#ifndef PRODUCT_STORAGE_TESTS_UNIT_REST_NIMB_REST_TEST_H
#define PRODUCT_STORAGE_TESTS_UNIT_REST_NIMB_REST_TEST_H

#include "rest/nimb_rest_api.h"
#include "tests/fakes/fakes.h"

#include <memory>
#include <string>
#include <vector>

/// One client of a distributed storage at 10.0.0.9:28443 that has its HTTP client and is not logged in yet.
class NimbRestTest : public FakesTest {
protected:
    using LineMatcher = ::testing::Matcher<const LogLine&>;

    static constexpr const char* SESSIONS = "/api/v2/aa/sessions";

    void SetUp() override
    {
        m_api = std::make_unique<NimbRestApi>();
        ASSERT_TRUE(m_api->Init());
        m_log.Clear();
    }

    /// Lets the object go, which logs out.
    void TearDown() override
    {
        m_http.Clear();
        m_http.Always("", "", Granted());
        m_api.reset();
    }

    /// A success in the dialect of the sessions, with `data` (JSON).
    static Answer Granted(const std::string& data = "{}")
    {
        return Body(R"({"data": )" + data + R"(, "result": {"code": 0, "description": "granted"}})");
    }

    static Answer Refused(int code, const std::string& description)
    {
        return Body(R"({"result": {"code": )" + std::to_string(code) + R"(, "description": ")" + description +
                    R"("}})");
    }

    static Answer LoginAnswer() { return Granted(R"({"x_auth_token": "TOK1"})"); }

    static std::string Url(const std::string& resource) { return "https://10.0.0.9:28443" + resource; }

    int Login() { return m_api->Login("10.0.0.9", "28443", "admin", "secret", m_errorText); }

    /// Logs in and forgets how: log and requests are empty afterwards.
    void LogIn()
    {
        m_http.Next(LoginAnswer());
        ASSERT_EQ(1, Login());
        m_http.Clear();
        m_log.Clear();
        m_errorText = "untouched";
    }

    /// A whole line of this client.
    static LineMatcher Line(const std::string& function, int level, const std::string& text)
    {
        return ::testing::AllOf(IsLineOf(function, level, text),
                                ::testing::Field("module", &LogLine::module, "NimbRestApi"));
    }

    /// The lines of a request that is answered at the first attempt, around those that `within` it are logged.
    static std::vector<LineMatcher> Sent(const std::vector<LineMatcher>& within = {})
    {
        std::vector<LineMatcher> lines = {Line("SendRequest", 1, "try send request, times is  0")};
        lines.insert(lines.end(), within.begin(), within.end());
        lines.push_back(Line("SendRequest", 2, "Send request ok."));
        return lines;
    }

    std::unique_ptr<NimbRestApi> m_api;
    std::string m_errorText = "untouched";
};

#endif
