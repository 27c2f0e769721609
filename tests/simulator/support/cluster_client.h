#ifndef TESTS_SIMULATOR_SUPPORT_CLUSTER_CLIENT_H
#define TESTS_SIMULATOR_SUPPORT_CLUSTER_CLIENT_H

#include "tests/simulator/support/wire_client.h"

#include <string>

namespace ZavSimTest {

/// A client of the cluster that knows nothing but the wire.
class ClusterClient {
public:
    static constexpr const char* SESSIONS = "/api/v2/aa/sessions";
    static constexpr const char* VERSION = "/lumeda/service/v1/version";

    explicit ClusterClient(const std::string& url, const std::string& authority = "")
        : m_wire(url, authority)
    {
    }

    /// Keeps the token of a login that succeeds.
    Reply Login(const std::string& user = "admin", const std::string& password = "zavsim-admin")
    {
        Reply reply =
            m_wire.Send("POST", SESSIONS, {}, R"({"user_name":")" + user + R"(","password":")" + password + R"("})");
        if (reply.json.isObject() && reply.HasData()) {
            token = reply.Data()["x_auth_token"].asString();
        }
        return reply;
    }

    /// With the token.
    Reply Get(const std::string& target) { return Send("GET", target); }
    Reply Logout() { return Send("DELETE", SESSIONS, "null"); }
    Reply Send(const std::string& method, const std::string& target, const std::string& body = "")
    {
        return m_wire.Send(method, target, {{"X-Auth-Token", token}}, body);
    }

    /// Without.
    Reply Raw(const std::string& method, const std::string& target, const std::string& body = "")
    {
        return m_wire.Send(method, target, {}, body);
    }

    HttpClient& Http() { return m_wire.Http(); }

    std::string token;

private:
    WireClient m_wire;
};

} // namespace ZavSimTest

#endif
