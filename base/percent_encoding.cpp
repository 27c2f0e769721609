#include "base/percent_encoding.h"

#include <string_view>

namespace Base {

std::string PercentEncode(const std::string& text)
{
    constexpr char DIGITS[] = "0123456789ABCDEF";
    constexpr std::string_view PLAIN = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~";
    std::string encoded;
    for (const char character : text) {
        if (PLAIN.find(character) != std::string_view::npos) {
            encoded += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            encoded += '%';
            encoded += DIGITS[byte >> 4];
            encoded += DIGITS[byte & 0xF];
        }
    }
    return encoded;
}

} // namespace Base
