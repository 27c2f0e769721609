#include "simulator/array/array_service.h"

#include "base/secret.h"
#include "simulator/array/array_resources.h"
#include "simulator/json/json_io.h"

namespace ZavSim {

namespace {

// Places in the path: deviceManager / rest / device id / resource …
constexpr std::size_t DEVICE_PIECE = 2;
constexpr std::size_t RESOURCE_PIECE = 3;

constexpr const char* COOKIE_NAME = "session";

HttpAnswer Envelope(const Json::Value& data, std::int64_t code, const std::string& description)
{
    Json::Value envelope(Json::objectValue);
    if (!data.isNull()) {
        envelope["data"] = data;
    }
    envelope["error"]["code"] = Json::Int64(code);
    envelope["error"]["description"] = description;
    HttpAnswer answer;
    answer.body = WriteJson(envelope);
    answer.code = code;
    return answer;
}

HttpAnswer Success(const Json::Value& data)
{
    return Envelope(data, static_cast<std::int64_t>(Code::Success), InfoOf(Code::Success).description);
}

HttpAnswer Failure(const Refusal& refusal)
{
    return Envelope(Json::Value(), static_cast<std::int64_t>(refusal.GetCode()), refusal.what());
}

void SetCookie(HttpAnswer& answer, const HttpRequest& request, const Session& session)
{
    // Over plain HTTP a client that minds Secure would never send the cookie back.
    const bool isTls = request.listener.rfind("https", 0) == 0;
    answer.headers.emplace_back("Set-Cookie", std::string(COOKIE_NAME) + "=" + session.cookie +
                                                  "; Path=/deviceManager; " + (isTls ? "Secure; " : "") + "HttpOnly");
}

/// The values of all cookies with the session's name, in every Cookie header.
std::vector<std::string> SessionCookies(const HttpRequest& request)
{
    std::vector<std::string> values;
    const std::string beginning = std::string(COOKIE_NAME) + "=";
    for (const std::string& header : request.HeaderValues("Cookie")) {
        for (std::string cookie : Split(header, ';')) {
            cookie.erase(0, cookie.find_first_not_of(' '));
            if (cookie.rfind(beginning, 0) == 0) {
                values.push_back(cookie.substr(beginning.size()));
            }
        }
    }
    return values;
}

std::string RequireText(const Json::Value& body, const char* name)
{
    if (!body[name].isString()) {
        throw Refusal(Code::ParameterBad, std::string(name) + " must be a text");
    }
    return body[name].asString();
}

bool IsLogin(const HttpRequest& request, const Target& target)
{
    return request.method == "POST" && target.pieces.size() == RESOURCE_PIECE + 1 &&
           target.pieces[DEVICE_PIECE].empty() && target.pieces[RESOURCE_PIECE] == "sessions";
}

} // namespace

HttpAnswer ArrayService::Handle(const HttpRequest& request)
{
    try {
        const auto target = ParseTarget(request.target);
        if (!target) {
            throw Refusal(Code::ParameterBad, "a percent sign in the address is not followed by two digits");
        }
        return IsLogin(request, *target) ? Login(request) : CallLoggedIn(request, *target);
    } catch (const Refusal& refusal) {
        return Failure(refusal);
    }
}

HttpAnswer ArrayService::Refuse(const HttpRequest& /*request*/, const Fault& fault) const
{
    return Envelope(Json::Value(), fault.code, fault.description);
}

HttpAnswer ArrayService::Login(const HttpRequest& request)
{
    const Json::Value& body = RequireObject(request);
    if (!body["scope"].isInt() || body["scope"].asInt() != 0) {
        throw Refusal(Code::ParameterBad, "scope must be the number 0, the array's own users");
    }
    std::string password = RequireText(body, "password");
    const Secret::ScopedWipe wipePassword(password);
    const Session session = m_array.Login(RequireText(body, "username"), password);
    Json::Value data(Json::objectValue);
    data["deviceid"] = m_array.GetInventory().Shape().serial;
    data["iBaseToken"] = session.token;
    data["username"] = session.user;
    HttpAnswer answer = Success(data);
    SetCookie(answer, request, session);
    answer.session = session.number;
    return answer;
}

HttpAnswer ArrayService::CallLoggedIn(const HttpRequest& request, const Target& target)
{
    const auto tokens = request.HeaderValues("iBaseToken");
    const Session session = m_array.RequireSession(tokens.empty() ? "" : tokens.front(), SessionCookies(request));
    HttpAnswer answer;
    try {
        const std::string device = target.pieces.size() > DEVICE_PIECE ? target.pieces[DEVICE_PIECE] : "";
        if (device != m_array.GetInventory().Shape().serial) {
            throw Refusal(Code::DeviceUnknown, "\"" + device + "\"");
        }
        const bool hasBody = request.method == "POST" || request.method == "PUT";
        const ResourceCall call{
            m_array,
            session.number,
            request.method,
            {target.pieces.begin() + RESOURCE_PIECE, target.pieces.end()},
            hasBody ? Parameters::FromBody(request) : Parameters(target.query),
        };
        answer = Success(CallResource(call));
        if (request.method == "PUT") {
            SetCookie(answer, request, session); // clients of the array take the session's cookie afresh from these
        }
    } catch (const Refusal& refusal) {
        answer = Failure(refusal);
    }
    answer.session = session.number;
    return answer;
}

} // namespace ZavSim
