#include "common/json_text.h"

#include "base/json_reading.h"
#include "base/json_structure.h"
#include "base/json_writing.h"
#include "base/kept_by_thread.h"
#include "base/secret.h"

#include <json/writer.h>

#include <boost/algorithm/string/trim.hpp>

#include <algorithm>
#include <cstring>
#include <exception>

namespace JsonText {

namespace {

// A text that the writer leaves as it is, to mark where the secret goes.
constexpr char SECRET_MARK[] = "0";

// The character of `text` at `start`, as many bytes as the writer takes for one; of a truncated one the first byte.
std::string CharacterAt(const std::string& text, std::size_t start)
{
    const auto lead = static_cast<unsigned char>(text[start]);
    const std::size_t size = lead < 0x80 || lead >= 0xF8 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    return text.substr(start, start + size <= text.size() ? size : 1);
}

// `secret` as the writer would quote it. The library quotes one character at a time, because it leaves copies of what
// is longer than a text's own small buffer behind in memory that it gives back.
std::string Quote(const std::string& secret)
{
    constexpr std::size_t LONGEST_ESCAPE = 6; // characters for one byte
    std::string quoted;
    quoted.reserve(secret.size() * LONGEST_ESCAPE + 2); // the buffer never moves
    quoted += '"';
    for (std::size_t start = 0; start < secret.size();) {
        std::string character = CharacterAt(secret, start);
        const Secret::ScopedWipe wipeCharacter(character);
        start += character.size();
        if (character.front() == '\0') {
            quoted += "\\u0000"; // the library's own quoting of a text ends here
            continue;
        }
        // Of a byte that continues a character only the lower six bits count, and the library stops at a NUL.
        std::replace(character.begin(), character.end(), '\0', '\x80');
        std::string piece = Json::valueToQuotedString(character.c_str());
        const Secret::ScopedWipe wipePiece(piece);
        quoted.append(piece, 1, piece.size() - 2);
    }
    quoted += '"';
    return quoted;
}

// What the style's writer writes.
template <Style STYLE>
std::string WriteAs(const Json::Value& root)
{
    const auto make = [] {
        Json::StreamWriterBuilder settings;
        if constexpr (STYLE == Style::Compact) {
            settings["indentation"] = "";
        }
        return settings;
    };
    return Base::WithKeptByThread(
        make, [&root](const Json::StreamWriterBuilder& settings) { return Base::WriteJson(settings, root); });
}

} // namespace

bool Parse(const std::string& text, Json::Value& root)
{
    if (!Base::HasBoundedStructure(text)) {
        return false;
    }
    try {
        return Base::WithKeptByThread([] { return Base::JsonReader(); },
                                      [&](Base::JsonReader& reader) { return reader.Read(text, root); });
    } catch (const std::exception&) {
        return false; // out of memory
    }
}

std::string Write(const Json::Value& root, Style style)
{
    std::string text = style == Style::Compact ? WriteAs<Style::Compact>(root) : WriteAs<Style::Indented>(root);
    boost::trim(text);
    return text;
}

std::string WriteWithSecret(Json::Value root, const std::string& name, const std::string& secret, Style style)
{
    root[name] = SECRET_MARK;
    const std::string marked = Write(root, style);
    const std::string quotedMark = Json::valueToQuotedString(SECRET_MARK);
    const std::string separator = style == Style::Compact ? ":" : " : ";
    const std::string member = Json::valueToQuotedString(name.c_str()) + separator + quotedMark;
    const std::size_t position = marked.find(member) + member.size() - quotedMark.size();

    std::string quoted = Quote(secret);
    const Secret::ScopedWipe wipeQuoted(quoted);
    std::string text;
    text.reserve(marked.size() + quoted.size()); // one buffer: no copy is left behind by growth
    text.append(marked, 0, position).append(quoted).append(marked, position + quotedMark.size(), std::string::npos);
    return text;
}

void WipeTexts(Json::Value& root) noexcept
{
    const char* begin = nullptr;
    const char* end = nullptr;
    if (root.getString(&begin, &end)) { // it is a text
        // The JSON library has no way to overwrite a text where it stands; the bytes are the value's own.
        Secret::WipeBytes(const_cast<char*>(begin), static_cast<std::size_t>(end - begin)); // NOLINT(*-const-cast)
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
