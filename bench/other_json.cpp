#include "bench/other_json.h"

#include <rapidjson/document.h>
#include <simdjson.h>

#include <charconv>
#include <stdexcept>
#include <string_view>

namespace {

template <typename Number>
Number ToNumber(std::string_view text)
{
    Number number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) {
        throw std::invalid_argument("not a number: \"" + std::string(text) + "\"");
    }
    return number;
}

/// `textOf` gives the text of the member with a name.
template <typename TextOf>
Zav::LunInfo MakeLun(const TextOf& textOf)
{
    Zav::LunInfo lun;
    lun.id = ToNumber<std::uint64_t>(textOf("ID"));
    lun.name = textOf("NAME");
    lun.wwn = textOf("WWN");
    lun.capacity = ToNumber<std::uint64_t>(textOf("CAPACITY")) * ToNumber<std::uint64_t>(textOf("SECTORSIZE"));
    lun.healthStatus = ToNumber<std::uint32_t>(textOf("HEALTHSTATUS"));
    lun.parentId = ToNumber<std::uint64_t>(textOf("PARENTID"));
    lun.allocationType = ToNumber<std::uint32_t>(textOf("ALLOCTYPE"));
    return lun;
}

const rapidjson::Value& MemberOf(const rapidjson::Value& object, const char* name)
{
    const auto member = object.FindMember(name);
    if (member == object.MemberEnd()) {
        throw std::invalid_argument(std::string("no ") + name);
    }
    return member->value;
}

} // namespace

std::vector<Zav::LunInfo> OtherJson::DecodeByRapidJson(const std::string& answer)
{
    rapidjson::Document root;
    root.Parse(answer.data(), answer.size());
    if (root.HasParseError() || MemberOf(MemberOf(root, "error"), "code").GetInt() != 0) {
        throw std::invalid_argument("no answer, or a refusal");
    }
    std::vector<Zav::LunInfo> luns;
    for (const rapidjson::Value& element : MemberOf(root, "data").GetArray()) {
        luns.push_back(MakeLun([&element](const char* name) {
            const rapidjson::Value& text = MemberOf(element, name);
            return std::string_view(text.GetString(), text.GetStringLength());
        }));
    }
    return luns;
}

std::vector<Zav::LunInfo> OtherJson::DecodeBySimdjson(std::string& answer)
{
    static thread_local simdjson::ondemand::parser parser;
    answer.reserve(answer.size() + simdjson::SIMDJSON_PADDING);
    simdjson::ondemand::document root =
        parser.iterate(simdjson::padded_string_view(answer.data(), answer.size(), answer.capacity()));
    std::vector<Zav::LunInfo> luns;
    for (simdjson::ondemand::object element : root["data"].get_array()) {
        luns.push_back(MakeLun([&element](const char* name) { return std::string_view(element[name]); }));
    }
    if (std::int64_t(root["error"]["code"]) != 0) {
        throw std::invalid_argument("a refusal");
    }
    return luns;
}
