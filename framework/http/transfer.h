#ifndef PRODUCT_STORAGE_FRAMEWORK_HTTP_TRANSFER_H
#define PRODUCT_STORAGE_FRAMEWORK_HTTP_TRANSFER_H

#include "framework/config/config_values.h"
#include "framework/http/curl_library.h"
#include "framework/http/http_response.h"

#include <array>
#include <string>

namespace Framework {

/// One request and its answer. What libcurl holds of either is given back, and so wiped, with this object; only the
/// connection stays, with the CurlMultiHandle.
class Transfer {
public:
    /// All must outlive the object. Of the request's body no copy is made.
    Transfer(const TMSHttpRequest& request, const ConfigValues& config, HttpResponse& response);
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;
    ~Transfer() = default;

    /// False when there is no memory for a transfer.
    bool IsReady() const { return m_curl != nullptr; }

    /// Sends the request over a connection of `connections`, which nobody else uses meanwhile, and fills the response.
    void Perform(CURLM* connections, unsigned int timeoutSeconds);

private:
    void SetConnection(unsigned int timeoutSeconds);
    void SetTls();
    void SetRequest();
    bool SetHeaders();
    void SetAnswer();
    CURLcode Run(CURLM* connections);
    std::string WhyItFailed(CURLcode code) const;
    std::string RequestText() const;

    bool MaySend();
    std::size_t TakeHeadLine(const char* bytes, std::size_t size);
    std::size_t TakeBody(const char* bytes, std::size_t size);
    static CURLcode OnTlsContext(CURL* curl, void* context, void* transfer) noexcept;
    static int OnSend(void* transfer, char* peer, char* local, int peerPort, int localPort) noexcept;
    static std::size_t OnHeadLine(char* bytes, std::size_t unit, std::size_t count, void* transfer) noexcept;
    static std::size_t OnBody(char* bytes, std::size_t unit, std::size_t count, void* transfer) noexcept;

    const TMSHttpRequest& m_request;
    const ConfigValues& m_config;
    HttpResponse& m_response;
    CurlList m_headers;
    std::size_t m_headSize = 0;
    bool m_isSent = false;
    std::string m_refusal; ///< why this client itself ended the exchange
    std::array<char, CURL_ERROR_SIZE> m_error = {};
    const CurlHandle m_owner; ///< last, because it points to the others
    CURL* const m_curl;
};

} // namespace Framework

#endif
