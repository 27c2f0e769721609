#include "framework/http/transfer.h"

#include "base/host_port.h"
#include "framework/http/plain_headers.h"
#include "framework/http/scheme_memory.h"
#include "framework/support/server_name.h"

#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <exception>
#include <string_view>
#include <utility>

namespace Framework {

namespace {

constexpr std::size_t MAX_HEAD_BYTES = 256 * 1024; // all header lines of one answer, interim ones included

// libcurl takes a buffer of this size for each https request, and all of it is wiped: its least instead of its usual 64
// KiB. Longer bodies go in several pieces, each of which fills a TLS record.
constexpr long SEND_BUFFER_BYTES = 16 * 1024;

// The same for what is received, of which most answers are shorter than this. Longer ones come in several pieces.
constexpr long RECEIVE_BUFFER_BYTES = 4 * 1024;

// Whoever learns the server's key later cannot read what was recorded before. TLS 1.3 has nothing else.
constexpr const char* FORWARD_SECRET_CIPHERS = "ECDHE+AESGCM:ECDHE+CHACHA20:DHE+AESGCM:DHE+CHACHA20:ECDHE+AES:DHE+AES";

void SetTls(CURL* curl, const TlsTrust& trust)
{
    curl_easy_setopt(curl, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, trust.isVerified ? 1L : 0L);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, trust.isVerified ? 2L : 0L);
    if (!trust.caFile.empty()) {
        curl_easy_setopt(curl, CURLOPT_CAINFO, trust.caFile.c_str());
        curl_easy_setopt(curl, CURLOPT_CAPATH, nullptr); // the file alone is trusted
    }
    curl_easy_setopt(curl, CURLOPT_CA_CACHE_TIMEOUT, 0L);    // a new connection reads the file as it is now
    curl_easy_setopt(curl, CURLOPT_SSL_SESSIONID_CACHE, 0L); // and verifies by it
}

} // namespace

Transfer::Transfer(const TMSHttpRequest& request, const ConfigValues& config, const ServerConnections& server,
                   HttpResponse& response)
    : m_request(request)
    , m_config(config)
    , m_server(server)
    , m_response(response)
    , m_headers(request)
{
}

bool Transfer::Perform(Connection& connection, unsigned int timeoutSeconds)
{
    m_curl = connection.transfer != nullptr ? std::move(connection.transfer) : MakeHandle(m_server.Trust());
    if (m_curl == nullptr || connection.keeper == nullptr) {
        return false;
    }
    const CURLcode code = Exchange(connection.keeper.get(), timeoutSeconds);
    if (code != CURLE_OK) {
        m_response.Fail(code, WhyItFailed(code));
        return true;
    }
    long status = 0;
    curl_easy_getinfo(m_curl.get(), CURLINFO_RESPONSE_CODE, &status);
    m_response.Complete(static_cast<int>(status), m_request);
    SchemeMemory::Remember(m_server.Server().Server(), m_server.Server().scheme);
    if (m_isHeadPlain) {
        ForgetRequest();
        connection.transfer = std::move(m_curl);
    }
    return true;
}

// What all transfers under one trust have in common.
CurlHandle Transfer::MakeHandle(const TlsTrust& trust)
{
    CurlHandle handle = MakeCurlHandle();
    if (handle == nullptr) {
        return handle;
    }
    CURL* const curl = handle.get();
    curl_easy_setopt(curl, CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(curl, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(curl, CURLOPT_PROXY, ""); // nor one that the environment names
    curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_QUICK_EXIT, 1L); // else a dead name server is waited for, whatever the time limit
    curl_easy_setopt(curl, CURLOPT_TCP_KEEPALIVE, 1L);
    curl_easy_setopt(curl, CURLOPT_UPLOAD_BUFFERSIZE, SEND_BUFFER_BYTES);
    curl_easy_setopt(curl, CURLOPT_BUFFERSIZE, RECEIVE_BUFFER_BYTES);
    SetTls(curl, trust);
    curl_easy_setopt(curl, CURLOPT_SSL_CTX_FUNCTION, &Transfer::OnTlsContext);
    curl_easy_setopt(curl, CURLOPT_PREREQFUNCTION, &Transfer::OnSend);
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, &Transfer::OnHeadLine);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &Transfer::OnBody);
    return handle;
}

