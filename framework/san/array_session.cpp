#include "framework/san/array_session.h"

#include "base/percent_encoding.h"
#include "base/secret.h"

#include <json/reader.h>
#include <json/writer.h>

#include <memory>

namespace Framework {

namespace {

constexpr Json::Int64 SYSTEM_BUSY = 1077949006;
constexpr int TOO_MANY_REQUESTS = 429;
constexpr int SERVER_FAILURES = 500; // these and all above

/// A request that wipes its headers, the session's secrets, when it is released.
struct SessionRequest : TMSHttpRequest {
    SessionRequest() = default;
    SessionRequest(const SessionRequest&) = delete;
    SessionRequest& operator=(const SessionRequest&) = delete;

    ~SessionRequest()
    {
        while (!headers.empty()) {
            Secret::Wipe(headers.extract(headers.begin()).value().second);
        }
    }
};

std::string ToJson(const ArraySession::Members& members)
{
    Json::Value object(Json::objectValue);
    for (const auto& [name, value] : members) {
        object[name] = value;
    }
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, object);
}

[[noreturn]] void ThrowMalformed(const std::string& what)
{
    throw ArrayUnsettled(what + " failed: the array's answer is not of the form that it should have");
}

// The "data" of the envelope {"data":…, "error":{"code":…, "description":…}}.
Json::Value Unwrap(const std::string& what, const std::string& body)
{
    Json::Value root;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    if (!reader->parse(body.data(), body.data() + body.size(), &root, nullptr) || !root.isObject() ||
        !root["error"].isObject() || !root["error"]["code"].isInt64()) {
        ThrowMalformed(what);
    }
    const Json::Int64 code = root["error"]["code"].asInt64();
    if (code != 0) {
        const Json::Value& description = root["error"]["description"];
        const std::string text = what + " failed: the array answered with error " + std::to_string(code) + ": " +
                                 (description.isString() ? description.asString() : "no description");
        if (code == SYSTEM_BUSY) {
            throw ArrayUnsettled(text);
        }
        throw ArrayRefusal(text);
    }
    return root["data"];
}

} // namespace

ArraySession::~ArraySession()
{
    Detach();
}

void ArraySession::Detach() noexcept
{
    m_client.reset();
    Secret::Wipe(m_token);
    Secret::Wipe(m_cookie);
}

void ArraySession::Attach(const std::string& server, const std::string& deviceId, const std::string& token,
                          const std::string& cookie)
{
    Detach();
    m_client = QEN::IHttpClient::CreateClient();
    m_deviceId = deviceId;
    m_baseUrl = server + "/deviceManager/rest/" + Base::PercentEncode(deviceId) + "/";
    m_token = token;
    m_cookie = cookie;
}

Json::Value ArraySession::Call(const std::string& what, const std::string& method, const std::string& resource,
                               const Members& body)
{
    if (m_client == nullptr) {
        throw ArrayError(what + " failed: there is no connection to an array");
    }
    SessionRequest request;
    request.method = method;
    request.url = m_baseUrl + resource;
    request.headers.emplace("Cookie", m_cookie);
    request.headers.emplace("iBaseToken", m_token);
    request.body = body.empty() ? std::string() : ToJson(body);
    const boost::shared_ptr<QEN::IHttpResponse> response = m_client->SendRequest(request, m_timeoutSeconds);
    if (response == nullptr) {
        throw ArrayError(what + " failed: no request can be sent");
    }
    if (response->IsNetworkError() != 0) {
        throw ArrayUnsettled(what + " failed: " + response->GetErrorText());
    }
    if (!response->IsSuccess()) {
        const int status = response->GetHttpStatusCode();
        const std::string text = what + " failed: " + response->GetHttpStatusText();
        if (status == TOO_MANY_REQUESTS || status >= SERVER_FAILURES) {
            throw ArrayUnsettled(text); // of a proxy's 502 or 504 nobody knows what the array did
        }
        throw ArrayError(text);
    }
    try {
        return Unwrap(what, response->GetBody());
    } catch (const Json::Exception&) {
        ThrowMalformed(what); // nested too deeply
    }
}

} // namespace Framework
