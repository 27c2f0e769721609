#ifndef PRODUCT_STORAGE_TESTS_UNIT_REST_REST_TEST_H
#define PRODUCT_STORAGE_TESTS_UNIT_REST_REST_TEST_H

#include "rest/zav_rest_api.h"
#include "tests/fakes/fakes.h"

#include <string>

/// One client of one array at https://10.0.0.1:8088, not logged in yet.
class RestTest : public FakesTest {
protected:
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

    ZavRestApi m_api{"option"};
    std::string m_errorText = "untouched";
};

#endif
