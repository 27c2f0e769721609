#include "simulator/http/connection.h"

#include <openssl/err.h>

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>

namespace ZavSim {

namespace {

constexpr int WRITE_WAIT_MILLISECONDS = 30000;

std::atomic<std::uint64_t> g_lastConnection{0};

void Describe(const sockaddr_storage& address, std::string& ip, int& port)
{
    char text[INET6_ADDRSTRLEN] = "";
    if (address.ss_family == AF_INET) {
        const auto& v4 = reinterpret_cast<const sockaddr_in&>(address);
        ::inet_ntop(AF_INET, &v4.sin_addr, text, sizeof text);
        port = ntohs(v4.sin_port);
    } else if (address.ss_family == AF_INET6) {
        const auto& v6 = reinterpret_cast<const sockaddr_in6&>(address);
        ::inet_ntop(AF_INET6, &v6.sin6_addr, text, sizeof text);
        port = ntohs(v6.sin6_port);
    }
    ip = text;
}

} // namespace

Connection::Connection(socket_t socket, SSL_CTX* context)
    : m_socket(socket)
    , m_number(++g_lastConnection)
    , m_isTls(context != nullptr)
    , m_tls(context == nullptr ? nullptr : SSL_new(context))
{
    // Header and body leave in two writes; without this the second would wait for the client's delayed acknowledgement.
    const int on = 1;
    ::setsockopt(m_socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

Connection::~Connection()
{
    if (m_tls && !m_severed && SSL_is_init_finished(m_tls.get()) != 0) {
        SSL_shutdown(m_tls.get()); // says goodbye without waiting for the client's
    }
    ERR_clear_error();
    ::close(m_socket);
}

bool Connection::Open()
{
    if (!m_isTls) {
        return true;
    }
    const bool done = m_tls != nullptr && SSL_set_fd(m_tls.get(), m_socket) == 1 && SSL_accept(m_tls.get()) == 1;
    ERR_clear_error();
    return done;
}

bool Connection::Poll(short events, int milliseconds) const
{
    pollfd descriptor{m_socket, events, 0};
    int ready = ::poll(&descriptor, 1, milliseconds);
    while (ready < 0 && errno == EINTR) {
        ready = ::poll(&descriptor, 1, milliseconds);
    }
    return ready > 0;
}

bool Connection::WaitRequest(std::chrono::milliseconds idle) const
{
    return is_readable() || Poll(POLLIN, static_cast<int>(idle.count()));
}

bool Connection::WaitGone(std::optional<std::chrono::milliseconds> limit)
{
    return Poll(POLLRDHUP, limit ? static_cast<int>(limit->count()) : -1);
}

void Connection::ShutDown() const noexcept
{
    ::shutdown(m_socket, SHUT_RDWR);
}

bool Connection::is_readable() const
{
    return HasBuffered() || (m_tls && SSL_pending(m_tls.get()) > 0);
}

bool Connection::is_writable() const
{
    return !m_severed && Poll(POLLOUT, WRITE_WAIT_MILLISECONDS);
}

ssize_t Connection::read(char* data, std::size_t size)
{
    if (!HasBuffered()) {
        const ssize_t count = ReadSocket(m_buffer.data(), m_buffer.size());
        if (count <= 0) {
            return count;
        }
        m_begin = 0;
        m_end = static_cast<std::size_t>(count);
    }
    const std::size_t count = std::min(size, m_end - m_begin);
    std::memcpy(data, m_buffer.data() + m_begin, count);
    m_begin += count;
    return static_cast<ssize_t>(count);
}

ssize_t Connection::ReadSocket(char* data, std::size_t size)
{
    if (m_tls) {
        const int count = SSL_read(m_tls.get(), data, static_cast<int>(size));
        if (count > 0) {
            return count;
        }
        const bool ended = SSL_get_error(m_tls.get(), count) == SSL_ERROR_ZERO_RETURN;
        ERR_clear_error();
        return ended ? 0 : -1;
    }
    ssize_t count = ::recv(m_socket, data, size, 0);
    while (count < 0 && errno == EINTR) {
        count = ::recv(m_socket, data, size, 0);
    }
    return count;
}

ssize_t Connection::write(const char* data, std::size_t size)
{
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = m_severed ? -1 : WriteSocket(data + done, size - done);
        if (count <= 0) {
            return -1;
        }
        done += static_cast<std::size_t>(count);
    }
    return static_cast<ssize_t>(done);
}

ssize_t Connection::WriteSocket(const char* data, std::size_t size)
{
    if (m_tls) {
        const int count = SSL_write(m_tls.get(), data, static_cast<int>(std::min<std::size_t>(size, 1U << 30U)));
        ERR_clear_error();
        return count;
    }
    ssize_t count = ::send(m_socket, data, size, MSG_NOSIGNAL);
    while (count < 0 && errno == EINTR) {
        count = ::send(m_socket, data, size, MSG_NOSIGNAL);
    }
    return count;
}

void Connection::get_remote_ip_and_port(std::string& ip, int& port) const
{
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    if (::getpeername(m_socket, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
        Describe(address, ip, port);
    }
}

void Connection::get_local_ip_and_port(std::string& ip, int& port) const
{
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    if (::getsockname(m_socket, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
        Describe(address, ip, port);
    }
}

} // namespace ZavSim
