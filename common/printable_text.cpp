#include "common/printable_text.h"

namespace {

constexpr unsigned char DELETE = 0x7F;

void Append(std::string& text, char character)
{
    constexpr char DIGITS[] = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(character);
    if (byte >= ' ' && byte != DELETE) {
        text += character;
        return;
    }
    text += "\\x";
    text += DIGITS[byte >> 4U];
    text += DIGITS[byte & 0xFU];
}

} // namespace

std::string PrintableText(const std::vector<std::string>& lines, std::size_t limit)
{
    std::string text;
    for (const std::string& line : lines) {
        text += text.empty() ? "" : "; ";
        for (const char character : line) {
            Append(text, character);
            if (text.size() > limit) {
                text.resize(limit);
                return text + "...";
            }
        }
    }
    return text;
}
