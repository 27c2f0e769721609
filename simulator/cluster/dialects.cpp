#include "simulator/cluster/dialects.h"

#include "simulator/json/json_io.h"

namespace ZavSim {

namespace {

HttpAnswer AnswerOf(const Json::Value& envelope, std::int64_t code)
{
    HttpAnswer answer;
    answer.body = WriteJson(envelope);
    answer.code = code;
    return answer;
}

Json::Value V2Envelope(std::int64_t code, const std::string& description)
{
    Json::Value envelope(Json::objectValue);
    envelope["result"]["code"] = Json::Int64(code);
    envelope["result"]["description"] = description;
    return envelope;
}

} // namespace

HttpAnswer SucceedInV1(const Json::Value& data)
{
    Json::Value envelope = data;
    envelope["result"] = static_cast<int>(V1Result::Success);
    return AnswerOf(envelope, static_cast<std::int64_t>(ClusterCode::Success));
}

HttpAnswer RefuseInV1(V1Result result, std::int64_t code, const std::string& description)
{
    Json::Value envelope(Json::objectValue);
    envelope["result"] = static_cast<int>(result);
    if (result == V1Result::Details) {
        Json::Value reason(Json::objectValue);
        reason["description"] = description;
        reason["errorCode"] = Json::Int64(code);
        envelope["detail"].append(reason);
    } else {
        envelope["description"] = description;
        envelope["errorCode"] = std::to_string(code);
    }
    return AnswerOf(envelope, code);
}

HttpAnswer SucceedInV2(const Json::Value& data)
{
    const ClusterCodeInfo& success = InfoOf(ClusterCode::Success);
    Json::Value envelope = V2Envelope(static_cast<std::int64_t>(success.code), success.description);
    if (!data.isNull()) {
        envelope["data"] = data;
    }
    return AnswerOf(envelope, static_cast<std::int64_t>(success.code));
}

HttpAnswer RefuseInV2(std::int64_t code, const std::string& description)
{
    return AnswerOf(V2Envelope(code, description), code);
}

} // namespace ZavSim
