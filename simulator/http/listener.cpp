#include "simulator/http/listener.h"

#include <iostream>
#include <stdexcept>

namespace ZavSim {

Listener::Listener(ListenAddress address, Dispatcher& dispatcher, ContextSource contextSource,
                   const ServerLimits& limits)
    : m_dispatcher(dispatcher)
    , m_contextSource(std::move(contextSource))
    , m_limits(limits)
    , m_address(std::move(address))
{
}

Listener::~Listener()
{
    Stop();
    const std::lock_guard<std::mutex> guard(m_lock);
    Join();
}

std::string Listener::Url() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_address.Url();
}

void Listener::Start()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_listening) {
        return;
    }
    if (m_server && m_server->IsServingHere()) {
        throw std::runtime_error(m_address.Url() + " cannot be started through a connection of its own");
    }
    Join();
    m_server = std::make_unique<HttpServer>(m_dispatcher, m_address.tls ? m_contextSource() : Base::TlsContextHandle(),
                                            m_limits);
    m_server->Open(m_address);
    m_listening = true;
    m_thread = std::thread([this, server = m_server.get(), url = m_address.Url()] {
        if (!server->Run()) {
            std::cerr << "zavsim: " << url << " ended by itself" << std::endl;
            m_listening = false;
        }
    });
}

void Listener::Stop()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_server) {
        m_listening = false;
        m_server->Halt();
    }
}

bool Listener::IsListening() const
{
    return m_listening;
}

void Listener::Join()
{
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

} // namespace ZavSim
