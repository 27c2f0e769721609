#include "base/service_manager.h"

#include "base/descriptor.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace Base {

namespace {

std::string_view Variable(const char* name)
{
    const char* const value = std::getenv(name);
    return value == nullptr ? std::string_view() : std::string_view(value);
}

std::optional<std::int64_t> Number(std::string_view text)
{
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

} // namespace

ServiceManager::ServiceManager()
    : m_address(Variable("NOTIFY_SOCKET"))
{
    const bool isAddress = !m_address.empty() && (m_address.front() == '/' || m_address.front() == '@') &&
                           m_address.size() < sizeof sockaddr_un().sun_path;
    if (!isAddress) {
        m_address.clear(); // other families than Unix's are for virtual machines
        return;
    }
    if (m_address.front() == '@') {
        m_address.front() = '\0';
    }
    const auto limit = Number(Variable("WATCHDOG_USEC"));
    const std::string_view watched = Variable("WATCHDOG_PID");
    if (limit && *limit > 0 && (watched.empty() || Number(watched) == ::getpid())) {
        m_watchdogLimit = std::chrono::microseconds(*limit);
    }
}

void ServiceManager::Tell(const std::string& assignments) const
{
    if (m_address.empty()) {
        return;
    }
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(&address.sun_path, m_address.data(), m_address.size());
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + m_address.size());
    const Descriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ::sendto(socket.Get(), assignments.data(), assignments.size(), MSG_NOSIGNAL | MSG_DONTWAIT,
             reinterpret_cast<const sockaddr*>(&address), length);
}

bool IsJournal(int descriptor)
{
    const std::string_view stream = Variable("JOURNAL_STREAM"); // "DEVICE:INODE"
    const std::size_t colon = stream.find(':');
    struct stat file = {};
    return colon != std::string_view::npos && ::fstat(descriptor, &file) == 0 &&
           Number(stream.substr(0, colon)) == static_cast<std::int64_t>(file.st_dev) &&
           Number(stream.substr(colon + 1)) == static_cast<std::int64_t>(file.st_ino);
}

} // namespace Base
