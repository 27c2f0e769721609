#include "simulator/faults/fault.h"

#include "simulator/faults/fault_kinds.h"
#include "simulator/json/json_io.h"

#include <algorithm>
#include <stdexcept>

namespace ZavSim {

namespace {

constexpr std::int64_t LONGEST_MILLISECONDS = 3600 * 1000;
constexpr std::int64_t MOST_BYTES = 1 << 30;
constexpr int FIRST_STATUS = 200;
constexpr int LAST_STATUS = 599;
constexpr int FIRST_RESULT = 1;
constexpr int LAST_RESULT = 2;

std::string Text(const Json::Value& value)
{
    if (!value.isString()) {
        throw std::invalid_argument("not a text");
    }
    return value.asString();
}

std::int64_t Number(const Json::Value& value, std::int64_t lowest, std::int64_t highest)
{
    if (!value.isInt64() || value.asInt64() < lowest || value.asInt64() > highest) {
        throw std::invalid_argument("not a whole number from " + std::to_string(lowest) + " to " +
                                    std::to_string(highest));
    }
    return value.asInt64();
}

double Probability(const Json::Value& value)
{
    if (!value.isNumeric() || !(value.asDouble() > 0 && value.asDouble() <= 1)) {
        throw std::invalid_argument("not a number above 0 and up to 1");
    }
    return value.asDouble();
}

// Matching takes time in proportion to the text, whatever the pattern.
std::shared_ptr<const re2::RE2> Pattern(const std::string& text)
{
    re2::RE2::Options options;
    options.set_log_errors(false);
    auto pattern = std::make_shared<const re2::RE2>(text, options);
    if (!pattern->ok()) {
        throw std::invalid_argument('"' + text + "\" is not a regular expression: " + pattern->error());
    }
    return pattern;
}

/// How a member is read, and written where a fault has it.
struct Member {
    const char* name;
    bool isOfAll; ///< every kind takes it
    void (*read)(const Json::Value& value, Fault& fault);
    Json::Value (*write)(const Fault& fault); ///< null where there is nothing to tell
};

Json::Value TextOrNull(const std::string& text)
{
    return text.empty() ? Json::Value() : Json::Value(text);
}

const Member MEMBERS[] = {
    {"kind", true, [](const Json::Value& value, Fault& fault) { fault.kind = &FaultKindOf(Text(value)); },
     [](const Fault& fault) { return Json::Value(fault.kind->word); }},
    {"method", true, [](const Json::Value& value, Fault& fault) { fault.method = Text(value); },
     [](const Fault& fault) { return TextOrNull(fault.method); }},
    {"target", true,
     [](const Json::Value& value, Fault& fault) {
         fault.targetText = Text(value);
         fault.target = Pattern(fault.targetText);
     },
     [](const Fault& fault) { return TextOrNull(fault.targetText); }},
    {"skip", true,
     [](const Json::Value& value, Fault& fault) {
         fault.skip = static_cast<std::uint64_t>(Number(value, 0, INT32_MAX));
     },
     [](const Fault& fault) { return fault.skip == 0 ? Json::Value() : Json::Value(Json::UInt64(fault.skip)); }},
    {"count", true,
     [](const Json::Value& value, Fault& fault) {
         fault.count = static_cast<std::uint64_t>(Number(value, 0, INT32_MAX));
     },
     [](const Fault& fault) { return Json::Value(Json::UInt64(fault.count)); }},
    {"probability", true, [](const Json::Value& value, Fault& fault) { fault.probability = Probability(value); },
     [](const Fault& fault) { return Json::Value(fault.probability); }},
    {"code", false, [](const Json::Value& value, Fault& fault) { fault.code = Number(value, INT32_MIN, INT32_MAX); },
     [](const Fault& fault) { return Json::Value(Json::Int64(fault.code)); }},
    {"description", false, [](const Json::Value& value, Fault& fault) { fault.description = Text(value); },
     [](const Fault& fault) { return Json::Value(fault.description); }},
    {"result", false,
     [](const Json::Value& value, Fault& fault) {
         fault.result = static_cast<int>(Number(value, FIRST_RESULT, LAST_RESULT));
     },
     [](const Fault& fault) { return fault.result ? Json::Value(*fault.result) : Json::Value(); }},
    {"answer", false, [](const Json::Value& value, Fault& fault) { fault.answer = value; },
     [](const Fault& fault) { return fault.answer; }},
    {"status", false,
     [](const Json::Value& value, Fault& fault) {
         fault.status = static_cast<int>(Number(value, FIRST_STATUS, LAST_STATUS));
     },
     [](const Fault& fault) { return Json::Value(fault.status); }},
    {"milliseconds", false,
     [](const Json::Value& value, Fault& fault) {
         fault.duration = std::chrono::milliseconds(Number(value, 0, LONGEST_MILLISECONDS));
     },
     [](const Fault& fault) { return Json::Value(Json::Int64(fault.duration.count())); }},
    {"bytes", false,
     [](const Json::Value& value, Fault& fault) { fault.bytes = Number(value, -MOST_BYTES, MOST_BYTES); },
     [](const Fault& fault) { return fault.bytes == 0 ? Json::Value() : Json::Value(Json::Int64(fault.bytes)); }},
};

bool Contains(const std::vector<std::string>& names, const char* name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool BelongsTo(const Member& member, const FaultKind& kind)
{
    return member.isOfAll || Contains(kind.needs, member.name) || Contains(kind.takes, member.name);
}

} // namespace

Fault FaultFromJson(const Json::Value& value)
{
    if (!value.isObject()) {
        throw std::invalid_argument("a fault is a JSON object");
    }
    Fault fault;
    fault.kind = &FaultKindOf(value["kind"].isString() ? value["kind"].asString() : "");
    fault.description = "Injected fault";
    for (const std::string& name : value.getMemberNames()) {
        const auto* const member =
            std::find_if(std::begin(MEMBERS), std::end(MEMBERS), [&](const Member& each) { return name == each.name; });
        if (member == std::end(MEMBERS) || !BelongsTo(*member, *fault.kind)) {
            throw std::invalid_argument(name + ": a fault of kind \"" + fault.kind->word + "\" has no such member");
        }
        try {
            member->read(value[name], fault);
        } catch (const std::invalid_argument& error) {
            throw std::invalid_argument(name + ": " + error.what());
        }
    }
    for (const std::string& name : fault.kind->needs) {
        if (!value.isMember(name)) {
            throw std::invalid_argument(name + ": missing");
        }
    }
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
    for (const Member& member : MEMBERS) {
        const Json::Value written = BelongsTo(member, *fault.kind) ? member.write(fault) : Json::Value();
        if (!written.isNull() || Contains(fault.kind->needs, member.name)) {
            value[member.name] = written;
        }
    }
    return value;
}

} // namespace ZavSim
