#include "simulator/node/portal.h"

#include "simulator/base/file_io.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <charconv>

namespace ZavSimNode {

namespace {

constexpr int LAST_PORT = 65535;

bool IsAddress(int family, const std::string& text)
{
    in6_addr address{};
    return ::inet_pton(family, text.c_str(), &address) == 1;
}

std::optional<int> ParsePort(const std::string& text)
{
    int port = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, port);
    return error == std::errc() && stop == end && port > 0 && port <= LAST_PORT ? std::optional(port) : std::nullopt;
}

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
    return (host.find(':') == std::string::npos ? host : "[" + host + "]") + ":" + std::to_string(port);
}

std::string Portal::ForLines() const
{
    return host + "," + std::to_string(port);
}

std::optional<Portal> ParsePortal(const std::string& text)
{
    if (IsAddress(AF_INET6, text)) {
        return Portal{text};
    }
    const bool bracketed = !text.empty() && text.front() == '[';
    const std::size_t hostEnd = text.find(bracketed ? ']' : ':');
    const std::string host = text.substr(bracketed ? 1 : 0, bracketed ? hostEnd - 1 : hostEnd);
    if ((bracketed && hostEnd == std::string::npos) || !IsAddress(bracketed ? AF_INET6 : AF_INET, host)) {
        return std::nullopt;
    }
    const std::string rest = hostEnd == std::string::npos ? "" : text.substr(hostEnd + (bracketed ? 1 : 0));
    if (rest.empty()) {
        return Portal{host};
    }
    const auto port = rest.front() == ':' ? ParsePort(rest.substr(1)) : std::nullopt;
    return port ? std::optional(Portal{host, *port}) : std::nullopt;
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
    const ZavSim::Descriptor socket(::socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    int error = 0;
    if (!socket.IsOpen() || ::connect(socket.Get(), found->ai_addr, found->ai_addrlen) != 0) {
        error = errno;
    }
    ::freeaddrinfo(found);
    return error == EINPROGRESS ? FinishConnect(socket.Get(), limit) : error;
}

} // namespace ZavSimNode
