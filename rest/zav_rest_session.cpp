#include "rest/zav_rest_api.h"

#include "base/caught_text.h"
#include "base/secret.h"
#include "common/framework/config_reader.h"
#include "common/json_text.h"
#include "common/log.h"
#include "common/result_codes.h"
#include "common/time_source.h"
#include "rest/answer_json.h"
#include "rest/secret_request.h"

#include <boost/thread/lock_guard.hpp>

#include <string_view>
#include <utility>

namespace {

const std::string LOG_MODULE = "ZavRestApi";

constexpr unsigned int REQUEST_TIMEOUT_SECONDS = 90;

// The rate guard's settings, which it reads for each request: texts that are gone at exit must need no memory of their
// own.
const std::string GUARD_SECTION = "BackupNode";
const std::string GUARD_LIMIT = "DosRequestCount";

int DosRequestInterval()
{
    return ConfigReader::getInt(GUARD_SECTION, "DosRequestInterval", true); // seconds
}

std::string LoginBody(const std::string& userName, const std::string& password)
{
    Json::Value body;
    body["username"] = userName;
    body["scope"] = 0;
    return JsonText::WriteWithSecret(body, "password", password, JsonText::Style::Indented);
}

} // namespace

ZavRestApi::ZavRestApi(std::string optionText)
    : m_httpClient(QEN::IHttpClient::CreateClient())
    , m_optionText(std::move(optionText))
{
}

ZavRestApi::~ZavRestApi()
{
    Secret::Wipe(m_token);
    Secret::Wipe(m_cookie);
}

int ZavRestApi::Login(const std::string& baseUrl, const std::string& userName, const std::string& password,
                      std::string& errorText)
{
    PS_TRACE();
    SecretRequest request;
    request.method = "POST";
    // No device id is known before the login: its segment is empty, hence the two slashes.
    request.url = baseUrl + "/deviceManager/rest//sessions";
    request.optionText = m_optionText;
    request.body = LoginBody(userName, password);

    SecretAnswer answer;
    int result = SendAndParseRsp(request, answer.data, errorText, true);
    if (result == ResultCode::OK) {
        result = ParseLoginRespons(answer.data);
    }
    if (result == ResultCode::OK) {
        const std::lock_guard<std::mutex> guard(m_sessionLock);
        m_isLogined = true;
        m_baseUrl = baseUrl;
    }
    return result;
}

int ZavRestApi::Logout(std::string& errorText)
{
    PS_TRACE();
    if (!CountAsLoggedOut()) {
        PS_LOG(3) << "The device has Logouted before.";
        return ResultCode::OK;
    }
    SecretRequest request;
    request.method = "DELETE";
    BuildBaseRequest(request, "sessions");
    Json::Value data;
    return SendAndParseRsp(request, data, errorText, false);
}

// True when it was logged in: of several logouts at once, one asks the array.
bool ZavRestApi::CountAsLoggedOut()
{
    const std::lock_guard<std::mutex> guard(m_sessionLock);
    return std::exchange(m_isLogined, false);
}

bool ZavRestApi::GetSession(Zav::SessionInfo& session)
{
    PS_TRACE();
    const std::lock_guard<std::mutex> guard(m_sessionLock);
    if (!m_isLogined) {
        return false;
    }
    session.baseUrl = m_baseUrl;
    session.deviceId = m_deviceId;
    Secret::Replace(session.token, m_token);
    Secret::Replace(session.cookie, m_cookie);
    return true;
}

void ZavRestApi::BuildBaseRequest(TMSHttpRequest& request, const std::string& resource)
{
    request.optionText = m_optionText;
    const std::lock_guard<std::mutex> guard(m_sessionLock);
    constexpr std::string_view PATH = "/deviceManager/rest/";
    std::string url; // `resource` may be the request's own
    url.reserve(m_baseUrl.size() + PATH.size() + m_deviceId.size() + 1 + resource.size());
    url.append(m_baseUrl).append(PATH).append(m_deviceId).append(1, '/').append(resource);
    request.url = std::move(url);
    InsertSecretHeader(request, "Cookie", m_cookie);
    InsertSecretHeader(request, "iBaseToken", m_token);
}

bool ZavRestApi::CheckDosAttack()
{
    const boost::lock_guard<boost::recursive_mutex> guard(m_guardLock);
    const int interval = DosRequestInterval();
    const int limit = ConfigReader::getInt(GUARD_SECTION, GUARD_LIMIT, true);
    const std::int64_t now = TimeSource::WallSeconds();

    // All comparisons are unsigned: a clock that went backwards makes the distance huge and so restarts the count, and
    // a negative interval or limit is one that no distance or count reaches.
    const auto distance = static_cast<std::uint64_t>(now) - static_cast<std::uint64_t>(m_guardTime);
    const auto unsignedInterval = static_cast<std::uint64_t>(static_cast<std::int64_t>(interval));
    const auto unsignedLimit = static_cast<std::uint64_t>(static_cast<std::int64_t>(limit));

    std::uint64_t count = 1;
    if (distance < unsignedInterval) {
        if (m_guardCount >= unsignedLimit) {
            PS_LOG(3) << "The REST request exceed " << limit << " per " << interval << " seconds";
            return true;
        }
        count = m_guardCount + 1;
    }
    m_guardTime = now; // of this request, not of the burst's first: the interval slides with every request that passes
    m_guardCount = count;
    PS_LOG(1) << "The REST request counts is " << m_guardCount;
    return false;
}

