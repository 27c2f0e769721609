#ifndef PRODUCT_STORAGE_TESTS_UNIT_REST_REST_TEST_H
#define PRODUCT_STORAGE_TESTS_UNIT_REST_REST_TEST_H

#include "rest/zav_rest_api.h"
#include "tests/fakes/fakes.h"

#include <string>
#include <utility>

/// One client of one array at https://10.0.0.1:8088, not logged in yet.
class RestTest : public FakesTest {
protected:
    using LineMatcher = ::testing::Matcher<const LogLine&>;

    static constexpr const char* BASE_URL = "https://10.0.0.1:8088";
    static constexpr const char* REST = "https://10.0.0.1:8088/deviceManager/rest/DEV1/";

    /// An answer to a login: device DEV1, token TOK1, cookie session=c1.
    static Answer LoginAnswer()
    {
        return Data(R"({"deviceid": "DEV1", "iBaseToken": "TOK1"})").WithCookie("session=c1; Path=/; Secure");
    }

    /// Logs the client in and forgets how: log and requests are empty afterwards.
    void LogIn()
    {
        m_http.Next(LoginAnswer());
        ASSERT_EQ(0, m_api.Login(BASE_URL, "admin", "secret", m_errorText)) << m_errorText;
        m_http.Clear();
        m_log.Clear();
    }

    static std::string Url(const std::string& resource) { return REST + resource; }

    /// A whole line of the array client.
    static LineMatcher Line(const std::string& function, int level, const std::string& text)
    {
        return ::testing::AllOf(IsLineOf(function, level, text),
                                ::testing::Field("module", &LogLine::module, "ZavRestApi"));
    }

    /// What every request logs when it is sent; the guard counts anew each time by default.
    static LineMatcher CountLine() { return Line("CheckDosAttack", 1, "The REST request counts is 1"); }

    ZavRestApi m_api{"option"};
    std::string m_errorText = "untouched";
};

/// The same, logged in.
class LoggedInRestTest : public RestTest {
protected:
    void SetUp() override { LogIn(); }

    /// The next request is answered with `data` (JSON) in the array's envelope.
    void Tells(const std::string& data) { m_http.Next(Data(data)); }
};

#endif