CURLcode Transfer::Exchange(CURLM* keeper, unsigned int timeoutSeconds)
{
    CURL* const curl = m_curl.get();
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, m_error.data());
    curl_easy_setopt(curl, CURLOPT_SSL_CTX_DATA, this);
    curl_easy_setopt(curl, CURLOPT_PREREQDATA, this);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, this);
    SetLimits(timeoutSeconds);
    SetRequest();
    SetAnswer();
    return Run(keeper);
}

CURLcode Transfer::Run(CURLM* keeper)
{
    constexpr int LONGEST_WAIT_MILLISECONDS = 1000; // libcurl wakes up for its own time limits before that
    if (curl_multi_add_handle(keeper, m_curl.get()) != CURLM_OK) {
        return CURLE_OUT_OF_MEMORY;
    }
    CURLMcode state = CURLM_OK;
    int running = 1;
    while (state == CURLM_OK && running != 0) {
        state = curl_multi_perform(keeper, &running);
        if (state == CURLM_OK && running != 0) {
            state = curl_multi_poll(keeper, nullptr, 0, LONGEST_WAIT_MILLISECONDS, nullptr);
        }
    }
    int rest = 0;
    const CURLMsg* const message = state == CURLM_OK ? curl_multi_info_read(keeper, &rest) : nullptr;
    const CURLcode code = message == nullptr ? CURLE_OUT_OF_MEMORY : message->data.result;
    curl_multi_remove_handle(keeper, m_curl.get());
    return code;
}

void Transfer::SetLimits(unsigned int timeoutSeconds)
{
    constexpr unsigned int MAX_SECONDS = 1'000'000; // libcurl counts milliseconds
    // For libcurl 0 would be no limit.
    curl_easy_setopt(m_curl.get(), CURLOPT_TIMEOUT, static_cast<long>(std::clamp(timeoutSeconds, 1U, MAX_SECONDS)));
    curl_easy_setopt(m_curl.get(), CURLOPT_CONNECTTIMEOUT,
                     static_cast<long>(m_config.Of(SettingId::HttpConnectTimeoutSeconds).number));
}

void Transfer::SetRequest()
{
    CURL* const curl = m_curl.get();
    const std::string& method = m_request.method;
    curl_easy_setopt(curl, CURLOPT_URL, m_request.url.c_str());
    curl_easy_setopt(curl, CURLOPT_HTTPGET, 1L); // whatever the handle's last one was
    if (!m_request.body.empty() || method == "POST" || method == "PUT") {
        curl_easy_setopt(curl, CURLOPT_POST, 1L);
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, m_request.body.data()); // by pointer: libcurl makes no copy
        curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(m_request.body.size()));
    } else if (method == "HEAD") {
        curl_easy_setopt(curl, CURLOPT_NOBODY, 1L);
    }
    curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, method.c_str());
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, m_headers.Get());
}

void Transfer::SetAnswer()
{
    const std::string& encodings = m_headers.AcceptEncoding();
    // A compressed answer is decompressed even if nobody asked for it; the header that this option would send then is
    // taken away by the header lines.
    curl_easy_setopt(m_curl.get(), CURLOPT_ACCEPT_ENCODING, encodings.empty() ? "identity" : encodings.c_str());
}

// The handle outlives what it was shown.
void Transfer::ForgetRequest()
{
    CURL* const curl = m_curl.get();
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, nullptr);
    curl_easy_setopt(curl, CURLOPT_SSL_CTX_DATA, nullptr);
    curl_easy_setopt(curl, CURLOPT_PREREQDATA, nullptr);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, nullptr);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, nullptr);
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, nullptr);
    curl_easy_setopt(curl, CURLOPT_POSTFIELDS, nullptr);
}

