#include "rest/answer_json.h"

#include "common/json_text.h"

#include <boost/lexical_cast.hpp>

#include <stdexcept>

namespace AnswerJson {

namespace {

template <typename Number>
bool Convert(const std::string& text, Number& number)
{
    Number converted = 0; // which a conversion that fails leaves in pieces
    if (!boost::conversion::try_lexical_convert(text, converted)) {
        return false;
    }
    number = converted;
    return true;
}

} // namespace

bool FindVerdict(const Json::Value& root, const char* member, Verdict& verdict)
{
    const Json::Value* const told = JsonText::FindMember(root, member);
    if (told == nullptr) {
        return false;
    }
    const Json::Value* const code = JsonText::FindMember(*told, "code");
    const Json::Value* const description = JsonText::FindMember(*told, "description");
    if (code == nullptr || !code->isInt() || description == nullptr) {
        return false;
    }
    verdict = {code->asInt(), description};
    return true;
}

bool FindText(const Json::Value& data, const char* name, std::string& text)
{
    const Json::Value* const member = JsonText::FindMember(data, name);
    return member != nullptr && JsonText::ToText(*member, text);
}

Finding FindOptionalText(const Json::Value& data, const char* name, std::string& text)
{
    if (data.isNull() || (data.isObject() && !data.isMember(name))) {
        return Finding::Absent;
    }
    return FindText(data, name, text) ? Finding::Found : Finding::Malformed;
}

std::string TextOf(const Json::Value* member, std::string_view name)
{
    std::string text;
    if (member != nullptr && !JsonText::ToText(*member, text)) {
        throw std::invalid_argument(std::string(name) + " is not a text");
    }
    return text;
}

void RequireObject(const Json::Value& element, std::string_view name)
{
    if (!element.isObject()) {
        throw std::invalid_argument("element is not an object, looking for " + std::string(name));
    }
}

std::string MemberText(const Json::Value& element, const char* name)
{
    RequireObject(element, name);
    return TextOf(JsonText::FindMember(element, name), name);
}

bool AppendText(const Json::Value& element, const char* name, std::vector<std::string>& texts)
{
    if (element.isNull()) {
        return false; // it has no members, and so not this one
    }
    std::string text = MemberText(element, name);
    if (!element.isMember(name)) {
        return false;
    }
    texts.push_back(std::move(text));
    return true;
}

bool ToNumber(const std::string& text, std::uint32_t& number)
{
    return Convert(text, number);
}

bool ToNumber(const std::string& text, std::uint64_t& number)
{
    return Convert(text, number);
}

} // namespace AnswerJson
