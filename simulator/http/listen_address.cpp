#include "simulator/http/listen_address.h"

#include "base/host_port.h"

#include <stdexcept>

namespace ZavSim {

std::string ListenAddress::Url() const
{
    return (tls ? "https://" : "http://") + Base::HostAndPort(host, static_cast<unsigned int>(port));
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
    const auto parts = Base::SplitHostPort(text.substr(text.find("//") + 2));
    if (!parts || !parts->port) {
        return reject("it must end with a colon and a port");
    }
    address.host = parts->host;
    if (!Base::IsNumericAddress(address.host) || parts->isBracketed != Base::IsIpv6Address(address.host)) {
        return reject("the host must be an IPv4 address, or an IPv6 address in brackets");
    }
    const auto port = Base::ParsePort(*parts->port);
    if (!port) {
        return reject("the port must be a number from 0 to 65535");
    }
    address.port = *port;
    return address;
}

} // namespace ZavSim
