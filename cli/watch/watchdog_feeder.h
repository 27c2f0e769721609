#ifndef PRODUCT_STORAGE_CLI_WATCH_WATCHDOG_FEEDER_H
#define PRODUCT_STORAGE_CLI_WATCH_WATCHDOG_FEEDER_H

#include "base/service_manager.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

/// Tells a service manager that this process goes on, at half of the time in which it wants to hear that, but only as
/// long as the work keeps what it promised: progress within a time. A process that hangs is not kept alive by a thread
/// that knows nothing of it. Where nobody wants to hear it, nothing is done.
class WatchdogFeeder {
public:
    /// `manager` must outlive it. Nothing is promised yet.
    explicit WatchdogFeeder(const Base::ServiceManager& manager);
    WatchdogFeeder(const WatchdogFeeder&) = delete;
    WatchdogFeeder& operator=(const WatchdogFeeder&) = delete;
    ~WatchdogFeeder();

    /// The work went on, and goes on within so long, at the latest; `step` is what it is about. Any thread.
    void Promise(std::chrono::milliseconds within, const std::string& step);

private:
    using Clock = std::chrono::steady_clock;

    void Feed(std::chrono::microseconds interval);

    const Base::ServiceManager& m_manager;
    std::mutex m_lock;
    std::condition_variable m_changed;
    Clock::time_point m_promised; // guarded by m_lock; when the work has gone on
    std::string m_step;           // guarded by m_lock
    bool m_isBroken = true;       // guarded by m_lock; the promise, and it was told
    bool m_isEnding = false;      // guarded by m_lock
    std::thread m_thread;         // last: it uses the others
};

#endif
