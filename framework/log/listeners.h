#ifndef PRODUCT_STORAGE_FRAMEWORK_LOG_LISTENERS_H
#define PRODUCT_STORAGE_FRAMEWORK_LOG_LISTENERS_H

#include "framework/log/log_record.h"

#include <atomic>

/// The listeners of the process's threads. Any thread may call.
namespace Framework::Listeners {

/// How many there are. Where there are none, which is usual, no thread has to look for its own.
inline std::atomic<int> count = 0;

/// Whether the calling thread's own hears lines of `level`.
bool OwnWants(int level) noexcept;

/// Whether the calling thread has one that hears lines of `level`.
inline bool Want(int level) noexcept
{
    return count.load(std::memory_order_relaxed) != 0 && OwnWants(level);
}

/// Lets the calling thread's listener hear it. Throws std::bad_alloc.
void Tell(const LogRecord& record);

} // namespace Framework::Listeners

#endif
