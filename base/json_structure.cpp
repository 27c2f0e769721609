#include "base/json_structure.h"

namespace Base {

namespace {

// Where a comment that begins at `start` ends.
std::size_t EndOfComment(std::string_view text, std::size_t start)
{
    const bool isLine = text[start + 1] == '/';
    const std::size_t end = isLine ? text.find_first_of("\r\n", start) : text.find("*/", start + 2);
    return end == std::string_view::npos ? text.size() : end + (isLine ? 0 : 1);
}

} // namespace

bool HasBoundedStructure(std::string_view text)
{
    constexpr std::size_t MOST = 3'000'000;
    if (text.size() <= MOST) {
        return true; // each takes a character at the least
    }
    std::size_t count = 0;
    bool isInText = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char character = text[i];
        if (isInText) {
            i += character == '\\' ? 1U : 0U;
            isInText = character != '"';
        } else if (character == '"') {
            isInText = true;
        } else if (character == '/' && i + 1 < text.size() && (text[i + 1] == '/' || text[i + 1] == '*')) {
            i = EndOfComment(text, i);
        } else if (character == '{' || character == '[' || character == ',') {
            ++count;
        }
    }
    return count <= MOST;
}

} // namespace Base
