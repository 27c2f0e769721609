#ifndef PRODUCT_STORAGE_REST_ZAV_JSON_H
#define PRODUCT_STORAGE_REST_ZAV_JSON_H

#include "rest/inventory_records.h"

#include <json/value.h>

#include <string>
#include <vector>

/// Pure decoders of the array's answers. Where it is said that a decoder throws, it throws a std::exception whose text
/// names the member.
namespace ZavJson {

/// The verdict that every answer carries.
struct EnvelopeError {
    int code = 0;
    std::string description;
};

/// False, with `error` unchanged, when `root` has no object `member` with an integer code and a description that has a
/// text.
bool DecodeEnvelopeError(const Json::Value& root, const char* member, EnvelopeError& error);

/// The text of `element`'s member `name`; empty when the member is absent. Throws when `element` is no object or the
/// member is an object or array.
std::string MemberText(const Json::Value& element, const char* name);

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

/// A decimal text as an unsigned number; throws on anything else.
std::uint64_t ToUnsigned64(const std::string& text);

/// Throw when `element` is no object or a number is missing or malformed.
Zav::StoragePool DecodeStoragePool(const Json::Value& element);
Zav::LunInfo DecodeLun(const Json::Value& element);

/// Appends the text of `element`'s member `name` to `texts` when it has that member; an element that is null has none.
/// Throws as MemberText does.
void AppendText(const Json::Value& element, const char* name, std::vector<std::string>& texts);

} // namespace ZavJson

#endif
