#ifndef PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_RAW_SERVER_H
#define PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_RAW_SERVER_H

#include "base/descriptor.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// A server on the loopback that deals with each connection by a function of the test's, and for the rest knows nothing
/// of HTTP: what arrives is what was sent, and the answer may be as wrong as one likes.
class RawServer {
public:
    /// Deals with the connected socket, which is closed afterwards. Connections come one after the other.
    using Handler = std::function<void(int socket)>;

    explicit RawServer(const Handler& handler);

    /// Reads one request, records it, answers it with `answer` and hangs up.
    explicit RawServer(const std::string& answer);

    RawServer(const RawServer&) = delete;
    RawServer& operator=(const RawServer&) = delete;
    ~RawServer();

    int Port() const { return m_port; }
    std::string Url(const std::string& rest) const;
    std::size_t ConnectionCount() const;

    /// Returns when so many connections were closed, which their clients can see from then on.
    void AwaitClosed(std::size_t count) const;
    std::vector<std::string> Requests() const;

private:
    void Serve();

    const Handler m_handler;
    Base::Descriptor m_listener;
    Base::Descriptor m_stop; ///< closed when it is to stop
    Base::Descriptor m_toldToStop;
    int m_port = 0;
    mutable std::mutex m_mutex;
    std::size_t m_connectionCount = 0;   // guarded by m_mutex
    std::vector<std::string> m_requests; // guarded by m_mutex
    std::size_t m_closedCount = 0;       // guarded by m_mutex
    mutable std::condition_variable m_closed;
    std::thread m_thread;
};

/// Reads one HTTP request: its head, and a body of the length that it tells.
std::string ReadRequest(int socket);

void SendText(int socket, const std::string& text);

#endif
