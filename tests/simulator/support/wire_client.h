#ifndef TESTS_SIMULATOR_SUPPORT_WIRE_CLIENT_H
#define TESTS_SIMULATOR_SUPPORT_WIRE_CLIENT_H

#include "tests/support/http_client.h"

#include <json/value.h>

#include <cstdint>
#include <string>

namespace ZavSimTest {

/// What came back: HTTP status (0: no answer), headers, and the body taken apart.
struct Reply {
    int status = 0;
    Headers headers;
    std::string body;
    Json::Value json; ///< null when the body is not JSON

    /// The code of an array's envelope; fails the test and is a number that no code has when there is no envelope.
    std::int64_t Code() const;
    const Json::Value& Data() const { return json["data"]; }
    bool HasData() const { return json.isObject() && json.isMember("data"); }
    std::string Cookie() const; ///< the Set-Cookie header; empty when there is none
};

/// Sends requests as they are written, on one connection as long as it lasts.
class WireClient {
public:
    /// `authority`: the file of the certificate authority to trust; empty: whoever answers.
    explicit WireClient(const std::string& url, const std::string& authority = "");

    Reply Send(const std::string& method, const std::string& target, const Headers& headers, const std::string& body);

    HttpClient& Http() { return m_http; }

private:
    HttpClient m_http;
};

} // namespace ZavSimTest

#endif
