#ifndef PRODUCT_STORAGE_REST_ANSWER_JSON_H
#define PRODUCT_STORAGE_REST_ANSWER_JSON_H

#include <json/value.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// What the answers of array and cluster have in common, read without a side effect. What is called Find… or To…
/// throws nothing and tells by its result; anything else throws a std::exception whose text names the member.
namespace AnswerJson {

/// The verdict that an answer carries.
struct Verdict {
    int code = 0;
    const Json::Value* description = nullptr; ///< the answer's own, of any type
};

/// False, with `verdict` unchanged, when `root` has no object `member` with an integer code and a description.
bool FindVerdict(const Json::Value& root, const char* member, Verdict& verdict);

/// True, with `text` set, when `data` is an object whose member `name` has a text.
bool FindText(const Json::Value& data, const char* name, std::string& text);

/// What looking for a text gave that the data need not hold.
enum class Finding {
    Found,
    Absent,    ///< no data at all, or an object without the member
    Malformed, ///< data that is no object, or a member that has no text
};

/// Sets `text` when found and leaves it alone otherwise.
Finding FindOptionalText(const Json::Value& data, const char* name, std::string& text);

/// The text of a member called `name`; empty for null, an absent one. Throws when it is an object or array.
std::string TextOf(const Json::Value* member, std::string_view name);

/// Throws when `element` is no object, in which `name` is looked for.
void RequireObject(const Json::Value& element, std::string_view name);

/// The text of `element`'s member `name`; empty when the member is absent. Throws when `element` is no object or the
/// member is an object or array.
std::string MemberText(const Json::Value& element, const char* name);

/// Appends the text of `element`'s member `name` to `texts` when it has that member, and says whether; an element that
/// is null has none. Throws as MemberText does.
bool AppendText(const Json::Value& element, const char* name, std::vector<std::string>& texts);

/// True, with `number` set, when `text` is decimal digits that fit; a sign may stand before them, and "-" counts
/// backwards from the width. False, with `number` unchanged, for anything else.
bool ToNumber(const std::string& text, std::uint32_t& number);
bool ToNumber(const std::string& text, std::uint64_t& number);

} // namespace AnswerJson

#endif
