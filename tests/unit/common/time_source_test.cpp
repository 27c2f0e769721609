// The library's real clocks. They are a program of their own, because the unit tests' program brings others. Here it is
// the system's clocks that stand still: this program defines the two calls that read them and sleep by them.

#include "common/time_source.h"

#include <boost/thread/thread.hpp>
#include <gtest/gtest.h>

#include <dlfcn.h>
#include <pthread.h>

#include <cerrno>
#include <ctime>

namespace {

constexpr std::int64_t NANOSECONDS_PER_SECOND = 1000000000;

bool isScripted = false;
timespec wallClock = {};
std::int64_t steadyClock = 0; // nanoseconds
int sleeps = 0;

timespec ToTimespec(std::int64_t nanoseconds)
{
    return {static_cast<time_t>(nanoseconds / NANOSECONDS_PER_SECOND),
            static_cast<long>(nanoseconds % NANOSECONDS_PER_SECOND)};
}

} // namespace

extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec* reading) noexcept
{
    if (isScripted) {
        *reading = clock == CLOCK_REALTIME ? wallClock : ToTimespec(steadyClock);
        return 0;
    }
    static auto* const real = reinterpret_cast<decltype(::clock_gettime)*>(dlsym(RTLD_NEXT, "clock_gettime"));
    return real(clock, reading);
}

// Time passes in sleeps only.
extern "C" __attribute__((visibility("default"))) int
pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* end)
{
    if (isScripted) {
        ++sleeps;
        steadyClock = end->tv_sec * NANOSECONDS_PER_SECOND + end->tv_nsec;
        return ETIMEDOUT;
    }
    static auto* const real =
        reinterpret_cast<decltype(::pthread_cond_timedwait)*>(dlsym(RTLD_NEXT, "pthread_cond_timedwait"));
    return real(condition, mutex, end);
}

namespace {

class TimeSourceTest : public ::testing::Test {
protected:
    TimeSourceTest()
    {
        wallClock = {1700000000, 0};
        steadyClock = 5 * NANOSECONDS_PER_SECOND;
        sleeps = 0;
        isScripted = true;
    }
    ~TimeSourceTest() override { isScripted = false; }
};

TEST_F(TimeSourceTest, WallSecondsAreTheWholeSecondsSinceTheEpoch)
{
    EXPECT_EQ(1700000000, TimeSource::WallSeconds());
    wallClock.tv_nsec = 999999999;
    EXPECT_EQ(1700000000, TimeSource::WallSeconds());
    wallClock = {4102444800, 0}; // beyond 32 bits
    EXPECT_EQ(4102444800, TimeSource::WallSeconds());
}

TEST_F(TimeSourceTest, WallSecondsAreNotThoseOfTheSteadyClock)
{
    steadyClock += NANOSECONDS_PER_SECOND;
    EXPECT_EQ(1700000000, TimeSource::WallSeconds());
}

TEST_F(TimeSourceTest, SteadyNowCountsNanosecondsAndIgnoresTheWallClock)
{
    const auto before = TimeSource::SteadyNow();
    steadyClock += 1;
    EXPECT_EQ(1, (TimeSource::SteadyNow() - before).count());
    wallClock.tv_sec -= 3600; // set back
    EXPECT_EQ(1, (TimeSource::SteadyNow() - before).count());
    steadyClock += 3 * NANOSECONDS_PER_SECOND;
    EXPECT_EQ(3 * NANOSECONDS_PER_SECOND + 1, (TimeSource::SteadyNow() - before).count());
}

TEST_F(TimeSourceTest, SleepForSleepsThatManySeconds)
{
    const auto before = TimeSource::SteadyNow();
    TimeSource::SleepFor(boost::chrono::seconds(7));
    EXPECT_GE(sleeps, 1);
    EXPECT_EQ(7 * NANOSECONDS_PER_SECOND, (TimeSource::SteadyNow() - before).count());
}

TEST_F(TimeSourceTest, SleepForLeavesAnInterruptionToOthers)
{
    bool isInterrupted = false;
    boost::thread sleeper([&isInterrupted] {
        while (!boost::this_thread::interruption_requested()) {
            boost::this_thread::yield();
        }
        TimeSource::SleepFor(boost::chrono::seconds(1));
        isInterrupted = boost::this_thread::interruption_requested();
    });
    sleeper.interrupt();
    sleeper.join();
    EXPECT_TRUE(isInterrupted);
}

TEST_F(TimeSourceTest, SleepForNoTimeOrLessReturnsAtOnce)
{
    TimeSource::SleepFor(boost::chrono::seconds(0));
    TimeSource::SleepFor(boost::chrono::seconds(-5));
    EXPECT_EQ(0, sleeps);
    EXPECT_EQ(5 * NANOSECONDS_PER_SECOND, steadyClock);
}

} // namespace
