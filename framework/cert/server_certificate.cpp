#include "framework/cert/server_certificate.h"

#include "base/files.h"
#include "base/host_port.h"
#include "framework/http/tcp_connection.h"
#include "framework/support/server_name.h"

#include <openssl/x509_vfy.h>

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <chrono>

namespace Framework {

namespace {

using Clock = std::chrono::steady_clock;

// Empty when `context` trusts what `trust` holds, and nothing else.
std::string LoadTrust(SSL_CTX* context, const TrustStore& trust)
{
    // Also what is not at the root: the HTTP client, whose libcurl sets this by itself, must not think otherwise.
    X509_VERIFY_PARAM_set_flags(SSL_CTX_get0_param(context), X509_V_FLAG_PARTIAL_CHAIN);
    if (trust.path.empty()) {
        return SSL_CTX_set_default_verify_paths(context) == 1 ? std::string()
                                                              : "the system's trust store cannot be read";
    }
    struct stat status = {};
    if (::stat(trust.path.c_str(), &status) != 0) {
        return "the trust store " + trust.path + " cannot be read: " + Base::ErrorText(errno);
    }
    const int isLoaded = S_ISDIR(status.st_mode) ? SSL_CTX_load_verify_dir(context, trust.path.c_str())
                                                 : SSL_CTX_load_verify_file(context, trust.path.c_str());
    return isLoaded == 1 ? std::string()
                         : "the trust store " + trust.path + " cannot be read: " + Base::TakeOpensslError();
}

// Has the handshake check that the certificate is made out to `host`, and tell the server a name that it goes by.
bool ExpectHost(SSL* tls, const std::string& host)
{
    return RequireServerName(SSL_get0_param(tls), host) &&
           (Base::IsNumericAddress(host) || SSL_set_tlsext_host_name(tls, host.c_str()) == 1);
}

/// The handshake over a non-blocking socket. The bytes go through memory, because the TLS library's own writing to a
/// socket that the server has closed would raise SIGPIPE in the host program.
class Handshake {
public:
    Handshake(SSL* tls, int socket, long timeoutSeconds)
        : m_tls(tls)
        , m_socket(socket)
        , m_deadline(Clock::now() + std::chrono::seconds(timeoutSeconds))
    {
    }

    /// Empty when the handshake is done, whatever the certificate is worth.
    std::string Perform()
    {
        BIO* const received = BIO_new(BIO_s_mem());
        BIO* const toSend = BIO_new(BIO_s_mem());
        SSL_set_bio(m_tls, received, toSend); // which owns them from here
        if (received == nullptr || toSend == nullptr) {
            return "there is no memory for it";
        }
        for (;;) {
            const int result = SSL_connect(m_tls);
            const int error = SSL_get_error(m_tls, result);
            const std::string reason = result == 1 || error == SSL_ERROR_WANT_READ ? "" : Base::TakeOpensslError();
            if (!Send(toSend)) {
                return m_problem;
            }
            if (result == 1) {
                return {};
            }
            if (error != SSL_ERROR_WANT_READ) {
                return reason.empty() ? "the server hung up" : reason;
            }
            if (!Receive(received)) {
                return m_problem;
            }
        }
    }

private:
    bool Send(BIO* bytes)
    {
        char* start = nullptr;
        const long size = BIO_get_mem_data(bytes, &start);
        for (long sent = 0; sent < size;) {
            const ssize_t count = ::send(m_socket, start + sent, static_cast<std::size_t>(size - sent), MSG_NOSIGNAL);
            if (count > 0) {
                sent += count;
            } else if (!WaitAfter(count, POLLOUT)) {
                return false;
            }
        }
        BIO_reset(bytes);
        return true;
    }

    bool Receive(BIO* bytes)
    {
        std::array<char, 16384> buffer;
        for (;;) {
            const ssize_t count = ::recv(m_socket, buffer.data(), buffer.size(), 0);
            if (count > 0) {
                return BIO_write(bytes, buffer.data(), static_cast<int>(count)) == count;
            }
            if (!WaitAfter(count, POLLIN)) {
                return false;
            }
        }
    }

    // Waits until what gave `count` can be tried again. False, with the reason in m_problem, when it cannot.
    bool WaitAfter(ssize_t count, short events)
    {
        if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
            m_problem = count == 0 ? "the server hung up" : Base::ErrorText(errno);
            return false;
        }
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(m_deadline - Clock::now()).count();
        pollfd wait = {m_socket, events, 0};
        if (rest > 0 && (::poll(&wait, 1, static_cast<int>(rest)) > 0 || errno == EINTR)) {
            return true;
        }
        m_problem = "it took too long";
        return false;
    }

    SSL* m_tls;
    const int m_socket;
    const Clock::time_point m_deadline;
    std::string m_problem;
};

} // namespace

ServerCertificate FetchServerCertificate(const UrlParts& server, const TrustStore& trust, long timeoutSeconds)
{
    ServerCertificate result;
    const Base::TlsContextHandle context(SSL_CTX_new(TLS_client_method()));
    if (context == nullptr || SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION) != 1) {
        result.problem = "TLS cannot be used: " + Base::TakeOpensslError();
        return result;
    }
    result.problem = LoadTrust(context.get(), trust);
    if (!result.problem.empty()) {
        return result;
    }
    const TcpConnection connection(server, timeoutSeconds);
    if (!connection.IsOpen()) {
        result.problem = "no connection: " + connection.Problem();
        return result;
    }
    const Base::TlsHandle tls(SSL_new(context.get()));
    if (tls == nullptr || !ExpectHost(tls.get(), Base::BareHost(server.host))) {
        result.problem = "TLS cannot be used: " + Base::TakeOpensslError();
        return result;
    }
    // The handshake goes on past a certificate that is not trusted, so that it can be shown; nothing is sent after it.
    SSL_set_verify(tls.get(), SSL_VERIFY_NONE, nullptr);
    const std::string failure = Handshake(tls.get(), connection.Socket(), timeoutSeconds).Perform();
    if (!failure.empty()) {
        result.problem = "no TLS connection: " + failure;
        return result;
    }
    result.certificate.reset(SSL_get1_peer_certificate(tls.get()));
    const long verdict = SSL_get_verify_result(tls.get());
    if (result.certificate == nullptr) {
        result.problem = "the server showed no certificate";
    } else if (verdict != X509_V_OK) {
        result.problem = X509_verify_cert_error_string(verdict);
    }
    return result;
}

} // namespace Framework
