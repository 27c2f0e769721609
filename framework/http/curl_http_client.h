#ifndef PRODUCT_STORAGE_FRAMEWORK_HTTP_CURL_HTTP_CLIENT_H
#define PRODUCT_STORAGE_FRAMEWORK_HTTP_CURL_HTTP_CLIENT_H

#include "common/framework/http_client.h"
#include "framework/http/curl_library.h"

#include <mutex>
#include <vector>

namespace Framework {

/// Connections that wait for their next transfer.
class ConnectionPool {
public:
    /// What was given back last, whose connection is most likely still open; else something new. Null when there is
    /// none to be had.
    CurlMultiHandle Take();

    /// Keeps `connections` for the next transfer, unless many wait already.
    void GiveBack(CurlMultiHandle connections) noexcept;

private:
    static constexpr std::size_t MAX_WAITING = 16;

    std::mutex m_mutex;
    std::vector<CurlMultiHandle> m_waiting; // guarded by m_mutex; the last is the next to be taken
};

class CurlHttpClient : public QEN::IHttpClient {
public:
    boost::shared_ptr<QEN::IHttpResponse> SendRequest(const TMSHttpRequest& request,
                                                      unsigned int timeoutSeconds) override;
    bool TestConnection(const std::string& url, int timeoutSeconds) override;

private:
    ConnectionPool m_pool;
};

} // namespace Framework

#endif
