#include "simulator/http/connection.h"

#include "simulator/http/acceptor.h"
#include "simulator/http/event_feed.h"
#include "simulator/http/wire_message.h"

#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/write.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>

#include <algorithm>
#include <atomic>
#include <optional>

namespace ZavSim {

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using Error = beast::error_code;
using tcp = asio::ip::tcp;

constexpr std::size_t READ_BYTES = 16384;
constexpr std::size_t MOST_READ_AHEAD = 65536; // while a request waits that came before
constexpr std::chrono::seconds GOODBYE{1};     // how long a peer may take to see that we close
constexpr std::chrono::seconds HEARTBEAT{15};  // of events: shows a peer that the connection stands

std::atomic<std::uint64_t> lastConnection{0};

HttpAnswer RefusalOf(const Error& error)
{
    int status = 400;
    if (error == http::error::body_limit) {
        status = 413;
    } else if (error == http::error::header_limit) {
        status = 431;
    }
    return PlainAnswer(status, error.message());
}

/// A connection over one kind of stream. What it is doing shows in which operation is under way: there is one at a
/// time, but for the wait of a faulty request and for events, beside which it watches the peer.
template <typename Stream>
class StreamConnection final : public Connection, public std::enable_shared_from_this<StreamConnection<Stream>> {
public:
    template <typename... Arguments>
    explicit StreamConnection(std::shared_ptr<Acceptor> acceptor, Arguments&&... stream)
        : m_acceptor(std::move(acceptor))
        , m_stream(std::forward<Arguments>(stream)...)
        , m_timer(m_stream.get_executor())
        , m_number(++lastConnection)
    {
    }
    StreamConnection(const StreamConnection&) = delete;
    StreamConnection& operator=(const StreamConnection&) = delete;
    ~StreamConnection() override { m_acceptor->Forget(*this); }

    void Run() override
    {
        asio::post(m_stream.get_executor(), [self = this->shared_from_this()] { self->Begin(); });
    }

    void End() override
    {
        asio::post(m_stream.get_executor(), [self = this->shared_from_this()] {
            if (!self->m_isAnswering || self->m_delivery.pieceInterval.count() > 0) { // which might take for ever
                self->Break();
            }
        });
    }

private:
    static constexpr bool IS_TLS = !std::is_same_v<Stream, beast::tcp_stream>;
    using Then = void (StreamConnection::*)(const Error& error);

    beast::tcp_stream& Transport() { return beast::get_lowest_layer(m_stream); }
    const ServerLimits& Limits() const { return m_acceptor->Limits(); }

    /// A completion handler that goes on with `then`, and keeps the connection until it does.
    auto Next(Then then)
    {
        return [self = this->shared_from_this(), then](const Error& error, std::size_t = 0) {
            (self.get()->*then)(error);
        };
    }

    // ---- from request to request

    void Begin()
    {
        Error error;
        const tcp::endpoint peer = Transport().socket().remote_endpoint(error);
        if (error) {
            return; // gone already
        }
        m_peer = peer.address().to_string();
        Transport().socket().set_option(tcp::no_delay(true), error);
        if constexpr (IS_TLS) {
            Transport().expires_after(Limits().transfer);
            m_stream.async_handshake(asio::ssl::stream_base::server, Next(&StreamConnection::OnHandshake));
        } else {
            AwaitRequest();
        }
    }

    void OnHandshake(const Error& error)
    {
        if (!error) {
            AwaitRequest();
        }
    }

    void AwaitRequest()
    {
        m_isAnswering = false;
        if (m_acceptor->IsClosed()) {
            Close();
            return;
        }
        DropBlankLines();
        if (m_buffer.size() > 1) { // a lone CR may be half a blank line
            ReadHead();
            return;
        }
        Transport().expires_after(Limits().keepAlive);
        m_stream.async_read_some(m_buffer.prepare(READ_BYTES),
                                 [self = this->shared_from_this()](const Error& error, std::size_t count) {
                                     self->m_buffer.commit(count);
                                     self->OnFirstBytes(error);
                                 });
    }

    /// Blank lines before a request are no part of it.
    void DropBlankLines()
    {
        const auto startsWithOne = [this] {
            const auto* const bytes = static_cast<const char*>(m_buffer.data().data());
            return m_buffer.size() > 1 && bytes[0] == '\r' && bytes[1] == '\n';
        };
        while (startsWithOne()) {
            m_buffer.consume(2);
        }
    }

    void OnFirstBytes(const Error& error)
    {
        if (error) {
            Close();
        } else {
            AwaitRequest();
        }
    }

    void ReadHead()
    {
        m_parser.emplace();
        m_parser->body_limit(Limits().bodyBytes);
        Transport().expires_after(Limits().transfer);
        http::async_read_header(m_stream, m_buffer, *m_parser, Next(&StreamConnection::OnHead));
    }

