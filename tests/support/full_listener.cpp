#include "tests/support/full_listener.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <stdexcept>

FullListener::FullListener(const std::string& host, int port, Queue queue)
    : m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    constexpr int MORE_THAN_THE_QUEUE_TAKES = 8;
    constexpr int LONG_QUEUE = 16;
    const int on = 1;
    static_cast<void>(::setsockopt(m_listener.Get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<in_port_t>(port));
    ::inet_pton(AF_INET, host.c_str(), &address.sin_addr);
    socklen_t size = sizeof(address);
    if (::bind(m_listener.Get(), reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        ::listen(m_listener.Get(), queue == Queue::Full ? 0 : LONG_QUEUE) != 0 ||
        ::getsockname(m_listener.Get(), reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        throw std::runtime_error("no port to listen on");
    }
    m_port = ntohs(address.sin_port);
    for (int count = 0; queue == Queue::Full && count < MORE_THAN_THE_QUEUE_TAKES; ++count) {
        const Base::Descriptor& waiting =
            m_waiting.emplace_back(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        static_cast<void>(::connect(waiting.Get(), reinterpret_cast<sockaddr*>(&address), size));
    }
}
