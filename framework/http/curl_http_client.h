#ifndef PRODUCT_STORAGE_FRAMEWORK_HTTP_CURL_HTTP_CLIENT_H
#define PRODUCT_STORAGE_FRAMEWORK_HTTP_CURL_HTTP_CLIENT_H

#include "common/framework/http_client.h"
#include "framework/http/known_servers.h"

namespace Framework {

class CurlHttpClient : public QEN::IHttpClient {
public:
    boost::shared_ptr<QEN::IHttpResponse> SendRequest(const TMSHttpRequest& request,
                                                      unsigned int timeoutSeconds) override;
    bool TestConnection(const std::string& url, int timeoutSeconds) override;

private:
    KnownServers m_servers;
};

} // namespace Framework

#endif