    void OnHead(const Error& error)
    {
        if (error) {
            OnRequest(error);
            return;
        }
        const auto expectation = m_parser->get()[http::field::expect];
        if (!m_parser->is_done() && beast::iequals(expectation, "100-continue")) {
            static constexpr std::string_view GO_ON = "HTTP/1.1 100 Continue\r\n\r\n";
            asio::async_write(m_stream, asio::buffer(GO_ON.data(), GO_ON.size()), Next(&StreamConnection::ReadBody));
            return;
        }
        ReadBody({});
    }

    void ReadBody(const Error& error)
    {
        if (error || m_parser->is_done()) {
            OnRequest(error);
            return;
        }
        http::async_read(m_stream, m_buffer, *m_parser, Next(&StreamConnection::OnRequest));
    }

    void OnRequest(const Error& error)
    {
        if (error == http::error::end_of_stream) {
            Close();
            return;
        }
        if (error && error.category() != http::make_error_code(http::error::bad_method).category()) {
            Break(); // the transport's error: there is nobody to tell
            return;
        }
        if (m_acceptor->IsClosed()) {
            Close();
            return;
        }
        m_request = m_parser->release();
        if (error) {
            HttpAnswer refusal = RefusalOf(error);
            m_request.keep_alive(false); // what follows cannot be told from what belongs to it
            Send(refusal);
            return;
        }
        HttpRequest request = FromWire(m_request);
        request.listener = m_acceptor->Url();
        request.peer = m_peer;
        request.connection = m_number;
        m_exchange = m_acceptor->Requests().Begin(std::move(request));
        const Exchange::Wait wait = m_exchange.TimeToWait();
        if (wait.isEndless || wait.limit.count() > 0) {
            Await(wait);
        } else {
            Answer();
        }
    }

    // ---- a request that waits

    void Await(const Exchange::Wait& wait)
    {
        Transport().expires_never();
        m_isWaiting = true;
        m_isWaitEndless = wait.isEndless;
        m_timer.expires_at(wait.isEndless ? asio::steady_timer::time_point::max()
                                          : asio::steady_timer::clock_type::now() + wait.limit);
        m_timer.async_wait(Next(&StreamConnection::OnWaited));
        WatchPeer();
    }

    /// Reads ahead, so that the peer's end shows. What it sends meanwhile stays for later; one that sends more than
    /// anybody keeps is no longer watched.
    void WatchPeer()
    {
        m_isWatching = true;
        m_stream.async_read_some(m_buffer.prepare(READ_BYTES),
                                 [self = this->shared_from_this()](const Error& error, std::size_t count) {
                                     self->m_buffer.commit(count);
                                     self->OnPeer(error);
                                 });
    }

    void OnPeer(const Error& error)
    {
        m_isWatching = false;
        if (!m_isWaiting) {
            Answer();
        } else if (!error && m_buffer.size() < MOST_READ_AHEAD) {
            WatchPeer();
        } else if (m_isWaitEndless || (error && error != asio::error::eof)) {
            m_timer.cancel();
        } // else the wait goes on: who has ended its sending may still want the answer
    }

    void OnWaited(const Error& /*error*/)
    {
        m_isWaiting = false;
        if (m_isWatching) {
            Transport().cancel(); // OnPeer goes on
        } else {
            Answer();
        }
    }

    // ---- an answer

    void Answer()
    {
        m_isAnswering = true;
        HttpAnswer answer = m_acceptor->Requests().Finish(m_exchange);
        Send(answer);
    }

    void Send(HttpAnswer& answer)
    {
        m_isAnswering = true;
        m_delivery = answer.delivery;
        m_response = ToWire(answer, m_request);
        Transport().expires_after(Limits().transfer);
        if (answer.events) {
            m_events = std::move(answer.events);
            m_bytes = HeadOfStream(m_response);
            asio::async_write(m_stream, asio::buffer(m_bytes), Next(&StreamConnection::BeginEvents));
            return;
        }
        if (IsPlain(m_delivery)) {
            http::async_write(m_stream, m_response, Next(&StreamConnection::OnSent));
            return;
        }
        m_bytes = BytesOf(m_response, m_delivery);
        m_sent = 0;
        if (m_delivery.pieceInterval.count() > 0) {
            WatchForReset();
        }
        SendPiece({});
    }

    /// Sees the peer leave between two pieces. One that only ends its sending still gets them.
    void WatchForReset()
    {
        Transport().socket().async_wait(tcp::socket::wait_error, [self = this->weak_from_this()](const Error& error) {
            const auto connection = self.lock();
            if (connection && !error) {
                connection->Break();
            }
        });
    }

    void SendPiece(const Error& error)
    {
        if (error || m_sent == m_bytes.size()) {
            OnSent(error);
            return;
        }
        const std::size_t left = m_bytes.size() - m_sent;
        const std::size_t count = m_delivery.pieceBytes == 0 ? left : std::min(m_delivery.pieceBytes, left);
        const asio::const_buffer piece(m_bytes.data() + m_sent, count);
        m_sent += count;
        Transport().expires_after(Limits().transfer);
        asio::async_write(m_stream, piece, Next(&StreamConnection::OnPiece));
    }

