#include "tests/simulator/support/child_process.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <thread>

namespace ZavSimTest {

namespace {

std::vector<char*> Pointers(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// Later settings of a name stand before earlier ones, so that they count.
std::vector<std::string> FullEnvironment(const Environment& additions)
{
    std::vector<std::string> all = additions;
    for (char** each = environ; *each != nullptr; ++each) {
        const std::string setting = *each;
        const std::string name = setting.substr(0, setting.find('=') + 1);
        bool replaced = false;
        for (const std::string& addition : additions) {
            replaced = replaced || addition.rfind(name, 0) == 0;
        }
        if (!replaced) {
            all.push_back(setting);
        }
    }
    return all;
}

} // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& words, const Environment& environment)
    : m_out(::memfd_create("out", MFD_CLOEXEC))
    , m_err(::memfd_create("err", MFD_CLOEXEC))
{
    std::vector<std::string> arguments = words;
    std::vector<std::string> settings = FullEnvironment(environment);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, m_out, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, m_err, STDERR_FILENO);
    const int error = ::posix_spawnp(&m_pid, words.front().c_str(), &actions, nullptr, Pointers(arguments).data(),
                                     Pointers(settings).data());
    posix_spawn_file_actions_destroy(&actions);
    EXPECT_EQ(0, error) << words.front() << ": " << std::strerror(error);
    m_pid = error == 0 ? m_pid : -1;
}

ChildProcess::~ChildProcess()
{
    if (m_pid > 0) {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
    ::close(m_out);
    ::close(m_err);
}

std::string ChildProcess::Output(int file) const
{
    std::string text;
    char buffer[4096];
    for (ssize_t count = ::pread(file, buffer, sizeof buffer, 0); count > 0;
         count = ::pread(file, buffer, sizeof buffer, static_cast<off_t>(text.size()))) {
        text.append(buffer, static_cast<std::size_t>(count));
    }
    return text;
}

bool ChildProcess::HasEnded() const
{
    siginfo_t info{};
    return ::waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOHANG | WNOWAIT) != 0 || info.si_pid != 0;
}

void ChildProcess::AwaitOutput(const std::string& text)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (Output(m_out).find(text) == std::string::npos) {
        if (HasEnded() || std::chrono::steady_clock::now() > deadline) {
            FAIL() << "no \"" << text << "\" in: " << Output(m_out) << Output(m_err);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

void ChildProcess::Signal(int signal) const
{
    EXPECT_EQ(0, ::kill(m_pid, signal));
}

Finished ChildProcess::Wait()
{
    Finished finished;
    int status = 0;
    if (m_pid > 0 && ::waitpid(m_pid, &status, 0) == m_pid) {
        finished.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    m_pid = -1;
    finished.out = Output(m_out);
    finished.err = Output(m_err);
    return finished;
}

Finished Execute(const std::vector<std::string>& words, const Environment& environment)
{
    return ChildProcess(words, environment).Wait();
}

Finished RunShell(const std::string& line, const Environment& environment)
{
    return Execute({"/bin/sh", "-c", line}, environment);
}

} // namespace ZavSimTest
