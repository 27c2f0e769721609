#include "tests/simulation/messages.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace Simulation {

namespace {

constexpr std::size_t MOST_BYTES = 150000; // below what a socket takes by default

} // namespace

void Send(int socket, const Message& message)
{
    std::string bytes;
    for (const std::string& field : message) {
        const auto size = static_cast<std::uint32_t>(field.size());
        bytes.append(reinterpret_cast<const char*>(&size), sizeof size);
        bytes += field;
    }
    ssize_t sent = -1;
    do {
        sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    if (bytes.size() > MOST_BYTES || sent != static_cast<ssize_t>(bytes.size())) {
        throw std::runtime_error("a message of " + std::to_string(bytes.size()) + " bytes was not sent");
    }
}

bool Receive(int socket, Message& message)
{
    static std::array<char, MOST_BYTES> buffer; // of the one thread that takes part; each thread would have it zeroed
    ssize_t count = -1;
    do {
        count = ::recv(socket, buffer.data(), buffer.size(), 0);
    } while (count < 0 && errno == EINTR);
    if (count == 0 || (count < 0 && errno == ECONNRESET)) {
        return false;
    }
    if (count < 0) {
        throw std::runtime_error(std::string("no message: ") + std::strerror(errno));
    }
    message.clear();
    const char* at = buffer.data();
    const char* const end = at + count;
    while (at != end) {
        std::uint32_t size = 0;
        std::memcpy(&size, at, sizeof size);
        at += sizeof size;
        message.emplace_back(at, size);
        at += size;
    }
    return true;
}

} // namespace Simulation
