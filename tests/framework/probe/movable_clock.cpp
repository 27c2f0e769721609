#include "tests/framework/probe/movable_clock.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <ctime>

namespace {

std::atomic<std::time_t> passedSeconds = 0;

} // namespace

// In place of the C library's, also for the shared libraries that the probe is linked with.
extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec* now) noexcept
{
    const auto result = static_cast<int>(::syscall(SYS_clock_gettime, clock, now));
    now->tv_sec += passedSeconds;
    return result;
}

extern "C" __attribute__((visibility("default"))) std::time_t time(std::time_t* now) noexcept
{
    timespec exact = {};
    ::clock_gettime(CLOCK_REALTIME, &exact);
    if (now != nullptr) {
        *now = exact.tv_sec;
    }
    return exact.tv_sec;
}

void Probe::LetPass(std::chrono::seconds duration)
{
    passedSeconds += duration.count();
}
