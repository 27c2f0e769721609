#ifndef PRODUCT_STORAGE_FRAMEWORK_HTTP_HTTP_RESPONSE_H
#define PRODUCT_STORAGE_FRAMEWORK_HTTP_HTTP_RESPONSE_H

#include "common/framework/http_client.h"

#include <cstddef>
#include <set>
#include <string>
#include <string_view>

namespace Framework {

/// A response that is filled while its answer arrives.
class HttpResponse : public QEN::IHttpResponse {
public:
    HttpResponse() = default;
    HttpResponse(const HttpResponse&) = delete;
    HttpResponse& operator=(const HttpResponse&) = delete;
    ~HttpResponse() override;

    bool IsSuccess() const override;
    int GetHttpStatusCode() const override { return m_status; }
    const std::string& GetHttpStatusText() const override { return m_statusText; }
    int IsNetworkError() const override { return m_networkError; }
    const std::string& GetErrorText() const override { return m_errorText; }
    const std::string& GetBody() const override { return m_body; }
    const std::set<std::string>& GetCookies() const override { return m_cookies; }

    /// A line of the answer's head, with or without its end. A status line begins a new answer: what came before it was
    /// an interim one.
    void TakeHeadLine(std::string_view line);

    void TakeBody(const char* bytes, std::size_t size);
    std::size_t BodySize() const { return m_body.size(); }

    /// The answer to `request` arrived whole.
    void Complete(int status, const TMSHttpRequest& request);

    /// There was no whole answer; what arrived is dropped. `code` is not 0.
    void Fail(int code, const std::string& errorText);

private:
    void Drop() noexcept;

    int m_status = 0;
    int m_networkError = 0;
    std::string m_reason; ///< as the status line gives it; may be empty
    std::string m_statusText;
    std::string m_errorText;
    std::string m_body;
    std::set<std::string> m_cookies;
};

/// "GET https://192.0.2.7:8088/path", as messages name a request.
std::string RequestForMessage(const TMSHttpRequest& request);

} // namespace Framework

#endif
