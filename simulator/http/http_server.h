#ifndef ZAVSIM_HTTP_HTTP_SERVER_H
#define ZAVSIM_HTTP_HTTP_SERVER_H

#include "base/descriptor.h"
#include "simulator/http/connection.h"
#include "simulator/http/dispatcher.h"
#include "simulator/http/listen_address.h"

#include <atomic>
#include <set>

namespace ZavSim {

/// How many clients at once and how patient with them.
struct ServerLimits {
    std::size_t connections = 256;          ///< served at once, by listener; more of them wait
    std::chrono::seconds keepAlive{60};     ///< how long a connection may lie idle
    std::chrono::seconds transfer{30};      ///< how long one read or write may take
    std::size_t bodyBytes = 1024ULL * 1024; ///< of a request
};

/// The HTTP library's server with its connections under our control: it can be stopped at once while clients keep
/// theirs alive, and single connections can be cut. One object serves one address once.
class HttpServer final : private httplib::Server {
public:
    /// `context` is null for plain HTTP. Nothing is opened yet.
    HttpServer(Dispatcher& dispatcher, Base::TlsContextHandle context, const ServerLimits& limits);
    ~HttpServer() override;
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    /// Opens the address; clients can connect from here on. Sets the port when it was 0. Throws std::runtime_error
    /// naming the address and why.
    void Open(ListenAddress& address);

    /// Serves until Halt; once. False when it ended by itself.
    bool Run();

    /// Closes the address and all connections; one that waits for an answer from the calling thread still gets it. Run
    /// returns soon after. Any thread, one that serves a request included.
    void Halt();

    /// True on a thread that is answering a request of this server.
    bool IsServingHere() const noexcept;

private:
    class Registration;

    bool process_and_close_socket(socket_t socket) override;
    bool ServeOne(Connection& connection);
    void Answer(const httplib::Request& request, httplib::Response& response);

    Dispatcher& m_dispatcher;
    const Base::TlsContextHandle m_context;
    const ServerLimits m_limits;
    std::string m_url;
    Base::Descriptor
        m_listening; ///< what svr_sock_ was before Halt; closed only after Run, so that its number stays ours
    std::atomic<bool> m_halted{false};
    std::mutex m_lock;
    std::set<const Connection*> m_connections; // guarded by m_lock
};

} // namespace ZavSim

#endif
