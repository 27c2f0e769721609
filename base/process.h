#ifndef PRODUCT_STORAGE_BASE_PROCESS_H
#define PRODUCT_STORAGE_BASE_PROCESS_H

#include "base/descriptor.h"

#include <sys/types.h>

/// Processes by descriptors, which never come to mean another one, as a number does once its process was waited for.
namespace Base {

/// A descriptor of the process, closed on exec, which is readable once it has ended. It is not open, and errno tells
/// why, where there is no such process (ESRCH), where the system has no such thing or forbids it, and where no
/// descriptor is left.
Descriptor OpenProcess(pid_t pid);

/// Nothing happens when the process has ended.
void SignalProcess(const Descriptor& process, int number);

} // namespace Base

#endif
