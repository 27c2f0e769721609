#ifndef PRODUCT_STORAGE_FRAMEWORK_HTTP_SERVER_CONNECTIONS_H
#define PRODUCT_STORAGE_FRAMEWORK_HTTP_SERVER_CONNECTIONS_H

#include "framework/http/curl_library.h"
#include "framework/http/tls_trust.h"
#include "framework/http/url_parts.h"

#include <chrono>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace Framework {

/// One connection, and the handle of the transfers over it. Either may be null.
struct Connection {
    CurlMultiHandle keeper;
    CurlHandle transfer; ///< behind the keeper, so that it goes first
};

/// The connections of this process to one server, as long as a client holds them: all clients that reach it under the
/// same trust share them. Any thread may call.
class ServerConnections {
public:
    /// Those to `server`. Who asks with another trust than the last who asked begins anew.
    static std::shared_ptr<ServerConnections> Share(const UrlParts& server, const TlsTrust& trust);

    ServerConnections(UrlParts server, TlsTrust trust)
        : m_server(std::move(server))
        , m_trust(std::move(trust))
    {
    }
    ServerConnections(const ServerConnections&) = delete;
    ServerConnections& operator=(const ServerConnections&) = delete;
    ~ServerConnections() = default;

    const UrlParts& Server() const { return m_server; }
    const TlsTrust& Trust() const { return m_trust; }

    /// A connection that nobody else uses meanwhile: of those that wait the one that this thread gave back last, else
    /// that which was given back last and so is most likely still open, else a new one. So there are never more than
    /// threads that used them at once. Its keeper is null when there is none to be had.
    Connection Take();

    /// Keeps `connection` for the next transfer, and closes one that was not needed for long.
    void GiveBack(Connection connection) noexcept;

private:
    using Clock = std::chrono::steady_clock;

    struct Waiting {
        Connection connection;
        std::thread::id lastUser;
        Clock::time_point since;
    };

    const UrlParts m_server;
    const TlsTrust m_trust;
    std::mutex m_mutex;
    std::size_t m_takenCount = 0;   // guarded by m_mutex
    std::vector<Waiting> m_waiting; // guarded by m_mutex; the last was given back last
};

/// A connection for the time of one transfer; given back with the object.
class TakenConnection {
public:
    explicit TakenConnection(ServerConnections& server)
        : m_server(server)
        , m_connection(server.Take())
    {
    }
    TakenConnection(const TakenConnection&) = delete;
    TakenConnection& operator=(const TakenConnection&) = delete;
    ~TakenConnection() { m_server.GiveBack(std::move(m_connection)); }

    Connection& Get() { return m_connection; }

private:
    ServerConnections& m_server;
    Connection m_connection;
};

} // namespace Framework

#endif
