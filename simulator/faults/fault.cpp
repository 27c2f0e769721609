#include "simulator/faults/fault.h"

#include "simulator/json/json_io.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace ZavSim {

namespace {

struct FaultWord {
    FaultKind kind;
    const char* word;
    const char* needs; ///< the member that only this kind has and must have; null when none
};

constexpr std::array<FaultWord, 10> WORDS{{
    {FaultKind::Code, "code", "code"},
    {FaultKind::Answer, "answer", "answer"},
    {FaultKind::Status, "status", "status"},
    {FaultKind::Delay, "delay", "milliseconds"},
    {FaultKind::Drop, "drop", nullptr},
    {FaultKind::DropAnswer, "drop-answer", nullptr},
    {FaultKind::Cut, "cut", nullptr},
    {FaultKind::Garbage, "garbage", nullptr},
    {FaultKind::Silent, "silent", nullptr},
    {FaultKind::NoCookie, "no-cookie", nullptr},
}};

constexpr Json::Int64 LONGEST_MILLISECONDS = 3600 * 1000;
constexpr int FIRST_STATUS = 200;
constexpr int LAST_STATUS = 599;
constexpr int FIRST_RESULT = 1;
constexpr int LAST_RESULT = 2;

std::string Quoted(const std::string& text)
{
    return '"' + text + '"';
}

const FaultWord& FindWord(const std::string& word)
{
    const auto found =
        std::find_if(WORDS.begin(), WORDS.end(), [&](const FaultWord& each) { return word == each.word; });
    if (found == WORDS.end()) {
        throw std::invalid_argument("kind: no fault is called " + Quoted(word));
    }
    return *found;
}

bool BelongsTo(const std::string& member, FaultKind kind)
{
    if (member == "code" || member == "description" || member == "result") {
        return kind == FaultKind::Code;
    }
    if (member == "answer") {
        return kind == FaultKind::Answer;
    }
    if (member == "status") {
        return kind == FaultKind::Status;
    }
    if (member == "milliseconds") {
        return kind == FaultKind::Delay || kind == FaultKind::Silent;
    }
    return member == "kind" || member == "method" || member == "target" || member == "count" || member == "probability";
}

std::string TextMember(const Json::Value& value, const char* name)
{
    if (!value.isMember(name)) {
        return "";
    }
    if (!value[name].isString()) {
        throw std::invalid_argument(std::string(name) + ": not a text");
    }
    return value[name].asString();
}

std::int64_t NumberMember(const Json::Value& value, const char* name, std::int64_t standard, std::int64_t lowest,
                          std::int64_t highest)
{
    if (!value.isMember(name)) {
        return standard;
    }
    if (!value[name].isInt64() || value[name].asInt64() < lowest || value[name].asInt64() > highest) {
        throw std::invalid_argument(std::string(name) + ": not a whole number from " + std::to_string(lowest) + " to " +
                                    std::to_string(highest));
    }
    return value[name].asInt64();
}

double ProbabilityMember(const Json::Value& value)
{
    if (!value.isMember("probability")) {
        return 1;
    }
    const Json::Value& member = value["probability"];
    if (!member.isNumeric() || !(member.asDouble() > 0 && member.asDouble() <= 1)) {
        throw std::invalid_argument("probability: not a number above 0 and up to 1");
    }
    return member.asDouble();
}

std::regex Pattern(const std::string& text)
{
    try {
        return std::regex(text, std::regex::ECMAScript | std::regex::optimize);
    } catch (const std::regex_error& error) {
        throw std::invalid_argument("target: " + Quoted(text) + " is not a regular expression: " + error.what());
    }
}

} // namespace

Fault FaultFromJson(const Json::Value& value)
{
    if (!value.isObject()) {
        throw std::invalid_argument("a fault is a JSON object");
    }
    const FaultWord& word = FindWord(TextMember(value, "kind"));
    for (const std::string& member : value.getMemberNames()) {
        if (!BelongsTo(member, word.kind)) {
            throw std::invalid_argument(member + ": a fault of kind " + Quoted(word.word) + " has no such member");
        }
    }
    if (word.needs != nullptr && !value.isMember(word.needs)) {
        throw std::invalid_argument(std::string(word.needs) + ": missing");
    }
    Fault fault;
    fault.kind = word.kind;
    fault.code = NumberMember(value, "code", 0, INT32_MIN, INT32_MAX);
    fault.description = value.isMember("description") ? TextMember(value, "description") : "Injected fault";
    if (value.isMember("result")) {
        fault.result = static_cast<int>(NumberMember(value, "result", FIRST_RESULT, FIRST_RESULT, LAST_RESULT));
    }
    fault.answer = value["answer"];
    fault.status = static_cast<int>(NumberMember(value, "status", 0, FIRST_STATUS, LAST_STATUS));
    fault.duration = std::chrono::milliseconds(NumberMember(value, "milliseconds", 0, 0, LONGEST_MILLISECONDS));
    fault.method = TextMember(value, "method");
    fault.targetText = TextMember(value, "target");
    fault.target = Pattern(fault.targetText);
    fault.count = static_cast<std::uint64_t>(NumberMember(value, "count", 1, 0, INT32_MAX));
    fault.probability = ProbabilityMember(value);
    return fault;
}

Fault FaultFromText(const std::string& text)
{
    std::string problem;
    const auto value = ParseJson(text, problem);
    if (!value) {
        throw std::invalid_argument("not JSON: " + problem);
    }
    return FaultFromJson(*value);
}

Json::Value FaultToJson(const Fault& fault)
{
    Json::Value value(Json::objectValue);
    value["kind"] =
        std::find_if(WORDS.begin(), WORDS.end(), [&](const FaultWord& each) { return each.kind == fault.kind; })->word;
    if (fault.kind == FaultKind::Code) {
        value["code"] = Json::Int64(fault.code);
        value["description"] = fault.description;
        if (fault.result) {
            value["result"] = *fault.result;
        }
    }
    if (fault.kind == FaultKind::Answer) {
        value["answer"] = fault.answer;
    }
    if (fault.kind == FaultKind::Status) {
        value["status"] = fault.status;
    }
    if (fault.kind == FaultKind::Delay || fault.kind == FaultKind::Silent) {
        value["milliseconds"] = Json::Int64(fault.duration.count());
    }
    if (!fault.method.empty()) {
        value["method"] = fault.method;
    }
    if (!fault.targetText.empty()) {
        value["target"] = fault.targetText;
    }
    value["count"] = Json::UInt64(fault.count);
    value["probability"] = fault.probability;
    return value;
}

} // namespace ZavSim
