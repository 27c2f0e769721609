#ifndef ZAVSIM_HTTP_LISTENER_H
#define ZAVSIM_HTTP_LISTENER_H

#include "simulator/http/http_server.h"

#include <functional>
#include <memory>
#include <thread>

namespace ZavSim {

/// One address that can be taken down and put up again. Any thread may call, one that serves a request on it included.
class Listener {
public:
    using ContextSource = std::function<Base::TlsContextHandle()>;

    /// `contextSource` is asked at every start of an https address.
    Listener(ListenAddress address, Dispatcher& dispatcher, ContextSource contextSource, const ServerLimits& limits);
    ~Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    /// The port is the real one from the first start on.
    std::string Url() const;

    /// Clients can connect when it returns; nothing happens when they could before. Throws std::runtime_error naming
    /// the address and why.
    void Start();

    /// Nobody can connect when it returns, and the connections are closed but for one on which the calling thread still
    /// has an answer to give.
    void Stop();
    bool IsListening() const;

private:
    void Join();

    Dispatcher& m_dispatcher;
    const ContextSource m_contextSource;
    const ServerLimits m_limits;
    mutable std::mutex m_lock;
    ListenAddress m_address;              // guarded by m_lock
    std::unique_ptr<HttpServer> m_server; // guarded by m_lock; replaced only after m_thread has ended
    std::thread m_thread;                 // guarded by m_lock
    std::atomic<bool> m_listening{false};
};

} // namespace ZavSim

#endif
