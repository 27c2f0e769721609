#include "framework/shell/output_collector.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace Framework {

bool OutputCollector::ReadOnce()
{
    std::array<char, 65536> buffer;
    const ssize_t count = ::read(m_pipe.Get(), buffer.data(), buffer.size());
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
        return false;
    }
    if (count <= 0) {
        m_pipe.Close();
        return false;
    }
    const auto size = static_cast<std::size_t>(count);
    const std::size_t kept = std::min(size, m_limit - m_text.size());
    m_text.append(buffer.data(), kept);
    m_dropped += size - kept;
    return true;
}

void OutputCollector::ReadRest()
{
    if (!m_pipe.IsOpen()) {
        return;
    }
    const int capacity = ::fcntl(m_pipe.Get(), F_GETPIPE_SZ);
    const std::size_t end = m_text.size() + m_dropped + static_cast<std::size_t>(std::max(capacity, 0));
    while (m_text.size() + m_dropped < end && ReadOnce()) {
    }
}

std::vector<std::string> OutputCollector::Lines() const
{
    std::vector<std::string> lines;
    for (std::size_t start = 0; start < m_text.size();) {
        const std::size_t end = std::min(m_text.find('\n', start), m_text.size());
        lines.emplace_back(m_text, start, end - start);
        start = end + 1;
    }
    return lines;
}

} // namespace Framework
