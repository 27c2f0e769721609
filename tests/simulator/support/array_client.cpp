#include "tests/simulator/support/array_client.h"

#include "simulator/json/json_io.h"

#include <gtest/gtest.h>

namespace ZavSimTest {

Reply ArrayClient::Login(const std::string& user, const std::string& password)
{
    Json::Value body;
    body["username"] = user;
    body["password"] = password;
    body["scope"] = 0;
    Reply reply = Raw("POST", "/deviceManager/rest//sessions", ZavSim::WriteJson(body));
    if (reply.json.isObject() && reply.HasData()) {
        token = reply.Data()["iBaseToken"].asString();
        device = reply.Data()["deviceid"].asString();
        cookie = reply.Cookie().substr(0, reply.Cookie().find(';'));
    }
    return reply;
}

Reply ArrayClient::Get(const std::string& resource)
{
    return SendLoggedIn("GET", resource, "");
}

Reply ArrayClient::Post(const std::string& resource, const std::string& body)
{
    return SendLoggedIn("POST", resource, body);
}

Reply ArrayClient::Put(const std::string& resource, const std::string& body)
{
    return SendLoggedIn("PUT", resource, body);
}

Reply ArrayClient::Delete(const std::string& resource)
{
    return SendLoggedIn("DELETE", resource, "");
}

Reply ArrayClient::Raw(const std::string& method, const std::string& target, const std::string& body)
{
    return m_wire.Send(method, target, {}, body);
}

std::string ArrayClient::Make(const std::string& kind, const std::string& name)
{
    Json::Value body;
    body["NAME"] = name;
    const Reply reply = Post(kind, ZavSim::WriteJson(body));
    EXPECT_CODE(ZavSim::Code::Success, reply);
    return reply.Data()["ID"].asString();
}

Reply ArrayClient::SendLoggedIn(const std::string& method, const std::string& resource, const std::string& body)
{
    return m_wire.Send(method, "/deviceManager/rest/" + device + "/" + resource,
                       {{"Cookie", cookie}, {"iBaseToken", token}}, body);
}

} // namespace ZavSimTest
