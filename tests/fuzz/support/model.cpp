#include "tests/fuzz/support/model.h"

#include <json/reader.h>

#include <exception>
#include <memory>

namespace Fuzz {

std::optional<Json::Value> ParseJson(const std::string& text)
{
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    Json::Value root;
    std::string problems;
    try {
        if (reader->parse(text.data(), text.data() + text.size(), &root, &problems)) {
            return root;
        }
    } catch (const std::exception&) {
        // nested too deep
    }
    return std::nullopt;
}

bool HasText(const Json::Value& value)
{
    return !value.isObject() && !value.isArray();
}

std::optional<std::string> MemberText(const Json::Value& object, const std::string& name)
{
    if (!object.isObject()) {
        return std::nullopt;
    }
    if (!object.isMember(name)) {
        return std::string();
    }
    return HasText(object[name]) ? std::optional<std::string>(object[name].asString()) : std::nullopt;
}

std::optional<std::uint64_t> ToNumber(const std::string& text, std::uint64_t max)
{
    const bool hasSign = !text.empty() && (text.front() == '+' || text.front() == '-');
    const std::string digits = text.substr(hasSign ? 1 : 0);
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) {
        return std::nullopt;
    }
    std::uint64_t number = 0;
    for (const char digit : digits) {
        const auto value = static_cast<std::uint64_t>(digit - '0');
        if (number > (max - value) / 10) {
            return std::nullopt;
        }
        number = number * 10 + value;
    }
    return text.front() == '-' && number != 0 ? max - number + 1 : number;
}

std::optional<Envelope> FindEnvelope(const Json::Value& root, const std::string& member, Described described)
{
    if (!root.isObject() || !root[member].isObject()) {
        return std::nullopt;
    }
    const Json::Value& verdict = root[member];
    if (!verdict.isMember("code") || !verdict["code"].isInt() || !verdict.isMember("description")) {
        return std::nullopt;
    }
    Envelope envelope{verdict["code"].asInt(), ""};
    if (described == Described::Each || envelope.code != 0) {
        if (!HasText(verdict["description"])) {
            return std::nullopt;
        }
        envelope.description = verdict["description"].asString();
    }
    return envelope;
}

} // namespace Fuzz
