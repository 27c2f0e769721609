#include "rest/nimb_rest_api.h"

#include "base/caught_text.h"
#include "base/secret.h"
#include "common/json_text.h"
#include "common/log.h"
#include "common/result_codes.h"
#include "common/time_source.h"
#include "rest/answer_json.h"
#include "rest/secret_request.h"

#include <string_view>

namespace {

const std::string LOG_MODULE = "NimbRestApi";

constexpr unsigned int REQUEST_TIMEOUT_SECONDS = 10;
constexpr int ATTEMPTS = 4;
constexpr boost::chrono::seconds RETRY_PAUSE(3);

constexpr int LOGGED_IN = 1;
constexpr int NOT_LOGGED_IN = 0;

const std::string SESSIONS = "/api/v2/aa/sessions";

const std::string MALFORMED = "Json object format is error. ";

// False when an address is none, or when there is no place for addresses.
bool AppendAddresses(const Json::Value& externalIpInfo, std::vector<std::string>& ips)
{
    for (const char* const role : {"floatIp", "standbyIp", "activeIp"}) {
        std::string address;
        const AnswerJson::Finding finding = AnswerJson::FindOptionalText(externalIpInfo, role, address);
        if (finding == AnswerJson::Finding::Malformed) {
            return false;
        }
        if (finding == AnswerJson::Finding::Found) {
            ips.push_back(address);
        }
    }
    return true;
}

} // namespace

struct NimbRestApi::TextQuery {
    std::string_view operation; ///< the name under which shared code logs
    const char* resource;
    const char* member;
};

NimbRestApi::~NimbRestApi()
{
    if (m_httpClient != nullptr) {
        Logout(); // also when never logged in: the storage knows best
    } else {
        PS_LOG(3) << "logout nok ";
    }
    Secret::Wipe(m_token);
    Secret::Wipe(m_password);
}

bool NimbRestApi::Init()
{
    PS_TRACE();
    m_httpClient.reset();
    std::string cause;
    try {
        m_httpClient = QEN::IHttpClient::CreateClient();
    } catch (...) {
        cause = Base::CaughtText();
    }
    if (m_httpClient == nullptr) {
        PS_LOG(4) << "m_httpClient is null.";
        if (!cause.empty()) {
            PS_LOG(4) << "The HTTP client failed: " << cause;
        }
        return false;
    }
    return true;
}

void NimbRestApi::BuildReqHeaders(TMSHttpRequest& request)
{
    request.headers.emplace("Accept", "application/json");
    request.headers.emplace("Accept-Encoding", "gzip");
    request.headers.emplace("Accept-Language", "en");
    request.headers.emplace("Cache-Control", "no-cache");
    request.headers.emplace("Connection", "keep-alive");
    request.headers.emplace("Content-Type", "application/json");
    InsertSecretHeader(request, "X-Auth-Token", m_token);
    request.url = "https://" + m_ip + ":" + m_port + request.url; // there is no plain-text mode, on purpose
}

int NimbRestApi::SendRequest(TMSHttpRequest& request, Json::Value& data, std::string& errorText, int& errorCode)
{
    PS_TRACE();
    BuildReqHeaders(request);
    int result = ResultCode::FAILED;
    for (int attempt = 0; attempt < ATTEMPTS; ++attempt) {
        PS_LOG(1) << "try send request, times is  " << attempt;
        if (attempt > 0) {
            TimeSource::SleepFor(RETRY_PAUSE);
            PS_LOG(3) << "send failed. Retry " << attempt << " time. url=" << request.url;
        }
        result = SendAndParseRsp(request, data, errorText, errorCode);
        if (result == ResultCode::OK) {
            PS_LOG(2) << "Send request ok.";
            return ResultCode::OK;
        }
        // A failed attempt writes no error code: what is looked at here is what the caller came with.
        if (errorCode == ArrayCode::SESSION_LAPSED) {
            PS_LOG(3) << "Unauthorized rest, need re-login";
            Logout();
            Login(m_ip, m_port, m_userName, m_password, errorText);
        } else if (errorCode == ResultCode::CLUSTER_TRANSPORT_ERROR || errorCode == ArrayCode::SYSTEM_BUSY) {
            PS_LOG(3) << "network error or system busy: errorCode: " << errorCode;
        }
    }
    PS_LOG(4) << "Exit ";
    return result;
}

