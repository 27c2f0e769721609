#include "base/host_port.h"

#include <arpa/inet.h>

#include <charconv>

namespace Base {

namespace {

bool IsAddress(int family, const std::string& text)
{
    in6_addr address{};
    return inet_pton(family, text.c_str(), &address) == 1;
}

bool IsInBrackets(const std::string& host)
{
    return host.size() > 2 && host.front() == '[' && host.back() == ']';
}

} // namespace

std::string BracketedHost(const std::string& host)
{
    const bool isBareIpv6 = host.find(':') != std::string::npos && host.front() != '[';
    return isBareIpv6 ? "[" + host + "]" : host;
}

std::string BareHost(const std::string& host)
{
    return IsInBrackets(host) ? host.substr(1, host.size() - 2) : host;
}

std::string HostAndPort(const std::string& host, unsigned int port)
{
    return BracketedHost(host) + ":" + std::to_string(port);
}

std::optional<HostPort> SplitHostPort(const std::string& text)
{
    HostPort parts;
    std::string rest;
    if (!text.empty() && text.front() == '[') {
        const std::size_t end = text.find(']');
        if (end == std::string::npos) {
            return std::nullopt;
        }
        parts.isBracketed = true;
        parts.host = text.substr(1, end - 1);
        rest = text.substr(end + 1);
    } else {
        const std::size_t colon = text.find(':');
        const bool isBareIpv6 = colon != std::string::npos && text.find(':', colon + 1) != std::string::npos;
        parts.host = isBareIpv6 ? text : text.substr(0, colon);
        rest = text.substr(parts.host.size());
    }
    if (!rest.empty() && rest.front() != ':') {
        return std::nullopt;
    }
    if (!rest.empty()) {
        parts.port = rest.substr(1);
    }
    return parts;
}

std::optional<int> ParsePort(const std::string& text)
{
    constexpr int LAST_PORT = 65535;
    int port = -1;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, port);
    return error == std::errc() && stop == end && port >= 0 && port <= LAST_PORT ? std::optional(port) : std::nullopt;
}

bool IsIpv6Address(const std::string& text)
{
    return IsAddress(AF_INET6, text);
}

bool IsNumericAddress(const std::string& text)
{
    return IsAddress(AF_INET, text) || IsIpv6Address(text);
}

bool IsLoopbackAddress(const std::string& address)
{
    const std::string wrapped = "::ffff:";
    const std::string bare = address.rfind(wrapped, 0) == 0 ? address.substr(wrapped.size()) : address;
    return bare == "::1" || (IsNumericAddress(bare) && bare.rfind("127.", 0) == 0);
}

} // namespace Base
