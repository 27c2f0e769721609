#include "framework/http/tcp_connection.h"

#include <algorithm>
#include <array>

namespace Framework {

TcpConnection::TcpConnection(const UrlParts& server, long timeoutSeconds)
    : m_curl(MakeCurlHandle())
{
    if (m_curl == nullptr) {
        m_problem = "there is no memory for a connection";
        return;
    }
    CURL* const curl = m_curl.get();
    std::array<char, CURL_ERROR_SIZE> error = {};
    // As http, whatever the scheme: for https, the handshake would be part of the connecting.
    curl_easy_setopt(curl, CURLOPT_URL, ("http://" + server.Server()).c_str());
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http");
    curl_easy_setopt(curl, CURLOPT_CONNECT_ONLY, 1L);
    curl_easy_setopt(curl, CURLOPT_PROXY, "");
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_QUICK_EXIT, 1L); // else a dead name server is waited for, whatever the time limit
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, std::max(timeoutSeconds, 1L));
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, error.data());
    const CURLcode code = curl_easy_perform(curl);
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, nullptr);
    if (code != CURLE_OK || curl_easy_getinfo(curl, CURLINFO_ACTIVESOCKET, &m_socket) != CURLE_OK) {
        m_problem = FailureText(curl, code, error.data());
    }
}

} // namespace Framework
