#include "cli/doctor/server_look.h"

#include "base/descriptor.h"
#include "base/files.h"
#include "base/free_by.h"
#include "base/host_port.h"
#include "base/openssl_handles.h"

#include <boost/algorithm/string/case_conv.hpp>

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <memory>
#include <stdexcept>

namespace Doctor {

namespace {

using Addresses = std::unique_ptr<addrinfo, Base::FreeBy<::freeaddrinfo>>;

constexpr std::size_t LONGEST_HEAD = 65536;

Addresses Resolve(const std::string& host, const std::string& port)
{
    addrinfo wish = {};
    wish.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const int error = ::getaddrinfo(host.c_str(), port.c_str(), &wish, &found);
    if (error != 0) {
        throw std::runtime_error(std::string("the name is not known here: ") + ::gai_strerror(error));
    }
    return Addresses(found);
}

// 0, or why no connection came about.
int AwaitConnection(int socket, std::chrono::milliseconds limit)
{
    pollfd waiting{socket, POLLOUT, 0};
    if (::poll(&waiting, 1, static_cast<int>(limit.count())) != 1) {
        return ETIMEDOUT;
    }
    int error = 0;
    socklen_t size = sizeof error;
    return ::getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

// One that is not open when none came about within `limit`; why, in `error`.
Base::Descriptor ConnectTo(const addrinfo& address, std::chrono::milliseconds limit, int& error)
{
    Base::Descriptor connection(::socket(address.ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    error = connection.IsOpen() ? 0 : errno;
    if (error == 0 && ::connect(connection.Get(), address.ai_addr, address.ai_addrlen) != 0) {
        error = errno == EINPROGRESS ? AwaitConnection(connection.Get(), limit) : errno;
    }
    return error == 0 ? std::move(connection) : Base::Descriptor();
}

// To the first of the name's addresses that takes one, as the array's clients do; they share the limit.
Base::Descriptor Connect(const std::string& host, const std::string& port, std::chrono::milliseconds limit)
{
    const Addresses addresses = Resolve(host, port);
    int count = 0;
    for (const addrinfo* address = addresses.get(); address != nullptr; address = address->ai_next) {
        ++count;
    }
    Base::Descriptor connection;
    int error = 0;
    for (const addrinfo* address = addresses.get(); address != nullptr && !connection.IsOpen();
         address = address->ai_next) {
        connection = ConnectTo(*address, limit / count, error);
    }
    if (!connection.IsOpen()) {
        throw std::runtime_error("it takes no connection: " + Base::ErrorText(error));
    }
    ::fcntl(connection.Get(), F_SETFL, 0); // it waits from now on
    return connection;
}

// How long its reads and writes wait, each.
void SetPatience(const Base::Descriptor& connection, std::chrono::milliseconds limit)
{
    const auto most = std::max(limit, std::chrono::milliseconds(1)); // none at all would be for ever
    const timeval patience = {most.count() / 1000, most.count() % 1000 * 1000};
    ::setsockopt(connection.Get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    ::setsockopt(connection.Get(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
}

/// TLS over a connection that is there.
class Tls {
public:
    Tls(const Base::Descriptor& connection, const std::string& host)
        : m_context(SSL_CTX_new(TLS_client_method()))
        , m_tls(m_context == nullptr ? nullptr : SSL_new(m_context.get()))
    {
        if (m_tls == nullptr || SSL_set_fd(m_tls.get(), connection.Get()) != 1) {
            Base::ThrowOpenssl("no TLS");
        }
        SSL_set_verify(m_tls.get(), SSL_VERIFY_NONE, nullptr);
        if (!Base::IsNumericAddress(host)) {
            SSL_ctrl(m_tls.get(), SSL_CTRL_SET_TLSEXT_HOSTNAME, TLSEXT_NAMETYPE_host_name, // SSL_set_tlsext_host_name,
                     std::string(host).data());                                            // without its C cast
        }
        if (SSL_connect(m_tls.get()) != 1) {
            const std::string reason = Base::TakeOpensslError();
            throw std::runtime_error("it takes connections, and no TLS is agreed on" +
                                     (reason.empty() ? "" : ": " + reason));
        }
    }

    void TakeDates(ServerLook& look) const
    {
        const Base::CertificateHandle certificate(SSL_get1_peer_certificate(m_tls.get()));
        if (certificate != nullptr) {
            look.certificateBegin = TimeOf(X509_get0_notBefore(certificate.get()));
            look.certificateEnd = TimeOf(X509_get0_notAfter(certificate.get()));
        }
    }

    SSL* Get() const { return m_tls.get(); }

private:
    static std::optional<std::time_t> TimeOf(const ASN1_TIME* time)
    {
        std::tm parts = {};
        return ASN1_TIME_to_tm(time, &parts) == 1 ? std::optional(::timegm(&parts)) : std::nullopt;
    }

    Base::TlsContextHandle m_context;
    Base::TlsHandle m_tls;
};

// Asks, and reads until the end of the answer's head. Empty when there is none.
std::string AskForHead(const Base::Descriptor& connection, const Tls* tls, const std::string& request)
{
    const ssize_t sent = tls != nullptr ? SSL_write(tls->Get(), request.data(), static_cast<int>(request.size()))
                                        : ::send(connection.Get(), request.data(), request.size(), MSG_NOSIGNAL);
    std::string head;
    char buffer[4096];
    while (sent > 0 && head.find("\r\n\r\n") == std::string::npos && head.size() < LONGEST_HEAD) {
        const ssize_t count = tls != nullptr ? SSL_read(tls->Get(), buffer, sizeof buffer)
                                             : ::recv(connection.Get(), buffer, sizeof buffer, 0);
        if (count <= 0) {
            break;
        }
        head.append(buffer, static_cast<std::size_t>(count));
    }
    Base::TakeOpensslError();
    return head;
}

// By the line "Date: Sun, 06 Nov 1994 08:49:37 GMT".
std::optional<std::time_t> DateIn(const std::string& head)
{
    constexpr std::string_view NAME = "\r\ndate:";
    const std::size_t place = boost::to_lower_copy(head).find(NAME);
    std::tm parts = {};
    if (place == std::string::npos ||
        ::strptime(head.c_str() + place + NAME.size(), " %a, %d %b %Y %H:%M:%S GMT", &parts) == nullptr) {
        return std::nullopt;
    }
    return ::timegm(&parts);
}

void BlockBrokenPipes()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE); // for OpenSSL's writes; the thread has no others
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

void LookFurther(const std::string& host, const std::string& port, bool isTls, std::chrono::milliseconds limit,
                 ServerLook& look)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + limit;
    const auto left = [end] { return std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()); };
    const Base::Descriptor connection = Connect(host, port, limit);
    look.stage = ServerLook::Stage::Connected;
    SetPatience(connection, left());
    std::optional<Tls> tls;
    if (isTls) {
        tls.emplace(connection, host);
        tls->TakeDates(look);
        look.stage = ServerLook::Stage::Secured;
        SetPatience(connection, left());
    }
    const std::string head = AskForHead(connection, tls ? &*tls : nullptr,
                                        "HEAD / HTTP/1.1\r\nHost: " + Base::BracketedHost(host) + ":" + port +
                                            "\r\nConnection: close\r\n\r\n");
    if (head.compare(0, 5, "HTTP/") != 0) {
        throw std::runtime_error("it takes connections, and does not answer as an HTTP server");
    }
    look.stage = ServerLook::Stage::Answered;
    if (const auto date = DateIn(head)) {
        look.secondsAhead = *date - std::time(nullptr);
    }
}

} // namespace

ServerLook LookAtServer(const std::string& host, const std::string& port, bool isTls, std::chrono::milliseconds limit)
{
    BlockBrokenPipes();
    ServerLook look;
    try {
        LookFurther(host, port, isTls, limit, look);
    } catch (const std::exception& error) {
        look.problem = error.what();
    }
    return look;
}

} // namespace Doctor
