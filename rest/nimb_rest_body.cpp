#include "rest/nimb_rest_api.h"

#include "common/json_text.h"
#include "common/log.h"
#include "common/result_codes.h"
#include "rest/answer_json.h"
#include "rest/secret_request.h"

#include <sstream>

// The two dialects in which the storage answers.

namespace {

const std::string LOG_MODULE = "NimbRestApi";

constexpr int V1_FAILED_WITH_DETAILS = 1;
constexpr int V1_FAILED = 2;

/// One refusal of the storage. A member that is missing reads as empty or 0.
struct Refusal {
    std::string description;
    int code = 0;
};

// True also where the member is absent: `text` is unchanged then.
bool FindTextIfThere(const Json::Value& object, const char* name, std::string& text)
{
    const Json::Value* const member = JsonText::FindMember(object, name);
    return member == nullptr || JsonText::ToText(*member, text);
}

// An element of a V1 body's detail list, whose code is a number.
bool FindDetail(const Json::Value& element, Refusal& refusal)
{
    const Json::Value* const code = JsonText::FindMember(element, "errorCode");
    if (!element.isObject() || (code != nullptr && !code->isInt() && !code->isNull())) {
        return false;
    }
    refusal.code = code != nullptr ? code->asInt() : 0;
    return FindTextIfThere(element, "description", refusal.description);
}

// A V1 body's own refusal, whose code is a text; one that is no number counts as 0.
bool FindTopLevel(const Json::Value& root, Refusal& refusal)
{
    std::string code;
    if (!FindTextIfThere(root, "description", refusal.description) || !FindTextIfThere(root, "errorCode", code)) {
        return false;
    }
    std::istringstream(code) >> refusal.code;
    return true;
}

int FailToParse(std::string_view operation, std::string& errorText)
{
    errorText = "Parse json string failed";
    PS_LOG_AS(operation, 4) << "Parse json string failed.";
    return ResultCode::FAILED;
}

int FailToDecode(std::string_view operation, std::string_view message, std::string& errorText)
{
    errorText = "Json object format is error. ";
    PS_LOG_AS(operation, 4) << message;
    return ResultCode::FAILED;
}

void Refuse(std::string_view operation, const Refusal& refusal, std::string& errorText, int& errorCode)
{
    errorText = refusal.description;
    errorCode = refusal.code;
    PS_LOG_AS(operation, 4) << "code : " << errorCode << ", Describe : " << errorText;
}

} // namespace

int NimbRestApi::ParseBodyV1(const std::string& body, Json::Value& data, std::string& errorText, int& errorCode)
{
    const char* const malformed = "Json object error.";
    SecretAnswer answer; // what is not handed on is wiped
    Json::Value& root = answer.data;
    if (!JsonText::Parse(body, root)) {
        return FailToParse(__func__, errorText);
    }
    const Json::Value* const verdict = JsonText::FindMember(root, "result");
    if (verdict == nullptr || !verdict->isInt()) {
        return FailToDecode(__func__, malformed, errorText);
    }
    if (verdict->asInt() == V1_FAILED_WITH_DETAILS) {
        const Json::Value& details = root["detail"];
        if (!details.isNull() && !details.isArray()) {
            return FailToDecode(__func__, malformed, errorText);
        }
        for (const Json::Value& element : details) { // the last one's values remain
            Refusal refusal;
            if (!FindDetail(element, refusal)) {
                return FailToDecode(__func__, malformed, errorText);
            }
            Refuse(__func__, refusal, errorText, errorCode);
        }
        return ResultCode::FAILED;
    }
    if (verdict->asInt() == V1_FAILED) {
        Refusal refusal;
        if (!FindTopLevel(root, refusal)) {
            return FailToDecode(__func__, malformed, errorText);
        }
        Refuse(__func__, refusal, errorText, errorCode);
        return ResultCode::FAILED;
    }
    errorText.clear();
    errorCode = 0;
    data.swap(root);
    return ResultCode::OK;
}

int NimbRestApi::ParseBodyV2(const std::string& body, Json::Value& data, std::string& errorText, int& errorCode)
{
    SecretAnswer answer; // what is not handed on is wiped
    Json::Value& root = answer.data;
    if (!JsonText::Parse(body, root)) {
        return FailToParse(__func__, errorText);
    }
    // The same envelope as the array's, under another name.
    AnswerJson::Verdict verdict;
    std::string description;
    if (!AnswerJson::FindVerdict(root, "result", verdict) || !JsonText::ToText(*verdict.description, description)) {
        return FailToDecode(__func__, "Json object error. ", errorText); // with a blank at its end, unlike V1
    }
    errorText = description;
    errorCode = verdict.code;
    if (errorCode != 0) {
        PS_LOG(4) << "code : " << errorCode << ", Describe : " << errorText;
        return ResultCode::FAILED;
    }
    if (root.isMember("data")) {
        data.swap(root["data"]);
    }
    return ResultCode::OK;
}
