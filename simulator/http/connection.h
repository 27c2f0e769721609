#ifndef ZAVSIM_HTTP_CONNECTION_H
#define ZAVSIM_HTTP_CONNECTION_H

#include "base/openssl_handles.h"
#include "simulator/http/handler.h"

#include <httplib.h>

#include <array>

namespace ZavSim {

/// One accepted connection, with or without TLS: the HTTP library reads and writes through it, and it can be cut at
/// will.
///
/// It belongs to the thread that serves it; ShutDown alone may come from any thread while the object lives.
class Connection final : public httplib::Stream, public Peer {
public:
    /// Takes the socket over. `context` is null for plain HTTP, else it must outlive the connection.
    Connection(socket_t socket, SSL_CTX* context);
    ~Connection() override;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    std::uint64_t Number() const noexcept { return m_number; }

    /// The TLS handshake, if there is one to do; false when the client does not go along.
    bool Open();

    /// True when there is something to read, or the client has closed; false after the idle time.
    bool WaitRequest(std::chrono::milliseconds idle) const;

    bool WaitGone(std::optional<std::chrono::milliseconds> limit) override;

    /// From here on nothing is written, and the connection is not used for another request.
    void Sever() noexcept { m_severed = true; }
    bool IsSevered() const noexcept { return m_severed; }

    /// Wakes the serving thread: reading ends, writing fails.
    void ShutDown() const noexcept;

    bool is_readable() const override;
    bool is_writable() const override;
    ssize_t read(char* data, std::size_t size) override;
    ssize_t write(const char* data, std::size_t size) override;
    using httplib::Stream::write;
    void get_remote_ip_and_port(std::string& ip, int& port) const override;
    void get_local_ip_and_port(std::string& ip, int& port) const override;
    socket_t socket() const override { return m_socket; }

private:
    bool HasBuffered() const noexcept { return m_begin < m_end; }
    bool Poll(short events, int milliseconds) const;
    ssize_t ReadSocket(char* data, std::size_t size);
    ssize_t WriteSocket(const char* data, std::size_t size);

    const socket_t m_socket;
    const std::uint64_t m_number;
    const bool m_isTls;
    Base::TlsHandle m_tls;
    bool m_severed = false;
    std::array<char, 16384> m_buffer; ///< the library reads single bytes; m_begin … m_end are yet to be given
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
};

} // namespace ZavSim

#endif
