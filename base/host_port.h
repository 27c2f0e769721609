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

/// A host and a port taken apart, as they stood in the text.
struct HostPort {
    std::string host;                ///< without brackets
    std::optional<std::string> port; ///< what stood behind the colon, if there was one
    bool isBracketed = false;        ///< the host stood in brackets, whatever it is
};

/// Parts "host", "host:port", "[host]", "[host]:port", or an IPv6 address without brackets, which has no port; nothing
/// when the brackets do not match, or something else than a port follows them. Host and port may be empty or anything.
std::optional<HostPort> SplitHostPort(const std::string& text);

/// A decimal number from 0 to 65535 and nothing else.
std::optional<int> ParsePort(const std::string& text);

/// True for a numeric IPv4 or IPv6 address without brackets.
bool IsNumericAddress(const std::string& text);
bool IsIpv6Address(const std::string& text);

/// True for 127.0.0.0/8, also wrapped in an IPv6 address ("::ffff:127.0.0.1"), and for ::1.
bool IsLoopbackAddress(const std::string& address);

} // namespace Base

#endif
