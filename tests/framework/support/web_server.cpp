#include "tests/framework/support/web_server.h"

#include <stdexcept>

WebServer::WebServer(const std::string& address)
    : m_scheme("http")
    , m_server(std::make_unique<httplib::Server>())
{
    Start(address);
}

WebServer::WebServer(const Identity& identity, const std::string& address)
    : m_scheme("https")
    , m_server(std::make_unique<httplib::SSLServer>(identity.certificate.get(), identity.key.get()))
{
    Start(address);
}

WebServer::~WebServer()
{
    m_server->stop();
    m_thread.join();
}

void WebServer::Start(const std::string& address)
{
    m_host = address.find(':') == std::string::npos ? address : "[" + address + "]";
    m_server->set_keep_alive_max_count(1'000'000);
    m_server->set_keep_alive_timeout(2);
    m_server->set_tcp_nodelay(true);
    const auto serve = [this](const httplib::Request& request, httplib::Response& response) {
        Serve(request, response);
    };
    m_server->Get(".*", serve);
    m_server->Post(".*", serve);
    m_server->Put(".*", serve);
    m_server->Delete(".*", serve);
    m_port = m_server->bind_to_any_port(address.c_str());
    if (m_port <= 0) {
        throw std::runtime_error("no port to listen on");
    }
    m_thread = std::thread([this] { m_server->listen_after_bind(); });
    while (!m_server->is_running()) {
        std::this_thread::yield();
    }
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

void WebServer::Serve(const httplib::Request& request, httplib::Response& response)
{
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_requests.push_back(request);
        m_clientPorts.insert(request.remote_port);
    }
    FindHandler(request)(request, response);
}

WebServer::Handler WebServer::FindHandler(const httplib::Request& request) const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    const auto handler = m_handlers.find(request.path);
    if (handler != m_handlers.end()) {
        return handler->second;
    }
    const auto answer = m_answers.find({request.method, request.target});
    if (answer == m_answers.end()) {
        return [](const httplib::Request&, httplib::Response& response) { response.status = 404; };
    }
    return [body = answer->second](const httplib::Request&, httplib::Response& response) {
        response.set_content(body, "application/json");
    };
}

std::string WebServer::Url(const std::string& rest) const
{
    return m_scheme + "://" + m_host + ":" + std::to_string(m_port) + rest;
}

std::vector<httplib::Request> WebServer::Requests() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_requests;
}

std::size_t WebServer::ConnectionCount() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_clientPorts.size();
}
