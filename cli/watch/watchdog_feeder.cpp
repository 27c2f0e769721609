#include "cli/watch/watchdog_feeder.h"

#include "base/printable_text.h"
#include "cli/console/report.h"

WatchdogFeeder::WatchdogFeeder(const Base::ServiceManager& manager)
    : m_manager(manager)
{
    if (const auto limit = manager.WatchdogLimit()) {
        m_thread = std::thread([this, interval = *limit / 2] { Feed(interval); });
    }
}

WatchdogFeeder::~WatchdogFeeder()
{
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_isEnding = true;
    }
    m_changed.notify_one();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void WatchdogFeeder::Promise(std::chrono::milliseconds within, const std::string& step)
{
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_promised = Clock::now() + within;
        m_step = step;
        m_isBroken = false;
    }
    m_changed.notify_one();
}

void WatchdogFeeder::Feed(std::chrono::microseconds interval)
{
    std::unique_lock<std::mutex> guard(m_lock);
    while (!m_isEnding) {
        if (!m_isBroken && Clock::now() >= m_promised) {
            m_isBroken = true;
            const std::string cause =
                "this watch hangs: " + m_step + " takes longer than it may; last step: " + Report::LastStep();
            Report::Tell("warning: " + cause, Report::Look::Warning);
            m_manager.Tell("STATUS=" + Base::Printable(cause));
        }
        if (!m_isBroken) {
            m_manager.Tell("WATCHDOG=1");
        }
        m_changed.wait_for(guard, interval);
    }
}
