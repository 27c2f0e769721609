#ifndef PRODUCT_STORAGE_FRAMEWORK_SHELL_CHILD_PROCESS_H
#define PRODUCT_STORAGE_FRAMEWORK_SHELL_CHILD_PROCESS_H

#include "base/descriptor.h"

#include <sys/types.h>

#include <string>
#include <vector>

namespace Framework {

/// One end for us of each of a shell's pipes.
struct ShellPipes {
    Base::Descriptor output;
    Base::Descriptor error;
    Base::Descriptor status; ///< receives the shell's exit status in decimal and a line end when it exits
    Base::Descriptor ended;  ///< readable when the shell has ended; not open where the system has no such thing
};

/// A shell that runs one command in a process group of its own, with standard input from /dev/null, every signal at its
/// default and no descriptor of this process but its pipes.
///
/// The shell writes its exit status into a pipe, because the status that wait gives is lost in a program that ignores
/// SIGCHLD or that waits for children it does not know. In such a program nothing tells the status of a shell that a
/// signal killed, that was replaced (exec), or whose command has an EXIT trap of its own.
class ChildProcess {
public:
    ChildProcess() = default;
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Starts `command`. 0, or the error number.
    int Start(const std::string& command, const std::vector<std::string>& environment);

    ~ChildProcess();

    ShellPipes& Pipes() { return m_pipes; }

    /// To all processes of the group.
    void SignalGroup(int signal) const;

    /// Whether the group has a process left, after Reap. The group keeps its number from being used again.
    bool HasGroup() const;

    /// Whether the shell has ended, also when somebody else has waited for it.
    bool HasEnded() const;

    /// Waits for the shell, which is about to end. Returns its status, 128 + the signal if one killed it, or -1 when
    /// somebody else has taken that away.
    int Reap();

private:
    ShellPipes m_pipes;
    pid_t m_group = -1;      // also the shell's process id
    bool m_isReaped = false; // by us, that is
};

} // namespace Framework

#endif
