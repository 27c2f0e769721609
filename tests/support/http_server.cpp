#include "tests/support/http_server.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>

#include <sys/socket.h>

#include <list>
#include <mutex>
#include <optional>
#include <thread>

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using Error = beast::error_code;
using tcp = asio::ip::tcp;

ServedRequest RequestFrom(const http::request<http::string_body>& wire, int peerPort)
{
    ServedRequest request;
    request.method = std::string(wire.method_string());
    request.target = std::string(wire.target());
    for (const auto& field : wire) {
        request.headers.emplace(std::string(field.name_string()), std::string(field.value()));
    }
    request.body = wire.body();
    request.peerPort = peerPort;
    return request;
}

template <typename Stream>
void Serve(Stream& stream, int peerPort, const HttpServer::Handler& handler)
{
    beast::flat_buffer buffer;
    Error error;
    while (!error) {
        http::request<http::string_body> wire;
        http::read(stream, buffer, wire, error);
        if (error) {
            return;
        }
        HttpReply reply;
        reply.status = 200;
        handler(RequestFrom(wire, peerPort), reply);
        http::response<http::string_body> response;
        response.version(wire.version());
        response.result(static_cast<unsigned int>(reply.status));
        for (const auto& [name, value] : reply.headers) {
            response.insert(name, value);
        }
        response.body() = reply.body;
        response.keep_alive(wire.keep_alive());
        response.prepare_payload();
        http::write(stream, response, error);
        if (!response.keep_alive()) {
            return;
        }
    }
}

} // namespace

class HttpServer::Implementation {
public:
    Implementation(const std::string& address, const Handler& handler, Base::TlsContextHandle context)
        : m_handler(handler)
        , m_acceptor(m_io, tcp::endpoint(asio::ip::make_address(address), 0))
    {
        if (context) {
            m_context.emplace(context.release());
        }
        m_thread = std::thread([this] { Accept(); });
    }
    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;
    ~Implementation()
    {
        m_isEnding = true;
        ::shutdown(m_acceptor.native_handle(), SHUT_RDWR);
        m_thread.join();
        for (Connection& connection : m_connections) {
            ::shutdown(connection.socket.native_handle(), SHUT_RDWR);
            connection.thread.join();
        }
    }

    int Port() const { return m_acceptor.local_endpoint().port(); }

private:
    struct Connection {
        explicit Connection(tcp::socket accepted)
            : socket(std::move(accepted))
        {
        }
        tcp::socket socket; // closed only when its thread has ended
        std::thread thread;
    };

    void Accept()
    {
        while (!m_isEnding) {
            Error error;
            tcp::socket socket = m_acceptor.accept(error);
            if (!error) {
                Connection& connection = m_connections.emplace_back(std::move(socket));
                connection.thread = std::thread([this, &connection] { ServeConnection(connection.socket); });
            }
        }
    }

    void ServeConnection(tcp::socket& socket)
    {
        Error error;
        const int port = socket.remote_endpoint(error).port();
        socket.set_option(tcp::no_delay(true), error);
        if (m_context) {
            asio::ssl::stream<tcp::socket&> stream(socket, *m_context);
            stream.handshake(asio::ssl::stream_base::server, error);
            if (!error) {
                Serve(stream, port, m_handler);
            }
        } else {
            Serve(socket, port, m_handler);
        }
        ::shutdown(socket.native_handle(), SHUT_RDWR);
    }

    const Handler m_handler;
    asio::io_context m_io;
    std::optional<asio::ssl::context> m_context;
    tcp::acceptor m_acceptor;
    std::atomic<bool> m_isEnding{false};
    std::list<Connection> m_connections; // the accepting thread's until that has ended
    std::thread m_thread;
};

HttpServer::HttpServer(const std::string& address, const Handler& handler, Base::TlsContextHandle context)
    : m_implementation(std::make_unique<Implementation>(address, handler, std::move(context)))
{
}

HttpServer::~HttpServer() = default;

int HttpServer::Port() const
{
    return m_implementation->Port();
}
