#ifndef PRODUCT_STORAGE_FRAMEWORK_SAN_PATIENCE_H
#define PRODUCT_STORAGE_FRAMEWORK_SAN_PATIENCE_H

#include <chrono>
#include <cstddef>

namespace Framework {

/// How long an operation whose outcome is in doubt is gone on with: four tries, with growing pauses of up to half more
/// or less, and a minute in all from the first failure.
class Patience {
public:
    /// Waits before the next try; false, without a wait, when there is to be none. An interruption of the thread does
    /// not end it, and is there still afterwards.
    bool Wait();

    /// When the minute is over; before the first Wait it has not begun, and there is no end.
    std::chrono::steady_clock::time_point End() const noexcept { return m_end; }

private:
    std::size_t m_tries = 1;
    std::chrono::steady_clock::time_point m_end = std::chrono::steady_clock::time_point::max();
};

} // namespace Framework

#endif
