#include "framework/san/array_session.h"

#include "base/json_reading.h"
#include "base/json_structure.h"
#include "base/json_writing.h"
#include "base/kept_by_thread.h"
#include "base/percent_encoding.h"
#include "base/secret.h"

#include <json/writer.h>

#include <algorithm>
#include <array>

namespace Framework {

namespace {

/// The array's codes that do not say whether it did what it was asked, or say that it will later.
namespace ArrayCode {
constexpr Json::Int64 REQUEST_TIMED_OUT = -408;
constexpr Json::Int64 INTERNAL_ERROR = -500;
constexpr Json::Int64 CONNECTION_FAILED = -1000; // within it
constexpr Json::Int64 SYSTEM_BUSY = 1077949006;
constexpr Json::Int64 SYSTEM_NOT_READY = 1077949067;
} // namespace ArrayCode

constexpr std::array<Json::Int64, 5> UNSETTLED_CODES = {ArrayCode::REQUEST_TIMED_OUT, ArrayCode::INTERNAL_ERROR,
                                                        ArrayCode::CONNECTION_FAILED, ArrayCode::SYSTEM_BUSY,
                                                        ArrayCode::SYSTEM_NOT_READY};

namespace HttpStatus {
constexpr int REQUEST_TIMED_OUT = 408;
constexpr int TOO_MANY_REQUESTS = 429;
constexpr int SERVER_FAILURES = 500; // these and all above
} // namespace HttpStatus

/// A request that wipes its headers, the session's secrets, when it is released.
struct SessionRequest : TMSHttpRequest {
    SessionRequest() = default;
    SessionRequest(const SessionRequest&) = delete;
    SessionRequest& operator=(const SessionRequest&) = delete;

    ~SessionRequest() { Secret::Wipe(headers); }
};

std::string ToJson(const ArraySession::Members& members)
{
    Json::Value object(Json::objectValue);
    for (const auto& [name, value] : members) {
        object[name] = value;
    }
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Base::WriteJson(builder, object);
}

[[noreturn]] void ThrowMalformed(const std::string& what)
{
    throw ArrayUnsettled(what + " failed: the array's answer is not of the form that it should have");
}

// The "data" of the envelope {"data":…, "error":{"code":…, "description":…}}.
Json::Value Unwrap(const std::string& what, const std::string& body)
{
    Json::Value root;
    const bool isRead = Base::HasBoundedStructure(body) &&
                        Base::WithKeptByThread([] { return Base::JsonReader(); },
                                               [&](Base::JsonReader& reader) { return reader.Read(body, root); });
    if (!isRead || !root.isObject() || !root["error"].isObject() || !root["error"]["code"].isInt64()) {
        ThrowMalformed(what);
    }
    const Json::Int64 code = root["error"]["code"].asInt64();
    if (code != 0) {
        const Json::Value& description = root["error"]["description"];
        const std::string text = what + " failed: the array answered with error " + std::to_string(code) + ": " +
                                 (description.isString() ? description.asString() : "no description");
        if (std::find(UNSETTLED_CODES.begin(), UNSETTLED_CODES.end(), code) != UNSETTLED_CODES.end()) {
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

unsigned int ArraySession::SecondsLeft() const
{
    const auto now = std::chrono::steady_clock::now();
    const auto standard = std::chrono::seconds(STANDARD_TIMEOUT_SECONDS);
    if (m_end > now + standard) {
        return STANDARD_TIMEOUT_SECONDS;
    }
    const auto left = std::chrono::ceil<std::chrono::seconds>(m_end - now);
    return static_cast<unsigned int>(std::max<std::chrono::seconds::rep>(left.count(), 1));
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
    const boost::shared_ptr<QEN::IHttpResponse> response = m_client->SendRequest(request, SecondsLeft());
    if (response == nullptr) {
        throw ArrayError(what + " failed: no request can be sent");
    }
    if (response->IsNetworkError() != 0) {
        throw ArrayUnsettled(what + " failed: " + response->GetErrorText());
    }
    if (!response->IsSuccess()) {
        const int status = response->GetHttpStatusCode();
        const std::string text = what + " failed: " + response->GetHttpStatusText();
        if (status == HttpStatus::REQUEST_TIMED_OUT || status == HttpStatus::TOO_MANY_REQUESTS ||
            status >= HttpStatus::SERVER_FAILURES) {
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
