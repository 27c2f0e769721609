#include "framework/http/plain_headers.h"

#include "framework/http/header_name.h"

#include <algorithm>
#include <array>

namespace Framework {

namespace {

constexpr std::array<std::string_view, 20> PLAIN = {
    "Content-Type",
    "Content-Length",
    "Date",
    "Server",
    "Connection",
    "Keep-Alive",
    "Transfer-Encoding",
    "Content-Encoding",
    "Content-Language",
    "Cache-Control",
    "Expires",
    "Pragma",
    "Vary",
    "Last-Modified",
    "Strict-Transport-Security",
    "Content-Security-Policy",
    "X-Content-Type-Options",
    "X-Frame-Options",
    "X-XSS-Protection",
    "X-Download-Options",
};

} // namespace

bool IsPlainHeadLine(std::string_view line)
{
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) {
        return line == "\r\n" || line == "\n" || line.substr(0, 5) == "HTTP/";
    }
    const std::string_view name = line.substr(0, colon);
    return std::any_of(PLAIN.begin(), PLAIN.end(), [&](std::string_view plain) { return IsSameHeader(name, plain); });
}

} // namespace Framework
