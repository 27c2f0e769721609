#include "base/process.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace Base {

// Both by their numbers: glibc 2.36 declares their functions for C only.

Descriptor OpenProcess(pid_t pid)
{
    return Descriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0))); // closed on exec by its nature
}

void SignalProcess(const Descriptor& process, int number)
{
    ::syscall(SYS_pidfd_send_signal, process.Get(), number, nullptr, 0);
}

} // namespace Base
