#ifndef PRODUCT_STORAGE_COMMON_TIME_SOURCE_H
#define PRODUCT_STORAGE_COMMON_TIME_SOURCE_H

#include <boost/chrono/duration.hpp>
#include <boost/chrono/system_clocks.hpp>

#include <cstdint>

/// The library's clocks and its sleep, in one place so that a program can link others. Any thread may call.
namespace TimeSource {

/// Whole seconds since the epoch.
std::int64_t WallSeconds();

/// A clock that never goes backwards.
boost::chrono::steady_clock::time_point SteadyNow();

/// Blocks the calling thread; a negative or zero duration returns at once.
void SleepFor(const boost::chrono::seconds& duration);

} // namespace TimeSource

#endif
