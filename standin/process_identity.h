#ifndef ZAVSIM_STANDIN_PROCESS_IDENTITY_H
#define ZAVSIM_STANDIN_PROCESS_IDENTITY_H

#include <chrono>
#include <cstdint>
#include <string>

#include <sys/types.h>

namespace ZavSimNode {

/// One process, told apart from a later one of the same number by the time of its start. Operations throw
/// std::runtime_error where the system does not tell whether it is there, as when no descriptor is left.
struct ProcessIdentity {
    pid_t pid = 0;
    std::uint64_t start = 0; ///< clock ticks after boot, as /proc has it

    /// Of a running process; start stays 0 when there is none of that number.
    static ProcessIdentity Of(pid_t pid);

    /// False when it has ended, also while nobody has waited for it yet.
    bool IsAlive() const;
};

/// Asks the process to end (SIGTERM), waits, and ends it the hard way (SIGKILL) when it did not within the time.
/// Another process that has its number by now is left alone, and so is every one where the system gives no descriptor
/// of it. True when it has ended. Throws as ProcessIdentity does.
bool EndProcess(const ProcessIdentity& process, std::chrono::milliseconds patience);

} // namespace ZavSimNode

#endif
