#ifndef PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_WEB_SERVER_H
#define PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_WEB_SERVER_H

#include "tests/support/http_server.h"
#include "tests/support/test_ca.h"

#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// What a TLS server that shows `identity` is made with.
Base::TlsContextHandle ServerContext(const Identity& identity);

/// A web server on a loopback address that records what it is asked.
class WebServer {
public:
    using Handler = HttpServer::Handler;

    /// Over http.
    explicit WebServer(const std::string& address = "127.0.0.1");

    /// Over https, showing `identity`.
    explicit WebServer(const Identity& identity, const std::string& address = "127.0.0.1");

    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;

    /// Has `handler` answer all requests for `path`.
    void On(const std::string& path, const Handler& handler);

    /// Answers requests of one method for `target`, a path with its query, with `body`. All others get 404.
    void Answer(const std::string& method, const std::string& target, const std::string& body);

    int Port() const { return m_server.Port(); }
    std::string Url(const std::string& rest) const;

    std::vector<ServedRequest> Requests() const;

    /// How many connections requests came over.
    std::size_t ConnectionCount() const;

private:
    WebServer(std::string scheme, const std::string& address, Base::TlsContextHandle context);
    void Serve(const ServedRequest& request, HttpReply& reply);
    Handler FindHandler(const ServedRequest& request) const;

    const std::string m_scheme;
    const std::string m_address;
    mutable std::mutex m_mutex;
    std::vector<ServedRequest> m_requests;                                // guarded by m_mutex
    std::set<int> m_clientPorts;                                          // guarded by m_mutex
    std::map<std::string, Handler> m_handlers;                            // guarded by m_mutex; by path
    std::map<std::pair<std::string, std::string>, std::string> m_answers; // guarded by m_mutex
    HttpServer m_server;
};

#endif
