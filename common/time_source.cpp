#include "common/time_source.h"

#include <boost/thread/thread.hpp>

namespace TimeSource {

std::int64_t WallSeconds()
{
    const auto sinceEpoch = boost::chrono::system_clock::now().time_since_epoch();
    return boost::chrono::duration_cast<boost::chrono::seconds>(sinceEpoch).count();
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
