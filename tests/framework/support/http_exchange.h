#ifndef PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_HTTP_EXCHANGE_H
#define PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_HTTP_EXCHANGE_H

#include "common/framework/http_client.h"

#include <string>

inline TMSHttpRequest Request(const std::string& method, const std::string& url, const std::string& body = "")
{
    TMSHttpRequest request;
    request.method = method;
    request.url = url;
    request.body = body;
    return request;
}

/// One GET with a client of its own.
inline boost::shared_ptr<QEN::IHttpResponse> Get(const std::string& url, unsigned int timeoutSeconds = 20)
{
    return QEN::IHttpClient::CreateClient()->SendRequest(Request("GET", url), timeoutSeconds);
}

#endif
