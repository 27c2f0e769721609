#include "tests/framework/support/raw_server.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <stdexcept>

RawServer::RawServer(const Handler& handler)
    : m_handler(handler)
    , m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    int ends[2] = {};
    if (::bind(m_listener.Get(), reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        ::listen(m_listener.Get(), 16) != 0 ||
        ::getsockname(m_listener.Get(), reinterpret_cast<sockaddr*>(&address), &size) != 0 ||
        ::pipe2(ends, O_CLOEXEC) != 0) {
        throw std::runtime_error("no port to listen on");
    }
    m_toldToStop = Base::Descriptor(ends[0]);
    m_stop = Base::Descriptor(ends[1]);
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { Serve(); });
}

RawServer::RawServer(const std::string& answer)
    : RawServer([this, answer](int socket) {
        const std::string request = ReadRequest(socket);
        {
            const std::lock_guard<std::mutex> guard(m_mutex);
            m_requests.push_back(request);
        }
        SendText(socket, answer);
    })
{
}

RawServer::~RawServer()
{
    m_stop.Close();
    m_thread.join();
}

void RawServer::Serve()
{
    for (;;) {
        std::array<pollfd, 2> waits = {{{m_listener.Get(), POLLIN, 0}, {m_toldToStop.Get(), POLLIN, 0}}};
        ::poll(waits.data(), waits.size(), -1);
        if (waits[0].revents == 0) {
            return; // all who came before are served
        }
        Base::Descriptor socket(::accept4(m_listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (!socket.IsOpen()) {
            continue;
        }
        {
            const std::lock_guard<std::mutex> guard(m_mutex);
            ++m_connectionCount;
        }
        m_handler(socket.Get());
        socket.Close();
        const std::lock_guard<std::mutex> closing(m_mutex);
        ++m_closedCount;
        m_closed.notify_all();
    }
}

std::string RawServer::Url(const std::string& rest) const
{
    return "http://127.0.0.1:" + std::to_string(m_port) + rest;
}

std::size_t RawServer::ConnectionCount() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_connectionCount;
}

void RawServer::AwaitClosed(std::size_t count) const
{
    std::unique_lock<std::mutex> guard(m_mutex);
    m_closed.wait(guard, [this, count] { return m_closedCount >= count; });
}

std::vector<std::string> RawServer::Requests() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_requests;
}

std::string ReadRequest(int socket)
{
    std::string request;
    std::size_t wanted = std::string::npos;
    std::array<char, 65536> buffer;
    while (request.size() < wanted) {
        const ssize_t count = ::recv(socket, buffer.data(), buffer.size(), 0);
        if (count <= 0) {
            break;
        }
        request.append(buffer.data(), static_cast<std::size_t>(count));
        const std::size_t headEnd = request.find("\r\n\r\n");
        if (wanted == std::string::npos && headEnd != std::string::npos) {
            const std::string name = "\r\nContent-Length: ";
            const std::size_t length = request.find(name);
            const bool hasBody = length < headEnd;
            wanted = headEnd + 4 + (hasBody ? std::stoul(request.substr(length + name.size(), 20)) : 0);
        }
    }
    return request;
}

void SendText(int socket, const std::string& text)
{
    std::size_t sent = 0;
    while (sent < text.size()) {
        const ssize_t count = ::send(socket, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) {
            return; // the client has hung up
        }
        sent += static_cast<std::size_t>(count);
    }
}
