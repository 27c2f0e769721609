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
    Base::Descriptor status; ///< receives the shell's exit status in decimal and a line end
    Base::Descriptor ended;  ///< readable when the outer shell has ended; not open when that was so from the beginning
};

/// A shell that runs one command in a process group of its own, with standard input from /dev/null, every signal at its
/// default and no descriptor of this process but its pipes.
///
/// The shell that runs the command is the child of a second one, which writes its exit status into a pipe. A status
/// that wait gives would be lost in a program that ignores SIGCHLD or that waits for children it does not know.
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

    /// Waits for the outer shell, which is about to end. Returns 128 + the signal that killed it, or -1 when it was
    /// killed by none or nothing is known.
    int Reap();

private:
    ShellPipes m_pipes;
    pid_t m_group = -1;      // also the outer shell's process id
    bool m_isReaped = false; // by us, that is
};

} // namespace Framework

#endif
