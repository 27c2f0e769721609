#include "tests/simulator/support/array_client.h"

#include "simulator/base/json_io.h"

#include <gtest/gtest.h>

namespace ZavSimTest {

std::int64_t Reply::Code() const
{
    if (!json.isObject() || !json["error"]["code"].isInt64() || !json["error"]["description"].isString()) {
        ADD_FAILURE() << "no envelope, status " << status << ": " << body;
        return INT64_MIN;
    }
    return json["error"]["code"].asInt64();
}

std::string Reply::Cookie() const
{
    const auto found = headers.find("Set-Cookie");
    return found == headers.end() ? "" : found->second;
}

ArrayClient::ArrayClient(const std::string& url, const std::string& authority)
    : m_http(url)
{
    m_http.set_keep_alive(true);
    m_http.set_tcp_nodelay(true);
    m_http.set_url_encode(false); // targets leave as they are written
    m_http.set_connection_timeout(10);
    m_http.set_read_timeout(20);
    if (!authority.empty()) {
        m_http.set_ca_cert_path(authority);
        m_http.enable_server_certificate_verification(true);
    }
}

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
    return Send(method, target, {}, body);
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
    return Send(method, "/deviceManager/rest/" + device + "/" + resource, {{"Cookie", cookie}, {"iBaseToken", token}},
                body);
}

Reply ArrayClient::Send(const std::string& method, const std::string& target, const httplib::Headers& headers,
                        const std::string& body)
{
    httplib::Request request;
    request.method = method;
    request.path = target;
    request.headers = headers;
    request.body = body;
    Reply reply;
    const auto result = m_http.send(request);
    if (!result) {
        return reply;
    }
    reply.status = result->status;
    reply.headers = result->headers;
    reply.body = result->body;
    std::string problem;
    reply.json = ZavSim::ParseJson(result->body, problem).value_or(Json::Value());
    return reply;
}

} // namespace ZavSimTest
