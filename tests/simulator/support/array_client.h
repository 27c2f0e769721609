#ifndef TESTS_SIMULATOR_SUPPORT_ARRAY_CLIENT_H
#define TESTS_SIMULATOR_SUPPORT_ARRAY_CLIENT_H

#include "simulator/array/codes.h"
#include "tests/simulator/support/wire_client.h"

#include <cstdint>
#include <string>

namespace ZavSimTest {

/// A client of the array that knows nothing but the wire.
class ArrayClient {
public:
    explicit ArrayClient(const std::string& url, const std::string& authority = "")
        : m_wire(url, authority)
    {
    }

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

    HttpClient& Http() { return m_wire.Http(); }

    std::string token;
    std::string cookie;
    std::string device;

private:
    Reply SendLoggedIn(const std::string& method, const std::string& resource, const std::string& body);

    WireClient m_wire;
};

/// Compares the envelope's code, telling the answer when it differs.
#define EXPECT_CODE(expected, reply) EXPECT_EQ(static_cast<std::int64_t>(expected), (reply).Code()) << (reply).body

} // namespace ZavSimTest

#endif
