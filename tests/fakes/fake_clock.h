#ifndef PRODUCT_STORAGE_TESTS_FAKES_FAKE_CLOCK_H
#define PRODUCT_STORAGE_TESTS_FAKES_FAKE_CLOCK_H

#include <boost/chrono/duration.hpp>
#include <boost/chrono/system_clocks.hpp>

#include <cstdint>
#include <functional>
#include <mutex>
#include <vector>

/// The library's clocks, which stand still until a test moves them, and its sleep, which is recorded and moves them.
class FakeClock {
public:
    void SetWallSeconds(std::int64_t seconds);

    /// Moves both clocks.
    void Advance(const boost::chrono::nanoseconds& duration);
    void Clear();

    /// Called in each sleep, of whatever length, on the sleeping thread.
    void ObserveSleeps(const std::function<void()>& observer);

    /// Every sleep, in seconds, in order; those of no length too.
    std::vector<std::int64_t> Sleeps() const;

    std::int64_t WallSeconds() const;
    boost::chrono::steady_clock::time_point SteadyNow() const;
    void Sleep(const boost::chrono::seconds& duration);

private:
    mutable std::mutex m_lock;
    std::int64_t m_wallSeconds = 0;                      // guarded by m_lock
    boost::chrono::steady_clock::time_point m_steadyNow; // guarded by m_lock
    std::vector<std::int64_t> m_sleeps;                  // guarded by m_lock
    std::function<void()> m_sleepObserver;               // guarded by m_lock
};

#endif
