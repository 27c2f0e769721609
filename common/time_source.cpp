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
        boost::this_thread::sleep_for(duration);
    }
}

} // namespace TimeSource
