#include "framework/http/request_check.h"

#include "framework/http/header_name.h"

#include <algorithm>
#include <string_view>

namespace Framework {

namespace {

bool IsControl(char character)
{
    return static_cast<unsigned char>(character) < 0x20 || character == 0x7f;
}

bool HasControl(const std::string& text)
{
    return std::any_of(text.begin(), text.end(), IsControl);
}

// A word that HTTP allows for a method or a header's name.
bool IsToken(const std::string& text)
{
    constexpr std::string_view SEPARATORS = "()<>@,;:\\\"/[]?={} ";
    return !text.empty() && std::none_of(text.begin(), text.end(), [&](char character) {
        return IsControl(character) || static_cast<unsigned char>(character) >= 0x80 ||
               SEPARATORS.find(character) != std::string_view::npos;
    });
}

// The headers that tell how long the body is are the client's own.
bool IsFraming(const std::string& name)
{
    return IsSameHeader(name, "Content-Length") || IsSameHeader(name, "Transfer-Encoding");
}

// The name as a message can show it.
std::string Printable(std::string text)
{
    std::replace_if(text.begin(), text.end(), IsControl, '?');
    return text;
}

} // namespace

std::string FindRequestProblem(const TMSHttpRequest& request)
{
    if (!IsToken(request.method)) {
        return "the method \"" + Printable(request.method) + "\" is no word";
    }
    for (const auto& [name, value] : request.headers) {
        if (!IsToken(name)) {
            return "the header name \"" + Printable(name) + "\" is no word";
        }
        if (HasControl(value)) {
            return "the header " + name + " has a control character in its value"; // which may be a secret
        }
        if (IsFraming(name)) {
            return "the header " + name + " is the client's own";
        }
    }
    return {};
}

} // namespace Framework
