#ifndef PRODUCT_STORAGE_FRAMEWORK_HTTP_TCP_CONNECTION_H
#define PRODUCT_STORAGE_FRAMEWORK_HTTP_TCP_CONNECTION_H

#include "framework/http/curl_library.h"
#include "framework/http/url_parts.h"

#include <string>

namespace Framework {

/// A TCP connection over which nothing was sent yet; closed when it is released.
class TcpConnection {
public:
    /// Resolves the host and connects to its addresses in turn, all within `timeoutSeconds`; a number below 1 counts as
    /// 1. `server`'s scheme has no meaning here.
    TcpConnection(const UrlParts& server, long timeoutSeconds);

    bool IsOpen() const { return m_problem.empty(); }
    const std::string& Problem() const { return m_problem; }

    /// Non-blocking; belongs to this object.
    curl_socket_t Socket() const { return m_socket; }

private:
    CurlHandle m_curl;
    curl_socket_t m_socket = CURL_SOCKET_BAD;
    std::string m_problem;
};

} // namespace Framework

#endif
