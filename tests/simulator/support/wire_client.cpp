#include "tests/simulator/support/wire_client.h"

#include "simulator/json/json_io.h"

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

WireClient::WireClient(const std::string& url, const std::string& authority)
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

Reply WireClient::Send(const std::string& method, const std::string& target, const httplib::Headers& headers,
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
