#ifndef PRODUCT_STORAGE_COMMON_JSON_TEXT_H
#define PRODUCT_STORAGE_COMMON_JSON_TEXT_H

#include <json/value.h>

#include <string>

/// Between JSON text and JSON values, with the JSON library's default settings.
namespace JsonText {

/// False, with `root` undefined, when `text` is no JSON, nests deeper than the library's limit, or has more than
/// 3,000,000 objects, arrays, members and elements. Throws nothing.
/// Of each text that outgrows a std::string's own buffer the library's parser leaves one copy behind in memory that it
/// frees; nothing here can reach it.
bool Parse(const std::string& text, Json::Value& root);

enum class Style {
    Indented, ///< the writer's defaults: one member a line, indented with tabs
    Compact,  ///< no white space between the tokens
};

/// `root` as text, without white space at its ends.
std::string Write(const Json::Value& root, Style style = Style::Indented);

/// `root` with the further member `name` = `secret`, as Write gives it. The result is the only copy of the secret that
/// is made: neither the writer nor a JSON value ever holds it. The caller wipes the result.
/// `root` is an object of texts and numbers: it holds no further object.
std::string WriteWithSecret(Json::Value root, const std::string& name, const std::string& secret, Style style);

/// Wipes every text that `root` holds, its members' included.
void WipeTexts(Json::Value& root) noexcept;

/// The member `name` of `object`; null when `object` is no object or has no such member. Lives as long as `object`.
const Json::Value* FindMember(const Json::Value& object, const char* name);

/// True, with `text` set, when `value` is one that has a text: a text, a number, true or false, or null (empty text).
/// False, with `text` unchanged, for an object or array.
bool ToText(const Json::Value& value, std::string& text);

} // namespace JsonText

#endif
