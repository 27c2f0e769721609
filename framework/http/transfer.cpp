#include "framework/http/transfer.h"

#include "base/secret.h"
#include "framework/http/scheme_memory.h"
#include "framework/http/url_parts.h"

#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace Framework {

namespace {

constexpr std::size_t MAX_HEAD_BYTES = 256 * 1024; // all header lines of one answer, interim ones included

// libcurl takes a buffer of this size for each https request, and all of it is wiped: its least instead of its usual 64
// KiB. Longer bodies go in several pieces, each of which fills a TLS record.
constexpr long SEND_BUFFER_BYTES = 16 * 1024;

// Whoever learns the server's key later cannot read what was recorded before. TLS 1.3 has nothing else.
constexpr const char* FORWARD_SECRET_CIPHERS = "ECDHE+AESGCM:ECDHE+CHACHA20:DHE+AESGCM:DHE+CHACHA20:ECDHE+AES:DHE+AES";

// The certificate must name the server as an alternative name: what stands in its subject alone does not count.
bool RequireName(SSL_CTX* context, const std::string& url)
{
    UrlParts server;
    std::string problem;
    if (!ParseUrl(url, server, problem)) {
        return false;
    }
    std::string host = server.host;
    if (!host.empty() && host.front() == '[') {
        host = host.substr(1, host.size() - 2);
    }
    X509_VERIFY_PARAM* const wanted = SSL_CTX_get0_param(context);
    X509_VERIFY_PARAM_set_hostflags(wanted, X509_CHECK_FLAG_NEVER_CHECK_SUBJECT | X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS);
    return X509_VERIFY_PARAM_set1_ip_asc(wanted, host.c_str()) == 1 ||
           X509_VERIFY_PARAM_set1_host(wanted, host.c_str(), host.size()) == 1;
}

bool HasHeader(const TMSHttpRequest& request, const char* name)
{
    return std::any_of(request.headers.begin(), request.headers.end(),
                       [name](const auto& header) { return boost::iequals(header.first, name); });
}

std::string JoinedValues(const TMSHttpRequest& request, const char* name)
{
    std::string joined;
    for (const auto& [headerName, value] : request.headers) {
        if (boost::iequals(headerName, name)) {
            joined += (joined.empty() ? "" : ", ") + value;
        }
    }
    return joined;
}

} // namespace

Transfer::Transfer(const TMSHttpRequest& request, const ConfigValues& config, HttpResponse& response)
    : m_request(request)
    , m_config(config)
    , m_response(response)
    , m_owner(MakeCurlHandle())
    , m_curl(m_owner.get())
{
}

void Transfer::Perform(CURLM* connections, unsigned int timeoutSeconds)
{
    SetConnection(timeoutSeconds);
    SetTls();
    SetRequest();
    SetAnswer();
    const CURLcode code = SetHeaders() ? Run(connections) : CURLE_OUT_OF_MEMORY;
    if (code != CURLE_OK) {
        m_response.Fail(code, WhyItFailed(code));
        return;
    }
    long status = 0;
    curl_easy_getinfo(m_curl, CURLINFO_RESPONSE_CODE, &status);
    m_response.Complete(static_cast<int>(status), RequestText());
    UrlParts server;
    std::string problem;
    if (ParseUrl(m_request.url, server, problem)) {
        SchemeMemory::Remember(server.Server(), server.scheme);
    }
}

CURLcode Transfer::Run(CURLM* connections)
{
    constexpr int LONGEST_WAIT_MILLISECONDS = 1000; // libcurl wakes up for its own time limits before that
    if (curl_multi_add_handle(connections, m_curl) != CURLM_OK) {
        return CURLE_OUT_OF_MEMORY;
    }
    CURLMcode state = CURLM_OK;
    int running = 1;
    while (state == CURLM_OK && running != 0) {
        state = curl_multi_perform(connections, &running);
        if (state == CURLM_OK && running != 0) {
            state = curl_multi_poll(connections, nullptr, 0, LONGEST_WAIT_MILLISECONDS, nullptr);
        }
    }
    int rest = 0;
    const CURLMsg* const message = state == CURLM_OK ? curl_multi_info_read(connections, &rest) : nullptr;
    const CURLcode code = message == nullptr ? CURLE_OUT_OF_MEMORY : message->data.result;
    curl_multi_remove_handle(connections, m_curl);
    return code;
}

