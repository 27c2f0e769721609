#ifndef PRODUCT_STORAGE_FRAMEWORK_LOG_LISTENERS_H
#define PRODUCT_STORAGE_FRAMEWORK_LOG_LISTENERS_H

#include "framework/log/log_record.h"

/// The listeners of the process's threads. Any thread may call.
namespace Framework::Listeners {

/// Whether the calling thread has one that hears lines of `level`.
bool Want(int level) noexcept;

/// Lets the calling thread's listener hear it. Throws std::bad_alloc.
void Tell(const LogRecord& record);

} // namespace Framework::Listeners

#endif