CURLcode Transfer::OnTlsContext(CURL* /*curl*/, void* context, void* transfer) noexcept
{
    auto* const tls = static_cast<SSL_CTX*>(context);
    SSL_CTX_set_options(tls, SSL_OP_CLEANSE_PLAINTEXT); // received text does not stay behind in the library's buffers
    SSL_CTX_clear_mode(tls, SSL_MODE_RELEASE_BUFFERS);  // which would be taken and cleansed whole for each answer
    SSL_CTX_set_keylog_callback(tls, nullptr);          // whatever the environment asks for
    const Transfer& self = *static_cast<Transfer*>(transfer);
    try {
        const bool isSet = SSL_CTX_set_cipher_list(tls, FORWARD_SECRET_CIPHERS) == 1 &&
                           (!self.m_server.Trust().isVerified ||
                            RequireServerName(SSL_CTX_get0_param(tls), Base::BareHost(self.m_server.Server().host)));
        return isSet ? CURLE_OK : CURLE_SSL_CERTPROBLEM;
    } catch (const std::exception&) {
        return CURLE_OUT_OF_MEMORY;
    }
}

int Transfer::OnSend(void* transfer, char* /*peer*/, char* /*local*/, int /*peerPort*/, int /*localPort*/) noexcept
{
    return static_cast<Transfer*>(transfer)->MaySend() ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
}

// libcurl sends again when a connection that was kept breaks before an answer. The server may have done what the first
// sending asked for, so that only what changes nothing is sent again.
bool Transfer::MaySend()
{
    const bool isFirst = !std::exchange(m_isSent, true);
    if (isFirst || m_request.method == "GET" || m_request.method == "HEAD") {
        return true;
    }
    m_refusal = Refusal::BrokenBeforeAnswer;
    return false;
}

std::size_t Transfer::OnHeadLine(char* bytes, std::size_t unit, std::size_t count, void* transfer) noexcept
{
    return static_cast<Transfer*>(transfer)->TakeHeadLine(bytes, unit * count);
}

std::size_t Transfer::OnBody(char* bytes, std::size_t unit, std::size_t count, void* transfer) noexcept
{
    return static_cast<Transfer*>(transfer)->TakeBody(bytes, unit * count);
}

// Both return what they took; less than there was ends the transfer.

std::size_t Transfer::TakeHeadLine(const char* bytes, std::size_t size)
{
    m_headSize += size;
    if (m_headSize > MAX_HEAD_BYTES) {
        m_refusal = Refusal::HeadTooLong;
        return 0;
    }
    const std::string_view line(bytes, size);
    m_isHeadPlain = m_isHeadPlain && IsPlainHeadLine(line);
    try {
        m_response.TakeHeadLine(line);
        return size;
    } catch (const std::exception&) {
        m_refusal = Refusal::NoMemory;
        return 0;
    }
}

std::size_t Transfer::TakeBody(const char* bytes, std::size_t size)
{
    if (size > MostBodyBytes() - m_response.BodySize()) {
        m_refusal = Refusal::BodyTooLong;
        return 0;
    }
    try {
        m_response.TakeBody(bytes, size);
        return size;
    } catch (const std::exception&) {
        m_refusal = Refusal::NoMemory;
        return 0;
    }
}

std::size_t Transfer::MostBodyBytes() const
{
    return static_cast<std::size_t>(m_config.Of(SettingId::HttpMaxBodyBytes).number);
}

std::string Transfer::RefusalText() const
{
    switch (m_refusal) {
    case Refusal::None:
        break;
    case Refusal::BrokenBeforeAnswer:
        return "the connection broke before an answer, and a " + m_request.method + " is not sent twice";
    case Refusal::HeadTooLong:
        return "the answer's head is longer than " + std::to_string(MAX_HEAD_BYTES) + " bytes";
    case Refusal::BodyTooLong:
        return "the answer's body is longer than the " + std::to_string(MostBodyBytes()) +
               " bytes of [Http] MaxBodyBytes";
    case Refusal::NoMemory:
        return "there is no memory for the answer";
    }
    return {};
}

std::string Transfer::WhyItFailed(CURLcode code) const
{
    std::string text = RequestForMessage(m_request) + " failed: ";
    if (m_refusal != Refusal::None) {
        return text + RefusalText();
    }
    text += FailureText(m_curl.get(), code, m_error.data());
    long verifyResult = X509_V_OK;
    curl_easy_getinfo(m_curl.get(), CURLINFO_SSL_VERIFYRESULT, &verifyResult);
    if (code == CURLE_PEER_FAILED_VERIFICATION && verifyResult != X509_V_OK) {
        text += std::string(" (certificate verification: ") + X509_verify_cert_error_string(verifyResult) + ")";
    }
    return text + " (libcurl " + std::to_string(code) + ")";
}

} // namespace Framework