    void OnPiece(const Error& error)
    {
        if (error || m_sent == m_bytes.size() || m_delivery.pieceInterval.count() == 0) {
            SendPiece(error);
            return;
        }
        m_timer.expires_after(m_delivery.pieceInterval);
        m_timer.async_wait(Next(&StreamConnection::SendPiece));
    }

    void OnSent(const Error& error)
    {
        if (error || m_delivery.end == Delivery::End::Break) {
            Break();
        } else if (m_delivery.end == Delivery::End::Reset) {
            Error ignored;
            Transport().socket().set_option(asio::socket_base::linger(true, 0), ignored);
            Transport().socket().close(ignored);
        } else if (m_delivery.end == Delivery::End::Close || !m_response.keep_alive()) {
            Close();
        } else {
            AwaitRequest();
        }
    }

    // ---- events, which end the connection when they end

    void BeginEvents(const Error& error)
    {
        if (error || m_acceptor->IsClosed()) {
            Break();
            return;
        }
        m_isAnswering = false;
        m_events->SetWake([self = this->weak_from_this(), executor = m_stream.get_executor()] {
            asio::post(executor, [self] {
                if (const auto connection = self.lock()) {
                    connection->m_timer.cancel();
                    connection->SendEvents();
                }
            });
        });
        WatchReader();
        SendEvents();
    }

    /// Sees the reader leave. What it may send is no request.
    void WatchReader()
    {
        m_buffer.clear();
        Transport().expires_never();
        m_stream.async_read_some(m_buffer.prepare(READ_BYTES), Next(&StreamConnection::OnReader));
    }

    void OnReader(const Error& error)
    {
        if (error) {
            Break();
        } else {
            WatchReader();
        }
    }

    void SendEvents()
    {
        if (m_isSendingEvents || !Transport().socket().is_open()) {
            return; // OnEventsSent comes here again; or the end came first
        }
        const bool isOver = m_events->IsOver(); // asked before what waits is taken
        m_bytes = m_events->Take();
        if (!m_bytes.empty()) {
            m_isSendingEvents = true;
            Transport().expires_after(Limits().transfer);
            asio::async_write(m_stream, asio::buffer(m_bytes), Next(&StreamConnection::OnEventsSent));
        } else if (isOver) {
            Break();
        } else {
            m_timer.expires_after(HEARTBEAT);
            m_timer.async_wait(Next(&StreamConnection::OnSilence));
        }
    }

    void OnEventsSent(const Error& error)
    {
        m_isSendingEvents = false;
        if (error) {
            Break();
        } else {
            SendEvents();
        }
    }

    void OnSilence(const Error& error)
    {
        if (!error) {
            m_events->Push(EventText("heartbeat", Json::objectValue)); // wakes
        }
    }

    // ---- the end

    /// Says goodbye and waits a moment for the peer to have seen it: closing on what it still sends would reset the
    /// connection, and lose it the last answer.
    void Close()
    {
        Transport().expires_after(GOODBYE);
        if constexpr (IS_TLS) {
            m_stream.async_shutdown(Next(&StreamConnection::CloseTransport));
        } else {
            CloseTransport({});
        }
    }

    void CloseTransport(const Error& /*error*/)
    {
        Error error;
        Transport().socket().shutdown(tcp::socket::shutdown_send, error);
        if (!error) {
            m_buffer.clear();
            Transport().async_read_some(m_buffer.prepare(READ_BYTES), Next(&StreamConnection::OnLeftOver));
        }
    }

    void OnLeftOver(const Error& error)
    {
        if (!error) {
            Transport().async_read_some(m_buffer.prepare(READ_BYTES), Next(&StreamConnection::OnLeftOver));
        }
    }

    /// Ends the transport without a word.
    void Break()
    {
        m_timer.cancel();
        Error ignored;
        Transport().socket().shutdown(tcp::socket::shutdown_both, ignored);
        Transport().socket().close(ignored);
    }

    const std::shared_ptr<Acceptor> m_acceptor;
    Stream m_stream;
    asio::steady_timer m_timer;
    const std::uint64_t m_number;
    std::string m_peer;
    beast::flat_buffer m_buffer;
    std::optional<http::request_parser<http::string_body>> m_parser;
    WireRequest m_request;
    Exchange m_exchange;
    bool m_isWaiting = false;
    bool m_isWaitEndless = false;
    bool m_isWatching = false;
    bool m_isAnswering = false;
    std::shared_ptr<EventQueue> m_events; ///< null but for a connection that sends events
    bool m_isSendingEvents = false;
    WireResponse m_response;
    Delivery m_delivery;
    std::string m_bytes; ///< of an answer that does not leave as it is
    std::size_t m_sent = 0;
};

} // namespace

std::shared_ptr<Connection> Connection::Make(tcp::socket socket, asio::ssl::context* tls,
                                             std::shared_ptr<Acceptor> acceptor)
{
    if (tls == nullptr) {
        return std::make_shared<StreamConnection<beast::tcp_stream>>(std::move(acceptor), std::move(socket));
    }
    return std::make_shared<StreamConnection<beast::ssl_stream<beast::tcp_stream>>>(std::move(acceptor),
                                                                                    std::move(socket), *tls);
}

} // namespace ZavSim