void Transfer::SetConnection(unsigned int timeoutSeconds)
{
    constexpr unsigned int MAX_SECONDS = 1'000'000; // libcurl counts milliseconds
    curl_easy_setopt(m_curl, CURLOPT_URL, m_request.url.c_str());
    curl_easy_setopt(m_curl, CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(m_curl, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(m_curl, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(m_curl, CURLOPT_PROXY, ""); // nor one that the environment names
    curl_easy_setopt(m_curl, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(m_curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(m_curl, CURLOPT_TCP_KEEPALIVE, 1L);
    // For libcurl 0 would be no limit.
    curl_easy_setopt(m_curl, CURLOPT_TIMEOUT, static_cast<long>(std::clamp(timeoutSeconds, 1U, MAX_SECONDS)));
    curl_easy_setopt(m_curl, CURLOPT_CONNECTTIMEOUT,
                     static_cast<long>(m_config.Of(SettingId::HttpConnectTimeoutSeconds).number));
    curl_easy_setopt(m_curl, CURLOPT_ERRORBUFFER, m_error.data());
    curl_easy_setopt(m_curl, CURLOPT_UPLOAD_BUFFERSIZE, SEND_BUFFER_BYTES);
}

void Transfer::SetTls()
{
    const bool isVerified = m_config.Of(SettingId::HttpVerifyPeer).number != 0;
    const std::string& caFile = m_config.Of(SettingId::HttpCaFile).text;
    curl_easy_setopt(m_curl, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    curl_easy_setopt(m_curl, CURLOPT_SSL_VERIFYPEER, isVerified ? 1L : 0L);
    curl_easy_setopt(m_curl, CURLOPT_SSL_VERIFYHOST, isVerified ? 2L : 0L);
    if (!caFile.empty()) {
        curl_easy_setopt(m_curl, CURLOPT_CAINFO, caFile.c_str());
        curl_easy_setopt(m_curl, CURLOPT_CAPATH, nullptr); // the file alone is trusted
    }
    curl_easy_setopt(m_curl, CURLOPT_CA_CACHE_TIMEOUT, 0L); // a new connection reads the file as it is now
    curl_easy_setopt(m_curl, CURLOPT_SSL_CTX_FUNCTION, &Transfer::OnTlsContext);
    curl_easy_setopt(m_curl, CURLOPT_SSL_CTX_DATA, this);
}

void Transfer::SetRequest()
{
    const std::string& method = m_request.method;
    if (!m_request.body.empty() || method == "POST" || method == "PUT") {
        curl_easy_setopt(m_curl, CURLOPT_POST, 1L);
        curl_easy_setopt(m_curl, CURLOPT_POSTFIELDS, m_request.body.data()); // by pointer: libcurl makes no copy
        curl_easy_setopt(m_curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(m_request.body.size()));
    } else if (method == "HEAD") {
        curl_easy_setopt(m_curl, CURLOPT_NOBODY, 1L);
    }
    curl_easy_setopt(m_curl, CURLOPT_CUSTOMREQUEST, method.c_str());
    curl_easy_setopt(m_curl, CURLOPT_PREREQFUNCTION, &Transfer::OnSend);
    curl_easy_setopt(m_curl, CURLOPT_PREREQDATA, this);
}

bool Transfer::SetHeaders()
{
    bool isSet = true;
    for (const auto& [name, value] : m_request.headers) {
        if (boost::iequals(name, "Accept-Encoding")) {
            continue; // set where libcurl is told to decompress
        }
        const bool isEmpty = boost::trim_copy(value).empty();
        std::string line;
        const Secret::ScopedWipe wipeLine(line);
        line.reserve(name.size() + value.size() + 2);
        // For libcurl a name with ':' and nothing else takes a header away; with ';' it sends an empty one.
        line.append(name).append(isEmpty ? ";" : ": ").append(isEmpty ? "" : value);
        isSet = isSet && m_headers.Append(line);
    }
    if (!HasHeader(m_request, "Content-Type")) {
        isSet = isSet && m_headers.Append(m_request.body.empty() ? "Content-Type:" : "Content-Type: application/json");
    }
    if (!HasHeader(m_request, "Accept-Encoding")) {
        isSet = isSet && m_headers.Append("Accept-Encoding:"); // nothing is asked for
    }
    isSet = isSet && m_headers.Append("Expect:"); // no waiting for leave to send the body
    curl_easy_setopt(m_curl, CURLOPT_HTTPHEADER, m_headers.Get());
    return isSet;
}

void Transfer::SetAnswer()
{
    const std::string encodings = JoinedValues(m_request, "Accept-Encoding");
    // A compressed answer is decompressed even if nobody asked for it; the header that this option would send then is
    // taken away in SetHeaders.
    curl_easy_setopt(m_curl, CURLOPT_ACCEPT_ENCODING, encodings.empty() ? "identity" : encodings.c_str());
    curl_easy_setopt(m_curl, CURLOPT_HEADERFUNCTION, &Transfer::OnHeadLine);
    curl_easy_setopt(m_curl, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(m_curl, CURLOPT_WRITEFUNCTION, &Transfer::OnBody);
    curl_easy_setopt(m_curl, CURLOPT_WRITEDATA, this);
}

CURLcode Transfer::OnTlsContext(CURL* /*curl*/, void* context, void* transfer) noexcept
{
    auto* const tls = static_cast<SSL_CTX*>(context);
    SSL_CTX_set_options(tls, SSL_OP_CLEANSE_PLAINTEXT); // received text does not stay behind in the library's buffers
    SSL_CTX_set_keylog_callback(tls, nullptr);          // whatever the environment asks for
    const Transfer& self = *static_cast<Transfer*>(transfer);
    try {
        const bool isVerified = self.m_config.Of(SettingId::HttpVerifyPeer).number != 0;
        const bool isSet = SSL_CTX_set_cipher_list(tls, FORWARD_SECRET_CIPHERS) == 1 &&
                           (!isVerified || RequireName(tls, self.m_request.url));
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
    try {
        m_refusal = "the connection broke before an answer, and a " + m_request.method + " is not sent twice";
    } catch (const std::exception&) {
        m_refusal.clear(); // out of memory: libcurl's own words must do
    }
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
        m_refusal = "the answer's head is longer than " + std::to_string(MAX_HEAD_BYTES) + " bytes";
        return 0;
    }
    try {
        m_response.TakeHeadLine(std::string_view(bytes, size));
        return size;
    } catch (const std::exception&) {
        m_refusal = "there is no memory for the answer";
        return 0;
    }
}

std::size_t Transfer::TakeBody(const char* bytes, std::size_t size)
{
    const auto limit = static_cast<std::size_t>(m_config.Of(SettingId::HttpMaxBodyBytes).number);
    if (size > limit - m_response.BodySize()) {
        m_refusal = "the answer's body is longer than the " + std::to_string(limit) + " bytes of [Http] MaxBodyBytes";
        return 0;
    }
    try {
        m_response.TakeBody(bytes, size);
        return size;
    } catch (const std::exception&) {
        m_refusal = "there is no memory for the answer";
        return 0;
    }
}

std::string Transfer::WhyItFailed(CURLcode code) const
{
    std::string text = RequestText() + " failed: ";
    if (!m_refusal.empty()) {
        return text + m_refusal;
    }
    text += FailureText(m_curl, code, m_error.data());
    long verifyResult = X509_V_OK;
    curl_easy_getinfo(m_curl, CURLINFO_SSL_VERIFYRESULT, &verifyResult);
    if (code == CURLE_PEER_FAILED_VERIFICATION && verifyResult != X509_V_OK) {
        text += std::string(" (certificate verification: ") + X509_verify_cert_error_string(verifyResult) + ")";
    }
    return text + " (libcurl " + std::to_string(code) + ")";
}

std::string Transfer::RequestText() const
{
    return m_request.method + " " + UrlForMessage(m_request.url);
}

} // namespace Framework
