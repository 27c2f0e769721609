#include "simulator/http/acceptor.h"

#include "simulator/http/connection.h"

#include <boost/asio/ip/address.hpp>

#include <algorithm>
#include <iostream>
#include <stdexcept>

namespace ZavSim {

namespace {

namespace asio = boost::asio;

constexpr int BACKLOG = 512; // a burst of clients shall not wait a second for their second try
constexpr std::chrono::milliseconds REST_AFTER_FAILURE{100};

} // namespace

std::shared_ptr<Acceptor> Acceptor::Open(IoThreads& threads, ListenAddress& address, Dispatcher& dispatcher,
                                         Base::TlsContextHandle context, const ServerLimits& limits)
{
    try {
        Tcp::endpoint endpoint(asio::ip::make_address(address.host), static_cast<std::uint16_t>(address.port));
        Tcp::acceptor opened(threads.Next(), endpoint.protocol());
        // Not SO_REUSEPORT, with which a second simulator could take the same address unnoticed.
        opened.set_option(Tcp::acceptor::reuse_address(true));
        opened.bind(endpoint);
        opened.listen(BACKLOG);
        address.port = opened.local_endpoint().port();
        auto acceptor = std::make_shared<Acceptor>(Key(), threads, std::move(opened), address.Url(), dispatcher,
                                                   std::move(context), limits);
        const std::lock_guard<std::mutex> guard(acceptor->m_lock);
        acceptor->AcceptNext();
        return acceptor;
    } catch (const boost::system::system_error& error) {
        throw std::runtime_error("cannot listen on " + address.Url() + ": " + error.code().message());
    }
}

Acceptor::Acceptor(Key /*key*/, IoThreads& threads, Tcp::acceptor opened, std::string url, Dispatcher& dispatcher,
                   Base::TlsContextHandle context, const ServerLimits& limits)
    : m_threads(threads)
    , m_url(std::move(url))
    , m_dispatcher(dispatcher)
    , m_limits(limits)
    , m_acceptor(std::move(opened))
    , m_rest(m_acceptor->get_executor())
{
    if (context) {
        m_tls.emplace(context.release());
    }
}

Acceptor::~Acceptor() = default;

void Acceptor::Close()
{
    std::vector<std::shared_ptr<Connection>> connections; // the last owner of one comes to Forget, which locks
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_isClosed = true;
        m_acceptor.reset();
        m_rest.reset();
        for (const auto& [address, connection] : m_connections) {
            connections.push_back(connection.lock()); // null when it is just being destroyed
        }
    }
    for (const std::shared_ptr<Connection>& connection : connections) {
        if (connection) {
            connection->End();
        }
    }
}

void Acceptor::Forget(Connection& connection)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_connections.erase(&connection);
    const bool isLimitMetByEach = m_limits.connections <= 2; // and its end by each that goes: told once for all
    if (m_toldAt != 0 && m_connections.size() <= m_toldAt / 2 && !isLimitMetByEach && !m_isClosed) {
        std::cerr << "zavsim: " + m_url + ": connections are taken at once again\n" << std::flush;
        m_toldAt = 0;
    }
    if (m_isFull) {
        m_isFull = false;
        AcceptNext();
    }
}

void Acceptor::AcceptNext()
{
    if (m_isClosed) {
        return;
    }
    if (m_connections.size() >= m_limits.connections) {
        m_isFull = true; // the rest waits in the system's queue
        TellThatMoreWait("the limit", "--connections allows more");
        return;
    }
    m_acceptor->async_accept(m_threads.Next(), [self = shared_from_this()](const auto& error, auto socket) {
        self->OnAccepted(error, Tcp::socket(std::move(socket)));
    });
}

void Acceptor::TellThatMoreWait(const std::string& cause, const std::string& remedy)
{
    if (m_toldAt != 0) {
        return;
    }
    std::cerr << "zavsim: " + m_url + ": " + std::to_string(m_connections.size()) + " connections are open, " + cause +
                     ": more of them wait until one ends; " + remedy + "\n"
              << std::flush;
    m_toldAt = std::max<std::size_t>(m_connections.size(), 1);
}

void Acceptor::OnAccepted(const boost::system::error_code& error, Tcp::socket socket)
{
    std::shared_ptr<Connection> connection;
    std::string problem;
    const char* remedy = "ulimit -n allows more files";
    try {
        if (!error) {
            connection = Take(std::move(socket));
        } else if (error != asio::error::connection_aborted) { // no descriptor is left, for one
            problem = error.message();
        }
    } catch (const std::exception& failure) { // the client is let go, the address stays
        problem = failure.what();
        remedy = "it takes more memory";
    }
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (m_isClosed) {
            return;
        }
        if (problem.empty()) {
            AcceptNext();
        } else {
            m_rest->expires_after(REST_AFTER_FAILURE);
            m_rest->async_wait([self = shared_from_this()](const auto&) {
                const std::lock_guard<std::mutex> again(self->m_lock);
                self->AcceptNext();
            });
            TellThatMoreWait(problem, remedy);
        }
    }
    if (connection) {
        connection->Run();
    }
}

std::shared_ptr<Connection> Acceptor::Take(Tcp::socket socket)
{
    auto connection = Connection::Make(std::move(socket), m_tls ? &*m_tls : nullptr, shared_from_this());
    const std::lock_guard<std::mutex> guard(m_lock); // given back before the connection, which comes to Forget
    m_connections.emplace(connection.get(), connection);
    return connection;
}

} // namespace ZavSim
