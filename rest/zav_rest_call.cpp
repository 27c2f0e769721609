#include "rest/zav_rest_call.h"

#include "common/log.h"
#include "common/result_codes.h"
#include "rest/answer_json.h"
#include "rest/secret_request.h"

#include <exception>
#include <stdexcept>

namespace {

const std::string LOG_MODULE = "ZavRestApi";

template <typename Pairs>
std::string JoinQuery(const Pairs& parameters)
{
    std::string query;
    for (const auto& [key, value] : parameters) {
        query.append(query.empty() ? "" : "&").append(key).append("=").append(value);
    }
    return query;
}

} // namespace

std::string ZavRestApi::ToQueryString(const std::map<std::string, std::string>& parameters)
{
    return JoinQuery(parameters);
}

bool ZavRestApi::IsReadyFor(const Call& call) const
{
    const bool isReady = IsLoggedIn();
    if (!isReady) {
        PS_LOG_AS(call.operation, 4) << call.notLoginedText;
    }
    return isReady;
}

int ZavRestApi::Send(const Call& call, Json::Value& data, std::string& errorText)
{
    SecretRequest request;
    request.method = call.method;
    BuildBaseRequest(request, call.resource);
    if (!call.query.empty()) {
        request.url += "?" + JoinQuery(call.query);
    }
    request.body = call.body;
    return SendAndParseRsp(request, data, errorText, call.parseCookie);
}

int ZavRestApi::Perform(const Call& call, Json::Value& data, std::string& errorText)
{
    if (!IsReadyFor(call)) {
        return ResultCode::FAILED;
    }
    const int result = Send(call, data, errorText);
    if (result != ResultCode::OK && !call.failedText.empty()) {
        PS_LOG_AS(call.operation, 4) << call.failedText;
    }
    return result;
}

int ZavRestApi::ReadText(const Call& call, const char* member, std::string& text, std::string& errorText)
{
    Json::Value data;
    const int result = Perform(call, data, errorText);
    if (result != ResultCode::OK) {
        return result;
    }
    if (!AnswerJson::FindText(data, member, text)) {
        PS_LOG_AS(call.operation, 4) << "The response param error.";
        return ResultCode::FAILED;
    }
    return ResultCode::OK;
}

// A missing member is no error here, on purpose: an array that does not tell its serial number or model is still one.
int ZavRestApi::ReadOptionalText(const Call& call, const char* member, std::string& text, std::string& errorText)
{
    Json::Value data;
    const int result = Perform(call, data, errorText);
    if (result != ResultCode::OK) {
        return result;
    }
    if (AnswerJson::FindOptionalText(data, member, text) == AnswerJson::Finding::Malformed) {
        PS_LOG_AS(call.operation, 4) << "The response param error.";
        return ResultCode::FAILED;
    }
    return ResultCode::OK;
}

int ZavRestApi::ReadList(const Call& call, const Visitor& visit, std::string& errorText)
{
    Json::Value data;
    const int result = Perform(call, data, errorText);
    if (result != ResultCode::OK) {
        return result;
    }
    try {
        const bool isNothing = data.isNull() || (data.isObject() && data.empty());
        if (!isNothing && !data.isArray()) {
            throw std::invalid_argument("the answer's data is not a list");
        }
        for (const Json::Value& element : data) {
            visit(element);
        }
    } catch (const std::exception& error) {
        PS_LOG_AS(call.operation, 4) << call.unreadableText << error.what();
        return ResultCode::FAILED;
    }
    return ResultCode::OK;
}
