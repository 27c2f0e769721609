#include "simulator/http/listener.h"

namespace ZavSim {

Listener::Listener(IoThreads& threads, ListenAddress address, Dispatcher& dispatcher, ContextSource contextSource,
                   const ServerLimits& limits)
    : m_threads(threads)
    , m_dispatcher(dispatcher)
    , m_contextSource(std::move(contextSource))
    , m_limits(limits)
    , m_address(std::move(address))
{
}

std::string Listener::Url() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_address.Url();
}

void Listener::Start()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!m_acceptor) {
        m_acceptor = Acceptor::Open(m_threads, m_address, m_dispatcher,
                                    m_address.tls ? m_contextSource() : Base::TlsContextHandle(), m_limits);
    }
}

void Listener::Stop()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_acceptor) {
        m_acceptor->Close();
        m_acceptor.reset();
    }
}

bool Listener::IsListening() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_acceptor != nullptr;
}

} // namespace ZavSim