int NimbRestApi::SendAndParseRsp(const TMSHttpRequest& request, Json::Value& data, std::string& errorText,
                                 int& errorCode)
{
    if (m_httpClient == nullptr) {
        PS_LOG(4) << "m_httpClient is null.";
        return ResultCode::FAILED;
    }
    try {
        const auto response = m_httpClient->SendRequest(request, REQUEST_TIMEOUT_SECONDS);
        return UnwrapResponse(request.url, response.get(), data, errorText, errorCode);
    } catch (...) { // the client may be anybody's; what it throws ends here
        const std::string cause = Base::CaughtText();
        PS_LOG(4) << "Return response is empty. ";
        PS_LOG(4) << "The HTTP client failed: " << cause;
        return ResultCode::FAILED;
    }
}

int NimbRestApi::UnwrapResponse(const std::string& url, const QEN::IHttpResponse* response, Json::Value& data,
                                std::string& errorText, int& errorCode)
{
    const std::string_view operation = "SendAndParseRsp";
    if (response == nullptr) {
        PS_LOG_AS(operation, 4) << "Return response is empty. ";
        return ResultCode::FAILED;
    }
    if (response->IsSuccess()) {
        // 0 whatever the body says, on purpose: its verdict reaches the caller through the texts and codes alone.
        if (url.find("/v2/") != std::string::npos) {
            ParseBodyV2(response->GetBody(), data, errorText, errorCode);
        } else {
            ParseBodyV1(response->GetBody(), data, errorText, errorCode);
        }
        return ResultCode::OK;
    }
    const int status = response->GetHttpStatusCode();
    if (response->IsNetworkError() != 0) {
        errorText = response->GetErrorText();
        PS_LOG_AS(operation, 4) << "StatusCode: " << status << " , Send http request occur network error. Error is "
                                << errorText;
        return ResultCode::CLUSTER_TRANSPORT_ERROR;
    }
    errorText = response->GetHttpStatusText();
    PS_LOG_AS(operation, 4) << "StatusCode: " << status << " , Http response error. Error is " << errorText;
    return status;
}

int NimbRestApi::Login(const std::string& ip, const std::string& port, const std::string& userName,
                       const std::string& password, std::string& errorText)
{
    PS_LOG(1) << "Start login.";
    m_ip = ip; // a repeated login is handed the members themselves
    m_port = port;
    m_userName = userName;
    Secret::Replace(m_password, password);

    Json::Value body;
    body["user_name"] = m_userName;
    SecretRequest request;
    request.method = "POST";
    request.url = SESSIONS;
    request.body = JsonText::WriteWithSecret(body, "password", m_password, JsonText::Style::Compact);
    SecretAnswer answer;
    int errorCode = 0;
    const int result = SendRequest(request, answer.data, errorText, errorCode);
    // An answer without a token logs in with an empty one, on purpose: the storage may not need any.
    std::string token;
    const Secret::ScopedWipe wipeToken(token);
    const bool isMalformed =
        AnswerJson::FindOptionalText(answer.data, "x_auth_token", token) == AnswerJson::Finding::Malformed;
    if (isMalformed) {
        errorText = MALFORMED;
    }
    if (result != ResultCode::OK || errorCode != 0 || isMalformed) {
        PS_LOG(4) << "Login failed, errCode: " << errorCode << ", errDes: " << errorText;
        return NOT_LOGGED_IN;
    }
    Secret::Replace(m_token, token);
    PS_LOG(2) << "Login ok.";
    return LOGGED_IN;
}

