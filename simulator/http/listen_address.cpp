#include "simulator/http/listen_address.h"

#include <arpa/inet.h>

#include <charconv>
#include <stdexcept>

namespace ZavSim {

namespace {

constexpr int LAST_PORT = 65535;

int ParsePort(const std::string& text)
{
    int port = -1;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, port);
    return error == std::errc() && stop == end && port <= LAST_PORT ? port : -1;
}

} // namespace

bool IsNumericAddress(const std::string& text)
{
    in6_addr address{};
    return ::inet_pton(AF_INET, text.c_str(), &address) == 1 || ::inet_pton(AF_INET6, text.c_str(), &address) == 1;
}

bool IsLoopback(const std::string& address)
{
    const std::string wrapped = "::ffff:";
    const std::string bare = address.rfind(wrapped, 0) == 0 ? address.substr(wrapped.size()) : address;
    return bare == "::1" || (IsNumericAddress(bare) && bare.rfind("127.", 0) == 0);
}

std::string ListenAddress::Url() const
{
    const std::string shownHost = host.find(':') == std::string::npos ? host : "[" + host + "]";
    return (tls ? "https://" : "http://") + shownHost + ":" + std::to_string(port);
}

ListenAddress ParseListenAddress(const std::string& text)
{
    const auto reject = [&text](const char* what) -> ListenAddress {
        throw std::invalid_argument("\"" + text + "\" is not a listen address: " + what);
    };
    ListenAddress address;
    address.tls = text.rfind("https://", 0) == 0;
    if (!address.tls && text.rfind("http://", 0) != 0) {
        return reject("it must begin with https:// or http://");
    }
    const std::string rest = text.substr(text.find("//") + 2);
    const std::size_t colon = rest.rfind(':');
    if (colon == std::string::npos) {
        return reject("it must end with a colon and a port");
    }
    address.host = rest.substr(0, colon);
    const bool bracketed = address.host.size() > 2 && address.host.front() == '[' && address.host.back() == ']';
    if (bracketed) {
        address.host = address.host.substr(1, address.host.size() - 2);
    }
    if (!IsNumericAddress(address.host) || bracketed != (address.host.find(':') != std::string::npos)) {
        return reject("the host must be an IPv4 address, or an IPv6 address in brackets");
    }
    address.port = ParsePort(rest.substr(colon + 1));
    if (address.port < 0) {
        return reject("the port must be a number from 0 to 65535");
    }
    return address;
}

} // namespace ZavSim
