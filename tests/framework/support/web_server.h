#ifndef PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_WEB_SERVER_H
#define PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_WEB_SERVER_H

#include "tests/framework/support/test_ca.h"

#include <httplib.h>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

/// A web server on a loopback address that records what it is asked.
class WebServer {
public:
    using Handler = std::function<void(const httplib::Request&, httplib::Response&)>;

    /// Over http.
    explicit WebServer(const std::string& address = "127.0.0.1");

    /// Over https, showing `identity`.
    explicit WebServer(const Identity& identity, const std::string& address = "127.0.0.1");

    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;
    ~WebServer();

    /// Has `handler` answer all requests for `path`.
    void On(const std::string& path, const Handler& handler);

    /// Answers requests of one method for `target`, a path with its query, with `body`. All others get 404.
    void Answer(const std::string& method, const std::string& target, const std::string& body);

    int Port() const { return m_port; }
    std::string Url(const std::string& rest) const;

    std::vector<httplib::Request> Requests() const;

    /// How many connections requests came over.
    std::size_t ConnectionCount() const;

private:
    void Start(const std::string& address);
    void Serve(const httplib::Request& request, httplib::Response& response);
    Handler FindHandler(const httplib::Request& request) const;

    const std::string m_scheme;
    std::unique_ptr<httplib::Server> m_server;
    int m_port = 0;
    std::string m_host;
    mutable std::mutex m_mutex;
    std::vector<httplib::Request> m_requests;                             // guarded by m_mutex
    std::set<int> m_clientPorts;                                          // guarded by m_mutex
    std::map<std::string, Handler> m_handlers;                            // guarded by m_mutex; by path
    std::map<std::pair<std::string, std::string>, std::string> m_answers; // guarded by m_mutex
    std::thread m_thread;
};

#endif
