#include "simulator/http/target.h"

#include <cctype>

namespace ZavSim {

std::vector<std::string> Split(const std::string& text, char separator)
{
    std::vector<std::string> pieces;
    std::size_t begin = 0;
    for (std::size_t end = text.find(separator); end != std::string::npos; end = text.find(separator, begin)) {
        pieces.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    pieces.push_back(text.substr(begin));
    return pieces;
}

std::string_view WithoutAuthority(std::string_view target)
{
    const std::size_t scheme = target.find("://");
    if (scheme == std::string_view::npos || target.find_first_of("/?") < scheme) {
        return target;
    }
    const std::size_t path = target.find('/', scheme + 3);
    return path == std::string_view::npos ? "/" : target.substr(path);
}

std::optional<std::string> DecodePercent(const std::string& text)
{
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            decoded += text[i];
            continue;
        }
        const std::string digits = text.substr(i + 1, 2);
        if (digits.size() != 2 || std::isxdigit(static_cast<unsigned char>(digits[0])) == 0 ||
            std::isxdigit(static_cast<unsigned char>(digits[1])) == 0) {
            return std::nullopt;
        }
        decoded += static_cast<char>(std::stoi(digits, nullptr, 16));
        i += 2;
    }
    return decoded;
}

std::optional<Target> ParseTarget(const std::string& target)
{
    Target parsed;
    const std::size_t mark = target.find('?');
    const std::size_t skip = !target.empty() && target.front() == '/' ? 1 : 0;
    for (const std::string& piece : Split(target.substr(skip, mark == std::string::npos ? mark : mark - skip), '/')) {
        const auto decoded = DecodePercent(piece);
        if (!decoded) {
            return std::nullopt;
        }
        parsed.pieces.push_back(*decoded);
    }
    if (mark == std::string::npos) {
        return parsed;
    }
    for (const std::string& pair : Split(target.substr(mark + 1), '&')) {
        const std::size_t equals = pair.find('=');
        const auto key = DecodePercent(pair.substr(0, equals));
        const auto value = DecodePercent(equals == std::string::npos ? "" : pair.substr(equals + 1));
        if (!key || !value) {
            return std::nullopt;
        }
        if (!key->empty()) {
            parsed.query.emplace(*key, *value);
        }
    }
    return parsed;
}

} // namespace ZavSim
