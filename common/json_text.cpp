#include "common/json_text.h"

#include "common/secret.h"

#include <json/reader.h>
#include <json/writer.h>

#include <boost/algorithm/string/trim.hpp>

#include <cstring>
#include <exception>
#include <memory>

namespace JsonText {

namespace {

// A text that the writer leaves as it is, to mark where the secret goes.
constexpr char SECRET_MARK[] = "0";

// `secret` as the writer would quote it. The writer's own quoting ends at a NUL, so the pieces between them are joined.
std::string Quote(const std::string& secret)
{
    std::string quoted;
    quoted.reserve(secret.size() * 6 + 2); // the longest escape has six characters: the buffer never moves
    quoted += '"';
    for (std::size_t start = 0; start <= secret.size();) {
        std::string piece = Json::valueToQuotedString(secret.c_str() + start);
        const Secret::ScopedWipe wipePiece(piece);
        quoted.append(piece, 1, piece.size() - 2);
        start += std::strlen(secret.c_str() + start) + 1;
        if (start <= secret.size()) {
            quoted += "\\u0000";
        }
    }
    quoted += '"';
    return quoted;
}

} // namespace

bool Parse(const std::string& text, Json::Value& root)
{
    try {
        const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
        return reader->parse(text.data(), text.data() + text.size(), &root, nullptr);
    } catch (const std::exception&) {
        return false; // deeper than the reader's stack limit
    }
}

std::string Write(const Json::Value& root, Style style)
{
    Json::StreamWriterBuilder builder;
    if (style == Style::Compact) {
        builder["indentation"] = "";
    }
    std::string text = Json::writeString(builder, root);
    boost::trim(text);
    return text;
}

std::string WriteWithSecret(Json::Value root, const std::string& name, const std::string& secret, Style style)
{
    root[name] = SECRET_MARK;
    const std::string marked = Write(root, style);
    // The first member is the secret's, so the first mark behind its name is its value.
    const std::string quotedMark = Json::valueToQuotedString(SECRET_MARK);
    const std::size_t position = marked.find(quotedMark, Json::valueToQuotedString(name.c_str()).size());

    std::string quoted = Quote(secret);
    const Secret::ScopedWipe wipeQuoted(quoted);
    std::string text;
    text.reserve(marked.size() + quoted.size()); // one buffer: no copy is left behind by growth
    text.append(marked, 0, position).append(quoted).append(marked, position + quotedMark.size(), std::string::npos);
    return text;
}

void WipeTexts(Json::Value& root) noexcept
{
    if (root.isString()) {
        const char* begin = nullptr;
        const char* end = nullptr;
        if (root.getString(&begin, &end)) {
            // The JSON library has no way to overwrite a text where it stands; the bytes are the value's own.
            Secret::WipeBytes(const_cast<char*>(begin), static_cast<std::size_t>(end - begin)); // NOLINT(*-const-cast)
        }
        return;
    }
    if (root.isArray() || root.isObject()) {
        for (Json::Value& child : root) {
            WipeTexts(child);
        }
    }
}

const Json::Value* FindMember(const Json::Value& object, const char* name)
{
    return object.isObject() ? object.find(name, name + std::strlen(name)) : nullptr;
}

bool ToText(const Json::Value& value, std::string& text)
{
    if (!value.isConvertibleTo(Json::stringValue)) {
        return false;
    }
    text = value.asString();
    return true;
}

} // namespace JsonText
