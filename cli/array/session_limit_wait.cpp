#include "cli/array/session_limit_wait.h"

std::optional<boost::chrono::milliseconds> SessionLimitWait::Next(std::uint8_t chance)
{
    const boost::chrono::milliseconds pause = m_pause / 2 + m_pause * chance / 255;
    if (m_waited + pause > IN_ALL) {
        return std::nullopt;
    }
    m_pause *= 2;
    m_waited += pause;
    return pause;
}
