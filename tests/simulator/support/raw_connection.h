#ifndef TESTS_SIMULATOR_SUPPORT_RAW_CONNECTION_H
#define TESTS_SIMULATOR_SUPPORT_RAW_CONNECTION_H

#include "base/descriptor.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <sys/socket.h>

#include <string>

namespace ZavSimTest {

/// A client that writes its bytes itself.
class RawConnection {
public:
    /// `receiveBytes`: how much may wait to be received; 0: as much as the system thinks fit.
    explicit RawConnection(const std::string& url, int receiveBytes = 0)
        : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        if (receiveBytes != 0) {
            EXPECT_EQ(0, ::setsockopt(m_socket.Get(), SOL_SOCKET, SO_RCVBUF, &receiveBytes, sizeof receiveBytes));
        }
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(url.substr(url.rfind(':') + 1))));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(0, ::connect(m_socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address));
    }

    void Send(const std::string& text) const
    {
        EXPECT_EQ(static_cast<ssize_t>(text.size()), ::send(m_socket.Get(), text.data(), text.size(), MSG_NOSIGNAL));
    }

    /// Sends no more, and goes on receiving.
    void EndSending() const { EXPECT_EQ(0, ::shutdown(m_socket.Get(), SHUT_WR)); }

    /// Until something is there to be received.
    void AwaitBytes() const
    {
        char byte = 0;
        EXPECT_EQ(1, ::recv(m_socket.Get(), &byte, 1, MSG_PEEK));
    }

    /// All that comes until `end` was among it or the server closed.
    std::string ReceiveUntil(const std::string& end) const
    {
        std::string text;
        char buffer[4096];
        std::size_t searched = 0;
        while (text.find(end, searched) == std::string::npos) {
            searched = text.size() > end.size() ? text.size() - end.size() : 0;
            const ssize_t count = ::recv(m_socket.Get(), buffer, sizeof buffer, 0);
            if (count <= 0) {
                break;
            }
            text.append(buffer, static_cast<std::size_t>(count));
        }
        return text;
    }

private:
    const Base::Descriptor m_socket;
};

} // namespace ZavSimTest

#endif
