#ifndef PRODUCT_STORAGE_FRAMEWORK_HTTP_TRANSFER_H
#define PRODUCT_STORAGE_FRAMEWORK_HTTP_TRANSFER_H

#include "framework/config/config_values.h"
#include "framework/http/curl_library.h"
#include "framework/http/header_lines.h"
#include "framework/http/http_response.h"
#include "framework/http/server_connections.h"

#include <array>
#include <string>

namespace Framework {

/// One request and its answer, over a connection of which only what holds no secret is kept.
class Transfer {
public:
    /// All must outlive the object. Of the request's body no copy is made.
    Transfer(const TMSHttpRequest& request, const ConfigValues& config, const ServerConnections& server,
             HttpResponse& response);
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;
    ~Transfer() = default;

    /// Sends the request over `connection`, which nobody else uses meanwhile, and fills the response. Leaves the handle
    /// for the next transfer when all is well and the answer's head was plain, because libcurl keeps the head in it;
    /// else the handle is given back, and so wiped. False when there is no memory for a transfer.
    bool Perform(Connection& connection, unsigned int timeoutSeconds);

private:
    /// Why this client itself ended the exchange: a word, of which the text is made when there is memory again.
    enum class Refusal { None, BrokenBeforeAnswer, HeadTooLong, BodyTooLong, NoMemory };

    static CurlHandle MakeHandle(const TlsTrust& trust);
    CURLcode Exchange(CURLM* keeper, unsigned int timeoutSeconds);
    void SetLimits(unsigned int timeoutSeconds);
    void SetRequest();
    void SetAnswer();
    void ForgetRequest();
    CURLcode Run(CURLM* keeper);
    std::string WhyItFailed(CURLcode code) const;
    std::string RefusalText() const;
    std::size_t MostBodyBytes() const;

    bool MaySend();
    std::size_t TakeHeadLine(const char* bytes, std::size_t size);
    std::size_t TakeBody(const char* bytes, std::size_t size);
    static CURLcode OnTlsContext(CURL* curl, void* context, void* transfer) noexcept;
    static int OnSend(void* transfer, char* peer, char* local, int peerPort, int localPort) noexcept;
    static std::size_t OnHeadLine(char* bytes, std::size_t unit, std::size_t count, void* transfer) noexcept;
    static std::size_t OnBody(char* bytes, std::size_t unit, std::size_t count, void* transfer) noexcept;

    const TMSHttpRequest& m_request;
    const ConfigValues& m_config;
    const ServerConnections& m_server;
    HttpResponse& m_response;
    HeaderLines m_headers;
    std::size_t m_headSize = 0;
    bool m_isHeadPlain = true;
    bool m_isSent = false;
    Refusal m_refusal = Refusal::None;
    std::array<char, CURL_ERROR_SIZE> m_error = {};
    CurlHandle m_curl; ///< last, because it points to the others
};

} // namespace Framework

#endif
