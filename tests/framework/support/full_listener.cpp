#include "tests/framework/support/full_listener.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

FullListener::FullListener()
    : m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    constexpr int MORE_THAN_THE_QUEUE_TAKES = 8;
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    if (::bind(m_listener, reinterpret_cast<sockaddr*>(&address), size) != 0 || ::listen(m_listener, 0) != 0 ||
        ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        throw std::runtime_error("no port to listen on");
    }
    m_port = ntohs(address.sin_port);
    for (int count = 0; count < MORE_THAN_THE_QUEUE_TAKES; ++count) {
        const int waiting = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        static_cast<void>(::connect(waiting, reinterpret_cast<sockaddr*>(&address), size));
        m_waiting.push_back(waiting);
    }
}

FullListener::~FullListener()
{
    for (const int waiting : m_waiting) {
        ::close(waiting);
    }
    ::close(m_listener);
}