int ZavRestApi::SendAndParseRsp(const TMSHttpRequest& request, Json::Value& data, std::string& errorText,
                                bool parseCookie)
{
    if (m_httpClient == nullptr) {
        PS_LOG(4) << "m_httpClient is null.";
        return ResultCode::FAILED;
    }
    if (CheckDosAttack()) {
        const int interval = DosRequestInterval();
        PS_LOG(3) << "sleep " << interval << "seconds to avoid generating dos attack to web server";
        TimeSource::SleepFor(boost::chrono::seconds(interval)); // then it is sent anyway: the guard only delays
    }
    try {
        const auto response = m_httpClient->SendRequest(request, REQUEST_TIMEOUT_SECONDS);
        return UnwrapResponse(response.get(), data, errorText, parseCookie);
    } catch (...) { // the client may be anybody's; what it throws ends here
        const std::string cause = Base::CaughtText();
        PS_LOG(4) << "Return response is empty. ";
        PS_LOG(4) << "The HTTP client failed: " << cause;
        return ResultCode::FAILED;
    }
}

int ZavRestApi::UnwrapResponse(const QEN::IHttpResponse* response, Json::Value& data, std::string& errorText,
                               bool parseCookie)
{
    const std::string_view operation = "SendAndParseRsp";
    if (response == nullptr) {
        PS_LOG_AS(operation, 4) << "Return response is empty. ";
        return ResultCode::FAILED;
    }
    if (response->IsSuccess()) {
        const int result = ParseRsp(response->GetBody(), data, errorText);
        return result != ResultCode::OK || !parseCookie ? result : ParseCookie(response->GetCookies());
    }
    if (response->IsNetworkError() != 0) {
        errorText = response->GetErrorText();
        PS_LOG_AS(operation, 4) << "Send http request occur network error. Error  is " << errorText;
        return ResultCode::TRANSPORT_ERROR;
    }
    errorText = response->GetHttpStatusText();
    PS_LOG_AS(operation, 4) << "Http response error. Error  is " << errorText;
    return ResultCode::FAILED;
}

int ZavRestApi::ParseRsp(const std::string& body, Json::Value& data, std::string& errorText)
{
    SecretAnswer answer; // what is not handed on is wiped: a login's answer may be malformed, or swapped for older data
    Json::Value& root = answer.data;
    if (!JsonText::Parse(body, root)) {
        errorText = "Parse json string failed";
        PS_LOG(4) << "Parse json string failed.";
        return ResultCode::FAILED;
    }
    AnswerJson::Verdict error;
    std::string description; // which is nobody's business where nothing failed
    if (!AnswerJson::FindVerdict(root, "error", error) ||
        (error.code != 0 && !JsonText::ToText(*error.description, description))) {
        errorText = "Json object format is error. ";
        PS_LOG(4) << "Json object error.";
        return ResultCode::FAILED;
    }
    if (error.code != 0) {
        PS_LOG(4) << "code : " << error.code << ", Describe : " << description;
        errorText = description;
        return error.code;
    }
    if (root.isMember("data")) {
        data.swap(root["data"]);
    }
    return ResultCode::OK;
}

int ZavRestApi::ParseLoginRespons(const Json::Value& data)
{
    std::string token;
    std::string deviceId;
    const Secret::ScopedWipe wipeToken(token);
    if (!AnswerJson::FindText(data, "iBaseToken", token) || !AnswerJson::FindText(data, "deviceid", deviceId)) {
        PS_LOG(4) << "Login response data is missing.";
        return ResultCode::FAILED;
    }
    const std::lock_guard<std::mutex> guard(m_sessionLock);
    Secret::Replace(m_token, token);
    m_deviceId = deviceId;
    return ResultCode::OK;
}

int ZavRestApi::ParseCookie(const std::set<std::string>& cookies)
{
    if (cookies.empty()) {
        PS_LOG(4) << "Cookie is empty.";
        return ResultCode::FAILED;
    }
    const std::string_view first = *cookies.begin();
    const std::lock_guard<std::mutex> guard(m_sessionLock);
    Secret::Replace(m_cookie, first.substr(0, first.find(';')));
    return ResultCode::OK;
}

bool ZavRestApi::IsLoggedIn() const
{
    const std::lock_guard<std::mutex> guard(m_sessionLock);
    return m_isLogined;
}
