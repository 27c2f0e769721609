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
    m_dropped += size - Keep({buffer.data(), size});
    return true;
}

// Returns how much of it there was room for.
std::size_t OutputCollector::Keep(std::string_view text)
{
    text = text.substr(0, m_limit.bytes - m_text.size());
    std::size_t kept = 0;
    while (kept < text.size() && m_lineEnds < m_limit.lines) {
        const std::size_t lineEnd = text.find('\n', kept);
        m_lineEnds += lineEnd == std::string_view::npos ? 0 : 1;
        kept = lineEnd == std::string_view::npos ? text.size() : lineEnd + 1;
    }
    m_text.append(text.substr(0, kept));
    return kept;
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
