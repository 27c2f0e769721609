#ifndef ZAVSIM_HTTP_ACCEPTOR_H
#define ZAVSIM_HTTP_ACCEPTOR_H

#include "base/openssl_handles.h"
#include "simulator/http/dispatcher.h"
#include "simulator/http/io_threads.h"
#include "simulator/http/listen_address.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

namespace ZavSim {

class Connection;

/// How many clients at once and how patient with them.
struct ServerLimits {
    std::size_t connections = 256;          ///< open at once, by listener; more of them wait
    std::chrono::seconds keepAlive{60};     ///< how long a connection may lie idle
    std::chrono::seconds transfer{30};      ///< how long a handshake, a request or an answer may take
    std::size_t bodyBytes = 1024ULL * 1024; ///< of a request
};

/// A listening socket and the connections that came of it. Any thread may call. Each connection shares it, so that it
/// lives until the last one is gone.
class Acceptor : public std::enable_shared_from_this<Acceptor> {
    struct Key {}; // so that only Open can make one
    using Tcp = boost::asio::ip::tcp;

public:
    /// Opens the address: clients can connect when it returns. Sets the port when it was 0. `context` is null for plain
    /// HTTP. `threads` serve; `dispatcher` must outlive them. Throws std::runtime_error naming the address
    /// and why.
    static std::shared_ptr<Acceptor> Open(IoThreads& threads, ListenAddress& address, Dispatcher& dispatcher,
                                          Base::TlsContextHandle context, const ServerLimits& limits);

    Acceptor(Key key, IoThreads& threads, Tcp::acceptor opened, std::string url, Dispatcher& dispatcher,
             Base::TlsContextHandle context, const ServerLimits& limits);
    Acceptor(const Acceptor&) = delete;
    Acceptor& operator=(const Acceptor&) = delete;
    ~Acceptor();

    /// Closes the address, and the connections: no request that comes from now on is answered. One that is being
    /// carried out still gets its answer.
    void Close();
    bool IsClosed() const noexcept { return m_isClosed; }

    const std::string& Url() const noexcept { return m_url; }
    const ServerLimits& Limits() const noexcept { return m_limits; }
    Dispatcher& Requests() const noexcept { return m_dispatcher; }

    /// Called once by each of its connections when that is gone.
    void Forget(Connection& connection);

private:
    void AcceptNext();                                                          // requires m_lock
    void TellThatMoreWait(const std::string& cause, const std::string& remedy); // requires m_lock
    void OnAccepted(const boost::system::error_code& error, Tcp::socket socket);

    /// Makes a connection of it that Close finds. Throws where there is no memory for one, or OpenSSL refuses.
    std::shared_ptr<Connection> Take(Tcp::socket socket);

    IoThreads& m_threads;
    const std::string m_url;
    Dispatcher& m_dispatcher;
    const ServerLimits m_limits;
    std::optional<boost::asio::ssl::context> m_tls;
    std::atomic<bool> m_isClosed{false};
    std::mutex m_lock;
    // None once closed: the last connection may be gone later than the threads.
    std::optional<Tcp::acceptor> m_acceptor;         // guarded by m_lock
    std::optional<boost::asio::steady_timer> m_rest; // guarded by m_lock; before another try after a failed accept
    std::map<Connection*, std::weak_ptr<Connection>> m_connections; // guarded by m_lock
    bool m_isFull = false;                                          // guarded by m_lock; no accept is under way
    // Guarded by m_lock. How many connections were open when it was told that more wait; 0 when that is over, which it
    // is once no more than half of them are left: each one that ends lets in one that waits.
    std::size_t m_toldAt = 0;
};

} // namespace ZavSim

#endif
