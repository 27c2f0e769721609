#ifndef PRODUCT_STORAGE_BASE_HOST_PORT_H
#define PRODUCT_STORAGE_BASE_HOST_PORT_H

#include <optional>
#include <string>

/// Texts of hosts and ports, in which an IPv6 address stands in brackets wherever something may follow it.
namespace Base {

/// `host`, in brackets when it is an IPv6 address that stands in none.
std::string BracketedHost(const std::string& host);

/// `host` without the brackets around it, if it stands in some.
std::string BareHost(const std::string& host);

/// "10.0.0.1:3260", "[fd00::1]:3260"; `host` may stand in brackets already.
std::string HostAndPort(const std::string& host, unsigned int port);

/// Parts "host", "host:port", "[host]", "[host]:port", or an IPv6 address without brackets, which has no port. `host`
/// receives the bare host, `port` what stands behind the colon. Nothing is said about either but that the brackets
/// match.
struct HostPort {
    std::string host;
    std::optional<std::string> port;
    bool isBracketed = false;
};
std::optional<HostPort> SplitHostPort(const std::string& text);

/// A decimal number from 0 to 65535 and nothing else.
std::optional<int> ParsePort(const std::string& text);

/// True for a numeric IPv4 or IPv6 address without brackets.
bool IsNumericAddress(const std::string& text);
bool IsIpv6Address(const std::string& text);

/// True for 127.0.0.0/8 and ::1, also when the latter wraps an IPv4 address.
bool IsLoopbackAddress(const std::string& address);

} // namespace Base

#endif
