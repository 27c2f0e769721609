#include "tests/support/http_client.h"

#include "base/host_port.h"

#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>

#include <sys/socket.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <stdexcept>

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using Error = beast::error_code;
using tcp = asio::ip::tcp;

Base::HostPort PartsOf(const std::string& url)
{
    const auto parts = Base::SplitHostPort(url.substr(url.find("//") + 2));
    if (!parts || !parts->port) {
        throw std::runtime_error("no address with a port: " + url);
    }
    return *parts;
}

void Fill(HttpReply& reply, const http::response<http::string_body>& response)
{
    reply.status = static_cast<int>(response.result_int());
    for (const auto& field : response) {
        reply.headers.emplace(std::string(field.name_string()), std::string(field.value()));
    }
    reply.body = response.body();
}

} // namespace

class HttpClient::Connection {
public:
    Connection(const tcp::endpoint& peer, bool isTls, const std::string& authority, std::chrono::milliseconds timeout)
    {
        if (isTls) {
            m_context.emplace(asio::ssl::context::tls_client);
            m_context->set_verify_mode(authority.empty() ? asio::ssl::verify_none : asio::ssl::verify_peer);
            if (!authority.empty()) {
                m_context->load_verify_file(authority);
            }
            m_tls.emplace(m_io, *m_context);
        } else {
            m_plain.emplace(m_io);
        }
        m_error = Await(timeout, [&](const auto& done) { Transport().async_connect(peer, done); });
        if (!m_error && isTls) {
            m_error =
                Await(timeout, [&](const auto& done) { m_tls->async_handshake(asio::ssl::stream_base::client, done); });
            m_verifyResult = SSL_get_verify_result(m_tls->native_handle());
        }
    }

    bool IsAlive()
    {
        char byte = 0;
        const ssize_t count = ::recv(Transport().socket().native_handle(), &byte, 1, MSG_PEEK | MSG_DONTWAIT);
        return !m_error && (count > 0 || (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)));
    }

    HttpReply Exchange(const http::request<http::string_body>& request, std::chrono::milliseconds timeout)
    {
        HttpReply reply;
        http::response_parser<http::string_body> parser;
        // Not boost::none, which some lengths are taken to be beyond.
        parser.body_limit(std::numeric_limits<std::uint64_t>::max());
        parser.skip(request.method() == http::verb::head);
        if (!m_error) {
            m_error = Await(timeout, [&](const auto& done) {
                m_tls ? http::async_write(*m_tls, request, done) : http::async_write(*m_plain, request, done);
            });
        }
        if (!m_error) {
            m_error = Await(timeout, [&](const auto& done) {
                m_tls ? http::async_read(*m_tls, m_buffer, parser, done)
                      : http::async_read(*m_plain, m_buffer, parser, done);
            });
        }
        if (parser.is_header_done()) {
            Fill(reply, parser.get());
        }
        reply.isWhole = !m_error;
        reply.problem = m_error ? m_error.message() : "";
        if (!m_error && !parser.keep_alive()) {
            m_error = http::error::end_of_stream; // not to be used again
        }
        return reply;
    }

    long VerifyResult() const { return m_verifyResult; }

private:
    beast::tcp_stream& Transport() { return m_tls ? beast::get_lowest_layer(*m_tls) : *m_plain; }

    /// Runs one operation to its end, or to the time's.
    template <typename Start>
    Error Await(std::chrono::milliseconds timeout, const Start& start)
    {
        Error result = asio::error::would_block;
        Transport().expires_after(timeout);
        start([&result](const Error& error, std::size_t = 0) { result = error; });
        m_io.restart();
        m_io.run();
        return result;
    }

    asio::io_context m_io;
    std::optional<asio::ssl::context> m_context;
    std::optional<beast::tcp_stream> m_plain;
    std::optional<beast::ssl_stream<beast::tcp_stream>> m_tls;
    beast::flat_buffer m_buffer;
    Error m_error;
    long m_verifyResult = 0;
};

HttpClient::HttpClient(const std::string& url, const std::string& authority)
    : m_isTls(url.rfind("https://", 0) == 0)
    , m_host(PartsOf(url).host)
    , m_port(static_cast<unsigned short>(std::stoi(*PartsOf(url).port)))
    , m_authority(authority)
{
}

HttpClient::~HttpClient() = default;

void HttpClient::SetTimeout(std::chrono::milliseconds timeout)
{
    m_timeout = timeout;
}

HttpReply HttpClient::Send(const std::string& method, const std::string& target, const Headers& headers,
                           const std::string& body)
{
    http::request<http::string_body> request;
    request.method_string(method);
    request.target(target);
    request.set(http::field::host, Base::HostAndPort(m_host, m_port));
    for (const auto& [name, value] : headers) {
        request.insert(name, value);
    }
    request.body() = body;
    if (!body.empty() || method == "POST" || method == "PUT") {
        request.content_length(body.size());
    }
    if (!m_connection || !m_connection->IsAlive()) {
        m_connection = std::make_unique<Connection>(tcp::endpoint(asio::ip::make_address(m_host), m_port), m_isTls,
                                                    m_authority, m_timeout);
        m_verifyResult = m_connection->VerifyResult();
    }
    return m_connection->Exchange(request, m_timeout);
}

long HttpClient::VerifyResult() const
{
    return m_verifyResult;
}
