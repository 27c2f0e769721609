#include "base/printable_text.h"

#include <algorithm>
#include <clocale>
#include <cstdint>
#include <cwchar>

namespace Base {

namespace {

// How many bytes the UTF-8 character at `start` has; 0 when there is none, or one that may not be encoded so.
std::size_t CharacterSize(std::string_view text, std::size_t start)
{
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[start + index]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80) {
        return 1;
    }
    const std::size_t size = lead >= 0xF0 && lead < 0xF5   ? 4
                             : lead >= 0xE0 && lead < 0xF0 ? 3
                             : lead >= 0xC2 && lead < 0xE0 ? 2
                                                           : 0;
    if (size == 0 || start + size > text.size()) {
        return 0;
    }
    std::uint32_t code = lead & (0x7FU >> size);
    for (std::size_t index = 1; index < size; ++index) {
        if ((byte(index) & 0xC0U) != 0x80U) {
            return 0;
        }
        code = code << 6U | (byte(index) & 0x3FU);
    }
    const bool isTooLong = (size == 3 && code < 0x800) || (size == 4 && code < 0x10000);
    const bool isNoCharacter = (code >= 0xD800 && code < 0xE000) || code > 0x10FFFF;
    return isTooLong || isNoCharacter ? 0 : size;
}

bool IsHarmful(std::string_view character)
{
    const auto lead = static_cast<unsigned char>(character.front());
    const bool isC1 = lead == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
    // U+202A to U+202E and U+2066 to U+2069 turn the direction: what stands behind them seems to stand elsewhere.
    const std::string_view turning = character.substr(0, 2);
    const auto last = static_cast<unsigned char>(character.back());
    const bool isTurn = character.size() == 3 && ((turning == "\xE2\x80" && last >= 0xAA && last <= 0xAE) ||
                                                  (turning == "\xE2\x81" && last >= 0xA6 && last <= 0xA9));
    const bool isNoXml = character == "\xEF\xBF\xBE" || character == "\xEF\xBF\xBF"; // U+FFFE and U+FFFF
    return lead < ' ' || lead == 0x7F || isC1 || isTurn || isNoXml;
}

void AppendEscaped(std::string& shown, std::string_view bytes)
{
    constexpr char DIGITS[] = "0123456789abcdef";
    for (const char character : bytes) {
        const auto byte = static_cast<unsigned char>(character);
        shown += "\\x";
        shown += DIGITS[byte >> 4U];
        shown += DIGITS[byte & 0xFU];
    }
}

} // namespace

std::string Printable(std::string_view text)
{
    std::string shown;
    shown.reserve(text.size());
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t size = CharacterSize(text, start);
        const std::string_view character = text.substr(start, size == 0 ? 1 : size);
        if (size == 0 || IsHarmful(character)) {
            AppendEscaped(shown, character);
        } else {
            shown += character;
        }
        start += character.size();
    }
    return shown;
}

std::size_t Columns(std::string_view text)
{
    static const locale_t utf8 =
        ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr); // every system with this C library has it
    const locale_t before = utf8 == nullptr ? nullptr : ::uselocale(utf8);
    std::size_t columns = 0;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t size = std::max<std::size_t>(CharacterSize(text, start), 1);
        wchar_t character = 0;
        std::mbstate_t state = {};
        const bool isKnown = std::mbrtowc(&character, text.data() + start, size, &state) == size;
        const int width = isKnown ? ::wcwidth(character) : 1;
        columns += static_cast<std::size_t>(std::max(width, 0));
        start += size;
    }
    if (before != nullptr) {
        ::uselocale(before);
    }
    return columns;
}

std::string PrintableCell(std::string_view text, std::size_t columns)
{
    std::string cell = Printable(text);
    const std::size_t taken = Columns(cell);
    return cell.append(taken < columns ? columns - taken : 0, ' ');
}

std::string PrintableLines(const std::vector<std::string>& lines, std::size_t limit)
{
    std::string text;
    for (const std::string& line : lines) {
        text += (text.empty() ? "" : "; ") + Printable(line);
        if (text.size() > limit) {
            std::size_t end = limit;
            while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) {
                --end; // not within a character
            }
            text.resize(end);
            return text + "...";
        }
    }
    return text;
}

} // namespace Base
