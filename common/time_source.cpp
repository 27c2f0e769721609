#include "common/time_source.h"

#include <boost/thread/thread.hpp>

#include <ctime>

namespace TimeSource {

std::int64_t WallSeconds()
{
    return std::time(nullptr);
}

boost::chrono::steady_clock::time_point SteadyNow()
{
    return boost::chrono::steady_clock::now();
}

void SleepFor(const boost::chrono::seconds& duration)
{
    if (duration > boost::chrono::seconds::zero()) {
        // Callers promise to let no exception out; an interruption waits for one who can take it.
        const boost::this_thread::disable_interruption whole;
        boost::this_thread::sleep_for(duration);
    }
}

} // namespace TimeSource