void NimbRestApi::Logout()
{
    PS_LOG(1) << "Start logout.";
    SecretRequest request;
    request.method = "DELETE";
    request.url = SESSIONS;
    request.body = JsonText::Write(Json::Value(), JsonText::Style::Compact); // the literal null
    Json::Value data;
    std::string errorText;
    int errorCode = 0;
    if (SendRequest(request, data, errorText, errorCode) == ResultCode::OK && errorCode == 0) {
        PS_LOG(2) << "logout ok ";
    } else {
        PS_LOG(3) << "logout nok ";
    }
}

int NimbRestApi::Query(const std::string& resource, Json::Value& data, std::string& errorText)
{
    SecretRequest request;
    request.method = "GET";
    request.url = resource;
    int errorCode = 0;
    return SendRequest(request, data, errorText, errorCode);
}

int NimbRestApi::QueryText(const TextQuery& query, std::string& text, bool& isTold, std::string& errorText)
{
    isTold = false;
    Json::Value data;
    const int result = Query(query.resource, data, errorText);
    if (result != ResultCode::OK) {
        return result;
    }
    const AnswerJson::Finding finding = AnswerJson::FindOptionalText(data, query.member, text);
    if (finding == AnswerJson::Finding::Malformed) {
        errorText = MALFORMED;
        PS_LOG_AS(query.operation, 4) << "Json object error.";
        return ResultCode::FAILED;
    }
    isTold = finding == AnswerJson::Finding::Found;
    return ResultCode::OK;
}

int NimbRestApi::GetStorageVersion(std::string& version, std::string& errorText)
{
    PS_TRACE();
    bool isTold = false;
    const int result = QueryText({__func__, "/lumeda/service/v1/version", "version"}, version, isTold, errorText);
    if (isTold) {
        PS_LOG(2) << "version: " << version;
    }
    return result;
}

int NimbRestApi::GetSerialNum(std::string& serialNumber, std::string& errorText)
{
    PS_TRACE();
    bool isTold = false;
    const int result = QueryText({__func__, "/lumeda/service/v1/cluster/sn", "sn"}, serialNumber, isTold, errorText);
    if (isTold) {
        PS_LOG(1) << "Exit GetSerialNum";
    }
    return result;
}

int NimbRestApi::GetProductMode(std::string& productModel, std::string& errorText)
{
    PS_TRACE();
    bool isTold = false;
    const int result =
        QueryText({__func__, "/lumeda/service/v1/productModel", "productModel"}, productModel, isTold, errorText);
    if (isTold) {
        PS_LOG(2) << "productMode: " << productModel;
    }
    return result;
}

int NimbRestApi::GetManagementIP(std::vector<std::string>& ips, std::string& errorText)
{
    PS_TRACE();
    Json::Value data;
    // The one resource without a version segment.
    const int result = Query("/lumeda/service/cluster/managerip/query", data, errorText);
    const Json::Value* const manageIpInfo =
        result == ResultCode::OK ? JsonText::FindMember(data, "manageIpInfo") : nullptr;
    if (manageIpInfo == nullptr) {
        PS_LOG(4) << "get manage ip failed." << errorText;
        return result; // 0 when the request worked but tells no addresses, on purpose
    }
    const Json::Value* const externalIpInfo = JsonText::FindMember(*manageIpInfo, "externalIpInfo");
    if (externalIpInfo == nullptr) {
        PS_LOG(4) << "no externalIpInfo info.";
        return ResultCode::FAILED;
    }
    if (!AppendAddresses(*externalIpInfo, ips)) {
        errorText = MALFORMED;
        PS_LOG(4) << "Json object error.";
        return ResultCode::FAILED;
    }
    PS_LOG(2) << "Exit GetManagementIP ";
    return ResultCode::OK;
}
