#ifndef PRODUCT_STORAGE_COMMON_FRAMEWORK_HTTP_CLIENT_H
#define PRODUCT_STORAGE_COMMON_FRAMEWORK_HTTP_CLIENT_H

#include "common/framework/export.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <set>
#include <string>
#include <utility>

/// One HTTP request. The members without a meaning here belong to the product's own client and stay empty.
struct TMSHttpRequest {
    std::string method; ///< "POST", "GET", "PUT" or "DELETE"
    std::string url;
    std::string optionText;
    std::set<std::pair<std::string, std::string>> headers; ///< (name, value)
    std::string body;
    std::string spare1;
    std::string spare2;
    std::string spare3;
    std::int64_t spareNumber = 0;
    std::string spare4;
    std::string spare5;
};

namespace QEN {

/// What came back for one request: an answer with a success status, an answer with another status, or no answer.
/// Immutable; belongs to the caller. Body and cookies may hold session secrets and are wiped on destruction.
class PRODUCT_FRAMEWORK_API IHttpResponse {
public:
    virtual ~IHttpResponse() = default;

    virtual bool IsSuccess() const = 0;                       ///< an answer with a status from 200 to 299 arrived whole
    virtual int GetHttpStatusCode() const = 0;                ///< the status; 0 without an answer
    virtual const std::string& GetHttpStatusText() const = 0; ///< describes the status of an unsuccessful answer
    virtual int IsNetworkError() const = 0;                   ///< non-zero when the request failed in transport
    virtual const std::string& GetErrorText() const = 0;      ///< describes the transport failure: what and where
    virtual const std::string& GetBody() const = 0;           ///< decompressed
    virtual const std::set<std::string>& GetCookies() const = 0; ///< the value of each Set-Cookie header
};

/// A client that keeps connections alive between requests. One client serves several threads at once.
class PRODUCT_FRAMEWORK_API IHttpClient {
public:
    /// A new client; empty when none can be made.
    static boost::shared_ptr<IHttpClient> CreateClient();

    virtual ~IHttpClient() = default;

    /// Performs `request` within `timeoutSeconds`. Follows no redirect. Null when the client could not even try. A
    /// request that could change its form on the way, such as one with a line end in a header, is not sent; that is a
    /// network error. Keeps no copy of the request's body. Throws nothing.
    virtual boost::shared_ptr<IHttpResponse> SendRequest(const TMSHttpRequest& request,
                                                         unsigned int timeoutSeconds) = 0;

    /// True when the address of `url` accepts a TCP connection within `timeoutSeconds`; a number below 1 counts
    /// as 1. Nothing is sent. Throws nothing.
    virtual bool TestConnection(const std::string& url, int timeoutSeconds) = 0;
};

} // namespace QEN

#endif
