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
    return HeaderOf(headers, "Set-Cookie");
}

WireClient::WireClient(const std::string& url, const std::string& authority)
    : m_http(url, authority)
{
}

Reply WireClient::Send(const std::string& method, const std::string& target, const Headers& headers,
                       const std::string& body)
{
    const HttpReply answer = m_http.Send(method, target, headers, body);
    Reply reply;
    if (!answer.isWhole) {
        return reply;
    }
    reply.status = answer.status;
    reply.headers = answer.headers;
    reply.body = answer.body;
    std::string problem;
    reply.json = ZavSim::ParseJson(answer.body, problem).value_or(Json::Value());
    return reply;
}

} // namespace ZavSimTest
