#include "tests/support/notify_socket.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <system_error>
#include <utility>

NotifySocket::NotifySocket(std::string address)
    : m_address(std::move(address))
    , m_socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0))
{
    sockaddr_un name = {};
    name.sun_family = AF_UNIX;
    std::memcpy(&name.sun_path, m_address.data(), m_address.size());
    if (m_address.front() == '@') {
        name.sun_path[0] = '\0';
    }
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + m_address.size());
    const timeval patience = {30, 0};
    if (::bind(m_socket.Get(), reinterpret_cast<const sockaddr*>(&name), length) != 0 ||
        ::setsockopt(m_socket.Get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience) != 0) {
        throw std::system_error(errno, std::generic_category(), m_address);
    }
}

std::string NotifySocket::Receive() const
{
    std::array<char, 4096> bytes;
    const ssize_t count = ::recv(m_socket.Get(), bytes.data(), bytes.size(), 0);
    if (count < 0) {
        throw std::runtime_error("no message came: " + std::generic_category().message(errno));
    }
    return {bytes.data(), static_cast<std::size_t>(count)};
}

std::string NotifySocket::ReceiveUntil(const std::string& line) const
{
    for (;;) {
        const std::string message = Receive();
        if (("\n" + message + "\n").find("\n" + line + "\n") != std::string::npos) {
            return message;
        }
    }
}
