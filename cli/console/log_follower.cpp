#include "cli/console/log_follower.h"

#include <chrono>

namespace {

constexpr std::chrono::milliseconds LOOK_EVERY(250);

} // namespace

LogFollower::LogFollower(LogTail& log)
    : m_log(log)
    , m_thread([this] { Follow(); })
{
}

void LogFollower::PrintNow()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_log.PrintFailures();
}

LogFollower::~LogFollower()
{
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_isEnding = true;
    }
    m_end.notify_one();
    m_thread.join();
    PrintNow();
}

void LogFollower::Follow()
{
    std::unique_lock<std::mutex> guard(m_lock);
    while (!m_end.wait_for(guard, LOOK_EVERY, [this] { return m_isEnding; })) {
        m_log.PrintFailures();
    }
}
