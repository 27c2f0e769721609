#include "standin/portal.h"

#include "base/descriptor.h"
#include "base/host_port.h"

#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>

namespace ZavSimNode {

namespace {

int FinishConnect(int socket, std::chrono::milliseconds limit)
{
    pollfd waiting{socket, POLLOUT, 0};
    if (::poll(&waiting, 1, static_cast<int>(limit.count())) <= 0) {
        return ETIMEDOUT;
    }
    int error = 0;
    socklen_t length = sizeof error;
    return ::getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &length) == 0 ? error : errno;
}

} // namespace

std::string Portal::ForUrl() const
{
    return Base::HostAndPort(host, static_cast<unsigned int>(port));
}

std::string Portal::ForLines() const
{
    return host + "," + std::to_string(port);
}

std::optional<Portal> ParsePortal(const std::string& text)
{
    const auto parts = Base::SplitHostPort(text);
    // What stands in brackets is an IPv6 address; without them one has no port.
    if (!parts || !Base::IsNumericAddress(parts->host) || (parts->isBracketed && !Base::IsIpv6Address(parts->host))) {
        return std::nullopt;
    }
    if (!parts->port) {
        return Portal{parts->host};
    }
    const auto port = Base::ParsePort(*parts->port);
    return port && *port > 0 ? std::optional(Portal{parts->host, *port}) : std::nullopt;
}

int TryConnect(const Portal& portal, std::chrono::milliseconds limit)
{
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (::getaddrinfo(portal.host.c_str(), std::to_string(portal.port).c_str(), &hints, &found) != 0) {
        return EADDRNOTAVAIL;
    }
    const Base::Descriptor socket(::socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    int error = 0;
    if (!socket.IsOpen() || ::connect(socket.Get(), found->ai_addr, found->ai_addrlen) != 0) {
        error = errno;
    }
    ::freeaddrinfo(found);
    return error == EINPROGRESS ? FinishConnect(socket.Get(), limit) : error;
}

} // namespace ZavSimNode
