#ifndef PRODUCT_STORAGE_TESTS_SUPPORT_HTTP_SERVER_H
#define PRODUCT_STORAGE_TESTS_SUPPORT_HTTP_SERVER_H

#include "base/openssl_handles.h"
#include "tests/support/http_message.h"

#include <functional>
#include <memory>
#include <string>

/// A web server on a loopback address, whose answers a test gives. Each connection has a thread, and is kept as long as
/// its client likes.
class HttpServer {
public:
    /// Fills the reply, which is a 200 without a body. Called on the connections' threads, several at once.
    using Handler = std::function<void(const ServedRequest&, HttpReply&)>;

    /// Over https with a context, else over http. Throws std::runtime_error when it cannot listen.
    HttpServer(const std::string& address, const Handler& handler, Base::TlsContextHandle context = nullptr);
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    /// Closes all connections.
    ~HttpServer();

    int Port() const;

private:
    class Implementation;

    const std::unique_ptr<Implementation> m_implementation;
};

#endif
