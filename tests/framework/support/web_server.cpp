#include "tests/framework/support/web_server.h"

#include "base/host_port.h"

#include <stdexcept>

Base::TlsContextHandle ServerContext(const Identity& identity)
{
    Base::TlsContextHandle context(SSL_CTX_new(TLS_server_method()));
    if (context == nullptr || SSL_CTX_use_certificate(context.get(), identity.certificate.get()) != 1 ||
        SSL_CTX_use_PrivateKey(context.get(), identity.key.get()) != 1) {
        throw std::runtime_error("the identity cannot be used");
    }
    return context;
}

WebServer::WebServer(const std::string& address)
    : WebServer("http", address, nullptr)
{
}

WebServer::WebServer(const Identity& identity, const std::string& address)
    : WebServer("https", address, ServerContext(identity))
{
}

WebServer::WebServer(std::string scheme, const std::string& address, Base::TlsContextHandle context)
    : m_scheme(std::move(scheme))
    , m_address(address)
    , m_server(
          address, [this](const ServedRequest& request, HttpReply& reply) { Serve(request, reply); },
          std::move(context))
{
}

void WebServer::On(const std::string& path, const Handler& handler)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_handlers[path] = handler;
}

void WebServer::Answer(const std::string& method, const std::string& target, const std::string& body)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_answers[{method, target}] = body;
}

void WebServer::Serve(const ServedRequest& request, HttpReply& reply)
{
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_requests.push_back(request);
        m_clientPorts.insert(request.peerPort);
    }
    FindHandler(request)(request, reply);
}

WebServer::Handler WebServer::FindHandler(const ServedRequest& request) const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    const auto handler = m_handlers.find(request.Path());
    if (handler != m_handlers.end()) {
        return handler->second;
    }
    const auto answer = m_answers.find({request.method, request.target});
    if (answer == m_answers.end()) {
        return [](const ServedRequest&, HttpReply& reply) { reply.status = 404; };
    }
    return [body = answer->second](const ServedRequest&, HttpReply& reply) { reply.body = body; };
}

std::string WebServer::Url(const std::string& rest) const
{
    return m_scheme + "://" + Base::HostAndPort(m_address, static_cast<unsigned int>(Port())) + rest;
}

std::vector<ServedRequest> WebServer::Requests() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_requests;
}

std::size_t WebServer::ConnectionCount() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_clientPorts.size();
}
