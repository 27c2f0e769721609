#ifndef ZAVSIM_HTTP_LISTENER_H
#define ZAVSIM_HTTP_LISTENER_H

#include "simulator/http/acceptor.h"

#include <functional>

namespace ZavSim {

/// One address that can be taken down and put up again. Any thread may call, one that serves a request on it included.
class Listener {
public:
    using ContextSource = std::function<Base::TlsContextHandle()>;

    /// `contextSource` is asked at every start of an https address.
    Listener(IoThreads& threads, ListenAddress address, Dispatcher& dispatcher, ContextSource contextSource,
             const ServerLimits& limits);
    ~Listener() { Stop(); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    /// The port is the real one from the first start on.
    std::string Url() const;

    /// Clients can connect when it returns; nothing happens when they could before. Throws std::runtime_error naming
    /// the address and why.
    void Start();

    /// Nobody can connect when it returns, and no request that comes later is answered. One that is being carried out
    /// still gets its answer.
    void Stop();
    bool IsListening() const;

private:
    IoThreads& m_threads;
    Dispatcher& m_dispatcher;
    const ContextSource m_contextSource;
    const ServerLimits m_limits;
    mutable std::mutex m_lock;
    ListenAddress m_address;              // guarded by m_lock
    std::shared_ptr<Acceptor> m_acceptor; // guarded by m_lock; null while it does not listen
};

} // namespace ZavSim

#endif
