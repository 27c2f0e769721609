#include "simulator/http/http_server.h"

#include "simulator/http/worker_queue.h"

#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace ZavSim {

namespace {

// The library's own backlog of 5 would make a burst of clients wait a second for their second try.
constexpr int BACKLOG = 512;

constexpr const char* ACCEPT_ENCODING = "Accept-Encoding";

/// Where that header is kept from the library, which would compress whatever the quality of the offer, and untold to
/// the journal. No client can send a name with a colon.
constexpr const char* KEPT_ACCEPT_ENCODING = "Accept-Encoding:";

/// The connection that this thread serves, for the request handler, to which the library gives only the request.
thread_local Connection* t_connection = nullptr;
thread_local const HttpServer* t_server = nullptr;

HeaderList HeadersOf(const httplib::Request& request)
{
    HeaderList headers;
    for (const auto& [name, value] : request.headers) {
        headers.emplace_back(name == KEPT_ACCEPT_ENCODING ? ACCEPT_ENCODING : name, value);
    }
    return headers;
}

void KeepAcceptEncoding(httplib::Request& request)
{
    const auto [begin, end] = request.headers.equal_range(ACCEPT_ENCODING);
    const std::vector<std::pair<std::string, std::string>> kept(begin, end);
    request.headers.erase(begin, end);
    for (const auto& header : kept) {
        request.headers.emplace(KEPT_ACCEPT_ENCODING, header.second);
    }
}

void Fill(httplib::Response& response, const HttpAnswer& answer)
{
    response.status = answer.status;
    for (const auto& [name, value] : answer.headers) {
        response.set_header(name, value);
    }
    if (answer.delivery != Delivery::Cut) {
        response.set_content(answer.body, answer.contentType);
        return;
    }
    // The length of the whole is announced, half of it is sent, and a provider that fails makes the library hang up.
    response.set_content_provider(answer.body.size(), answer.contentType,
                                  [body = answer.body](std::size_t, std::size_t, httplib::DataSink& sink) {
                                      sink.write(body.data(), body.size() / 2);
                                      return false;
                                  });
}

/// Why the address cannot be had; the library does not say.
std::string WhyNot(const ListenAddress& address)
{
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV | AI_PASSIVE;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (::getaddrinfo(address.host.c_str(), std::to_string(address.port).c_str(), &hints, &found) != 0) {
        return "no such address";
    }
    const int probe = ::socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    ::setsockopt(probe, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const bool bound = ::bind(probe, found->ai_addr, found->ai_addrlen) == 0 && ::listen(probe, 1) == 0;
    std::string reason = bound ? "it was in use a moment ago" : std::strerror(errno);
    ::close(probe);
    ::freeaddrinfo(found);
    return reason;
}

} // namespace

/// Has Halt know of a connection while it is served.
class HttpServer::Registration {
public:
    Registration(HttpServer& server, Connection& connection)
        : m_server(server)
        , m_connection(connection)
    {
        t_connection = &connection;
        t_server = &server;
        const std::lock_guard<std::mutex> guard(m_server.m_lock);
        m_server.m_connections.insert(&m_connection);
    }
    ~Registration()
    {
        t_connection = nullptr;
        t_server = nullptr;
        const std::lock_guard<std::mutex> guard(m_server.m_lock);
        m_server.m_connections.erase(&m_connection);
    }
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

private:
    HttpServer& m_server;
    Connection& m_connection;
};

HttpServer::HttpServer(Dispatcher& dispatcher, Base::TlsContextHandle context, const ServerLimits& limits)
    : m_dispatcher(dispatcher)
    , m_context(std::move(context))
    , m_limits(limits)
{
    new_task_queue = [this] { return std::make_unique<WorkerQueue>(m_limits.connections).release(); };
    // The library would have SO_REUSEPORT set, with which a second simulator could take the same address unnoticed.
    set_socket_options([](socket_t socket) {
        const int on = 1;
        ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    });
    set_read_timeout(m_limits.transfer.count());
    set_write_timeout(m_limits.transfer.count());
    set_keep_alive_timeout(m_limits.keepAlive.count());
    set_keep_alive_max_count(INT32_MAX);
    set_payload_max_length(m_limits.bodyBytes);
    const auto answer = [this](const httplib::Request& request, httplib::Response& response) {
        Answer(request, response);
    };
    const char* const anything = "[\\s\\S]*";
    Get(anything, answer).Post(anything, answer).Put(anything, answer).Delete(anything, answer);
}

void HttpServer::Open(ListenAddress& address)
{
    const int port = address.port == 0 ? bind_to_any_port(address.host) : address.port;
    const bool bound = address.port == 0 ? port > 0 : bind_to_port(address.host, port);
    if (!bound || ::listen(svr_sock_, BACKLOG) != 0) {
        throw std::runtime_error("cannot listen on " + address.Url() + ": " + WhyNot(address));
    }
    m_listening = Base::Descriptor(svr_sock_);
    address.port = port;
    m_url = address.Url();
}

HttpServer::~HttpServer() = default;

bool HttpServer::Run()
{
    listen_after_bind();
    if (!m_halted) {
        m_listening.Release(); // the library has closed it
        svr_sock_ = INVALID_SOCKET;
        return false;
    }
    m_listening.Close();
    return true;
}

void HttpServer::Halt()
{
    m_halted = true;
    // Not the library's stop, which does nothing in the moment before Run has begun.
    const socket_t listening = svr_sock_.exchange(INVALID_SOCKET);
    if (listening != INVALID_SOCKET) {
        ::shutdown(listening, SHUT_RDWR);
    }
    const std::lock_guard<std::mutex> guard(m_lock);
    for (const Connection* const connection : m_connections) {
        if (connection != t_connection) {
            connection->ShutDown();
        }
    }
}

bool HttpServer::IsServingHere() const noexcept
{
    return t_server == this;
}

bool HttpServer::process_and_close_socket(socket_t socket)
{
    Connection connection(socket, m_context.get());
    const Registration registration(*this, connection);
    if (m_halted || !connection.Open()) {
        return false;
    }
    const auto idle = std::chrono::duration_cast<std::chrono::milliseconds>(m_limits.keepAlive);
    while (!m_halted && connection.WaitRequest(idle) && ServeOne(connection)) {
    }
    return true;
}

bool HttpServer::ServeOne(Connection& connection)
{
    bool closed = false;
    const auto prepare = [](httplib::Request& request) {
        // Without a length the library would read a DELETE's body until the client hangs up; HTTP says there is none.
        if (!request.has_header("Content-Length") && !request.has_header("Transfer-Encoding")) {
            request.set_header("Content-Length", "0");
        }
        KeepAcceptEncoding(request);
    };
    return process_request(connection, false, closed, prepare) && !closed && !connection.IsSevered();
}

void HttpServer::Answer(const httplib::Request& request, httplib::Response& response)
{
    HttpRequest own;
    own.method = request.method;
    own.target = request.target;
    own.headers = HeadersOf(request);
    own.body = request.body;
    own.listener = m_url;
    own.peer = request.remote_addr;
    own.connection = t_connection->Number();
    const HttpAnswer answer = m_dispatcher.Serve(own, *t_connection);
    if (answer.delivery == Delivery::Nothing) {
        t_connection->Sever();
        return;
    }
    Fill(response, answer);
}

} // namespace ZavSim
