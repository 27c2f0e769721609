#ifndef TESTS_SIMULATOR_SUPPORT_ARRAY_CLIENT_H
#define TESTS_SIMULATOR_SUPPORT_ARRAY_CLIENT_H

#include "simulator/array/codes.h"

#include <httplib.h>
#include <json/value.h>

#include <cstdint>
#include <string>

namespace ZavSimTest {

/// What came back: HTTP status (0: no answer), headers, and the body taken apart.
struct Reply {
    int status = 0;
    httplib::Headers headers;
    std::string body;
    Json::Value json; ///< null when the body is not JSON

    /// The envelope's code; fails the test and is a number that no code has when there is no envelope.
    std::int64_t Code() const;
    const Json::Value& Data() const { return json["data"]; }
    bool HasData() const { return json.isObject() && json.isMember("data"); }
    std::string Cookie() const; ///< the Set-Cookie header; empty when there is none
};

/// A client of the array that knows nothing but the wire.
class ArrayClient {
public:
    explicit ArrayClient(const std::string& url, const std::string& authority = "");

    Reply Login(const std::string& user = "admin", const std::string& password = "zavsim-admin");

    /// Resources behind the device id, with token and cookie of the last login.
    Reply Get(const std::string& resource);
    Reply Post(const std::string& resource, const std::string& body);
    Reply Put(const std::string& resource, const std::string& body);
    Reply Delete(const std::string& resource);

    /// Any target, without token and cookie.
    Reply Raw(const std::string& method, const std::string& target, const std::string& body = "");

    /// Makes an object of a kind from its name and returns its id.
    std::string Make(const std::string& kind, const std::string& name);

    httplib::Client& Http() { return m_http; }

    std::string token;
    std::string cookie;
    std::string device;

private:
    Reply Send(const std::string& method, const std::string& target, const httplib::Headers& headers,
               const std::string& body);
    Reply SendLoggedIn(const std::string& method, const std::string& resource, const std::string& body);

    httplib::Client m_http;
};

/// Compares the envelope's code, telling the answer when it differs.
#define EXPECT_CODE(expected, reply) EXPECT_EQ(static_cast<std::int64_t>(expected), (reply).Code()) << (reply).body

} // namespace ZavSimTest

#endif
