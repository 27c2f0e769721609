#include "framework/shell/child_process.h"

#include "base/process.h"
#include "base/program.h"
#include "base/spawn.h"
#include "framework/shell/command_groups.h"
#include "framework/support/immortal.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

namespace Framework {

namespace {

constexpr int STATUS_FD = 3;
constexpr int ERROR_FD = 4;
constexpr int FIRST_CLOSED_FD = 5;
constexpr int FIRST_OWN_FD = 10; // above all that the child's descriptors are moved to

// The shell tells its status when it exits; one that a signal ends tells nothing, also where it goes through its trap
// then. The command sees no parameters, and no descriptor but the first three.
constexpr char SCRIPT[] = R"(trap '{ echo "$?" >&3; } 2>/dev/null' EXIT; eval "set --; $1" 2>&4 3>&- 4>&-)";

int MakePipe(Base::Descriptor& readEnd, Base::Descriptor& writeEnd)
{
    std::array<int, 2> ends = {-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return errno;
    }
    const Base::Descriptor first(ends[0]);
    const Base::Descriptor second(ends[1]);
    readEnd = Base::Descriptor(::fcntl(first.Get(), F_DUPFD_CLOEXEC, FIRST_OWN_FD));
    writeEnd = Base::Descriptor(::fcntl(second.Get(), F_DUPFD_CLOEXEC, FIRST_OWN_FD));
    if (!readEnd.IsOpen() || !writeEnd.IsOpen() || ::fcntl(readEnd.Get(), F_SETFL, O_NONBLOCK) != 0) {
        return errno;
    }
    return 0;
}

int SetActions(Base::SpawnActions& actions, int output, int error, int status)
{
    const std::array<int, 6> results = {
        posix_spawn_file_actions_addopen(actions.Get(), STDIN_FILENO, "/dev/null", O_RDONLY, 0),
        posix_spawn_file_actions_adddup2(actions.Get(), output, STDOUT_FILENO),
        posix_spawn_file_actions_addopen(actions.Get(), STDERR_FILENO, "/dev/null", O_WRONLY, 0),
        posix_spawn_file_actions_adddup2(actions.Get(), status, STATUS_FD),
        posix_spawn_file_actions_adddup2(actions.Get(), error, ERROR_FD),
        posix_spawn_file_actions_addclosefrom_np(actions.Get(), FIRST_CLOSED_FD),
    };
    for (const int result : results) {
        if (result != 0) {
            return result;
        }
    }
    return 0;
}

} // namespace

int ChildProcess::Start(const std::string& command, const std::vector<std::string>& environment)
{
    Base::Descriptor output;
    Base::Descriptor error;
    Base::Descriptor status;
    int result = MakePipe(m_pipes.output, output);
    result = result == 0 ? MakePipe(m_pipes.error, error) : result;
    result = result == 0 ? MakePipe(m_pipes.status, status) : result;
    Base::SpawnActions actions;
    result = result == 0 ? SetActions(actions, output.Get(), error.Get(), status.Get()) : result;
    if (result != 0) {
        return result;
    }
    const Base::SpawnAttributes attributes(Base::ProcessGroup::Own);
    std::vector<std::string> arguments = {"sh", "-c", SCRIPT, "/bin/sh", command};
    std::vector<std::string> variables = environment;
    result = ECANCELED; // unless it is started
    const pid_t pid = Immortal<CommandGroups>().Add(command, [&]() -> pid_t {
        pid_t started = -1;
        result = ::posix_spawn(&started, "/bin/sh", actions.Get(), attributes.Get(), Base::CTexts(arguments).data(),
                               Base::CTexts(variables).data());
        return result == 0 ? started : -1;
    });
    if (result == 0) {
        m_group = pid;
        m_pipes.ended = Base::OpenProcess(pid);
    }
    return result;
}

ChildProcess::~ChildProcess()
{
    Immortal<CommandGroups>().Remove(m_group);
    if (m_group != -1 && !m_isReaped) { // left by an exception: nobody will look at it any more
        SignalGroup(SIGKILL);
        Reap();
    }
}

void ChildProcess::SignalGroup(int signal) const
{
    if (m_group > 0) {
        Framework::SignalGroup(m_group, signal);
    }
}

bool ChildProcess::HasGroup() const
{
    return m_group > 0 && Framework::SignalGroup(m_group, 0);
}

bool ChildProcess::HasEnded() const
{
    siginfo_t info = {};
    const int result = ::waitid(P_PID, static_cast<id_t>(m_group), &info, WEXITED | WNOHANG | WNOWAIT);
    return result != 0 ? errno == ECHILD : info.si_pid != 0;
}

int ChildProcess::Reap()
{
    int status = 0;
    pid_t result = -1;
    do {
        result = ::waitpid(m_group, &status, 0);
    } while (result == -1 && errno == EINTR);
    m_isReaped = true;
    return result == m_group ? Base::ExitStatus(status) : -1;
}

} // namespace Framework
