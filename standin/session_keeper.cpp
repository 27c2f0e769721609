#include "standin/session_keeper.h"

#include "base/files.h"
#include <fcntl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <stdexcept>

namespace ZavSimNode {

namespace {

constexpr int REPORT_DESCRIPTOR = 3;

/// Cuts the keeper off from the process that started it, but for the descriptor on which it reports.
void Detach(int report)
{
    ::setsid();
    const int null = ::open("/dev/null", O_RDWR);
    if (::chdir("/") != 0 || null < 0) {
        ::_exit(1);
    }
    // Out of the way of the places that it and the standard streams are to take.
    const int moved = ::fcntl(report, F_DUPFD, REPORT_DESCRIPTOR + 1);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        ::dup2(null, stream);
    }
    ::dup2(moved, REPORT_DESCRIPTOR);
    ::close_range(REPORT_DESCRIPTOR + 1, UINT_MAX, 0);
}

/// A descriptor that becomes readable when the keeper is asked to end.
int CatchEndSignals()
{
    for (int signal = 1; signal < NSIG; ++signal) {
        std::signal(signal, SIG_DFL);
    }
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigprocmask(SIG_SETMASK, &signals, nullptr);
    return ::signalfd(-1, &signals, SFD_CLOEXEC);
}

[[noreturn]] void KeepSession(const std::string& initiator, const NodeRecord& node, int report)
{
    Detach(report);
    const int endSignals = CatchEndSignals();
    try {
        IscsiLink link(initiator);
        const LoginResult result = link.Login(node);
        const auto code = static_cast<unsigned char>(result);
        if (::write(REPORT_DESCRIPTOR, &code, 1) == 1 && result == LoginResult::Success) {
            ::close(REPORT_DESCRIPTOR);
            link.Serve(endSignals);
        }
    } catch (const std::exception&) {
        // The missing report tells it.
    }
    ::_exit(0); // not exit: what the parent registered to be done at its end is not ours to do
}

} // namespace

LoginResult StartSession(const std::string& initiator, const NodeRecord& node, SessionRecord& session)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        Base::ThrowErrno("cannot start", "a session's process");
    }
    const Base::Descriptor reading(ends[0]);
    Base::Descriptor writing(ends[1]);
    const pid_t keeper = ::fork();
    if (keeper < 0) {
        Base::ThrowErrno("cannot start", "a session's process");
    }
    if (keeper == 0) {
        KeepSession(initiator, node, writing.Get());
    }
    writing.Close();
    session = {0, node, initiator, ProcessIdentity::Of(keeper)};
    unsigned char code = 0;
    ssize_t count = ::read(reading.Get(), &code, 1);
    while (count < 0 && errno == EINTR) {
        count = ::read(reading.Get(), &code, 1);
    }
    if (count != 1) {
        throw std::runtime_error("the process of the session with " + node.target + " ended unexpectedly");
    }
    const auto result = static_cast<LoginResult>(code);
    if (result != LoginResult::Success) {
        ::waitpid(keeper, nullptr, 0);
    }
    return result;
}

} // namespace ZavSimNode
