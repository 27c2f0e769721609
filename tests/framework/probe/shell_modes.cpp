#include "tests/framework/probe/modes.h"

#include "framework/public/running_commands.h"
#include "tests/framework/support/shell.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <fstream>
#include <iostream>
#include <thread>

namespace {

int RunAndTell()
{
    const ShellOutcome result = Shell("echo out; exit 7");
    std::cout << result.status << " " << (result.out.empty() ? "" : result.out[0]) << "\n";
    return 0;
}

void ReapAll(int /*signal*/)
{
    while (::waitpid(-1, nullptr, WNOHANG) > 0) {
    }
}

void Ignore(int /*signal*/) {}

} // namespace

int Probe::ShellIgnoredChildren(const Words& /*words*/)
{
    std::signal(SIGCHLD, SIG_IGN);
    return RunAndTell();
}

int Probe::ShellReapedChildren(const Words& /*words*/)
{
    std::signal(SIGCHLD, ReapAll);
    return RunAndTell();
}

int Probe::ShellSignals(const Words& /*words*/)
{
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGHUP, SIG_IGN);
    std::signal(SIGUSR1, Ignore);
    sigset_t signals;
    sigfillset(&signals);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    for (const std::string& line : Shell("cat /proc/self/status").out) {
        for (const std::string name : {"SigBlk:", "SigIgn:", "SigCgt:"}) {
            if (line.substr(0, name.size()) == name) {
                // The C library keeps two signals to itself, 32 and 33, and ignores them in what it starts.
                std::cout << name << (std::stoul(line.substr(name.size()), nullptr, 16) & ~0x180000000UL) << " ";
            }
        }
    }
    std::cout << "\n";
    return 0;
}

int Probe::ShellClosedDescriptors(const Words& /*words*/)
{
    ::close(STDIN_FILENO);
    ::close(STDOUT_FILENO);
    ::close(STDERR_FILENO);
    const ShellOutcome result = Shell("cat; echo out; echo err >&2; exit 7");
    const bool isRight = result.status == 7 && result.out == std::vector<std::string>{"out"} &&
                         result.err == std::vector<std::string>{"err"};
    return isRight ? 0 : 1;
}

int Probe::ShellEndedCommands(const Words& words)
{
    const std::string& marker = words.front(); // receives the group's number once the command is about to stay
    std::thread running([&marker] {
        Shell("trap '' INT; echo $$ >?.new; mv ?.new ?; exec sleep 1000", {marker, marker, marker});
    });
    pid_t group = 0;
    while (group == 0) {
        std::this_thread::yield();
        std::ifstream(marker) >> group;
    }
    OpenFramework::EndRunningCommands(std::chrono::milliseconds(10));
    const bool isGone = ::kill(-group, 0) != 0 && errno == ESRCH;
    running.join();
    const bool isRefused = Shell("echo out").out.empty();
    std::cout << (isGone ? "gone" : "there") << (isRefused ? ", none follows" : ", one follows") << "\n";
    return 0;
}
