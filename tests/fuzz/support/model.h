#ifndef PRODUCT_STORAGE_TESTS_FUZZ_SUPPORT_MODEL_H
#define PRODUCT_STORAGE_TESTS_FUZZ_SUPPORT_MODEL_H

#include <json/value.h>

#include <cstdint>
#include <optional>
#include <string>

/// What an answer means, told once more and apart from the library's own way to it.
namespace Fuzz {

/// Nothing when `text` is no JSON.
std::optional<Json::Value> ParseJson(const std::string& text);

/// Whether JSON of this kind reads as a text: all but objects and arrays do.
bool HasText(const Json::Value& value);

/// The member's text, empty when it is absent; nothing when it has none or `object` is no object.
std::optional<std::string> MemberText(const Json::Value& object, const std::string& name);

/// A number as the array writes it: digits, with or without a sign, of a magnitude up to `max`. A negative one wraps
/// around at `max`, the greatest value of the type that receives it.
std::optional<std::uint64_t> ToNumber(const std::string& text, std::uint64_t max);

/// The verdict of an answer.
struct Envelope {
    int code = 0;
    std::string description; ///< empty where it is not read
};

/// Which verdicts' descriptions must have a text; they are not read otherwise.
enum class Described { Each, Refusals };

/// Nothing when `root` has no well-formed verdict under that name.
std::optional<Envelope> FindEnvelope(const Json::Value& root, const std::string& member, Described described);

} // namespace Fuzz

#endif
