#include "tests/fakes/fake_clock.h"

#include "common/time_source.h"
#include "tests/fakes/fakes.h"

// The library's clocks.

std::int64_t TimeSource::WallSeconds()
{
    return Fakes::Clock().WallSeconds();
}

boost::chrono::steady_clock::time_point TimeSource::SteadyNow()
{
    return Fakes::Clock().SteadyNow();
}

void TimeSource::SleepFor(const boost::chrono::seconds& duration)
{
    Fakes::Clock().Sleep(duration);
}

// What a test makes of them.

namespace {

constexpr std::int64_t SOME_DAY = 1700000000; // seconds since the epoch

} // namespace

void FakeClock::SetWallSeconds(std::int64_t seconds)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_wallSeconds = seconds;
}

void FakeClock::Advance(const boost::chrono::nanoseconds& duration)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_wallSeconds += boost::chrono::duration_cast<boost::chrono::seconds>(duration).count();
    m_steadyNow += duration;
}

void FakeClock::Clear()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_wallSeconds = SOME_DAY;
    m_steadyNow = boost::chrono::steady_clock::time_point(boost::chrono::hours(1));
    m_sleeps.clear();
    m_sleepObserver = nullptr;
}

void FakeClock::ObserveSleeps(const std::function<void()>& observer)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_sleepObserver = observer;
}

std::vector<std::int64_t> FakeClock::Sleeps() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_sleeps;
}

std::int64_t FakeClock::WallSeconds() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_wallSeconds;
}

boost::chrono::steady_clock::time_point FakeClock::SteadyNow() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_steadyNow;
}

void FakeClock::Sleep(const boost::chrono::seconds& duration)
{
    std::function<void()> observer;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_sleeps.push_back(duration.count());
        if (duration > boost::chrono::seconds::zero()) {
            m_wallSeconds += duration.count();
            m_steadyNow += duration;
        }
        observer = m_sleepObserver;
    }
    if (observer) {
        observer();
    }
}
