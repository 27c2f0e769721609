#include "simulator/dataplane/command.h"

#include "simulator/base/file_io.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" { // this header of glibc 2.36 forgets to say so itself
#include <sys/pidfd.h>
}

#include <csignal>
#include <cstring>
#include <stdexcept>

namespace ZavSim {

namespace {

constexpr int PATIENCE_MILLISECONDS = 10000;

std::vector<char*> Pointers(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> AllSettings(std::vector<std::string> settings)
{
    const std::vector<std::string> ours = settings;
    for (char** each = environ; *each != nullptr; ++each) {
        const std::string setting = *each;
        bool isReplaced = false;
        for (const std::string& our : ours) {
            isReplaced = isReplaced || our.compare(0, our.find('=') + 1, setting, 0, setting.find('=') + 1) == 0;
        }
        if (!isReplaced) {
            settings.push_back(setting);
        }
    }
    return settings;
}

Descriptor MakeMemoryFile(const char* name)
{
    Descriptor file(::memfd_create(name, MFD_CLOEXEC));
    if (!file.IsOpen()) {
        ThrowErrno("cannot make a file in memory for", name);
    }
    return file;
}

std::string ReadAll(const Descriptor& file)
{
    std::string text;
    char buffer[4096];
    for (ssize_t count = ::pread(file.Get(), buffer, sizeof buffer, 0); count > 0;
         count = ::pread(file.Get(), buffer, sizeof buffer, static_cast<off_t>(text.size()))) {
        text.append(buffer, static_cast<std::size_t>(count));
    }
    return text;
}

pid_t Spawn(std::vector<std::string> words, std::vector<std::string> settings, int output, int errors)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errors, STDERR_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none; // the program's signals are blocked in all of our threads, but not to be in others' programs
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    pid_t pid = -1;
    const int error = ::posix_spawnp(&pid, words.front().c_str(), &actions, &attributes, Pointers(words).data(),
                                     Pointers(settings).data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw std::runtime_error("cannot start " + words.front() + ": " + std::strerror(error));
    }
    return pid;
}

/// Whether it ended by itself.
bool AwaitEnd(pid_t pid)
{
    const Descriptor process(::pidfd_open(pid, 0));
    pollfd waiting{process.Get(), POLLIN, 0};
    int ready = ::poll(&waiting, 1, PATIENCE_MILLISECONDS);
    while (ready < 0 && errno == EINTR) {
        ready = ::poll(&waiting, 1, PATIENCE_MILLISECONDS);
    }
    if (ready > 0) {
        return true;
    }
    ::kill(pid, SIGKILL); // still ours: nobody has waited for it
    return false;
}

} // namespace

CommandResult RunCommand(const std::vector<std::string>& words, const std::vector<std::string>& settings)
{
    const Descriptor output = MakeMemoryFile("output");
    const Descriptor errors = MakeMemoryFile("errors");
    const pid_t pid = Spawn(words, AllSettings(settings), output.Get(), errors.Get());
    const bool hasEnded = AwaitEnd(pid);
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (!hasEnded) {
        throw std::runtime_error(words.front() + " did not end within " + std::to_string(PATIENCE_MILLISECONDS / 1000) +
                                 " seconds");
    }
    constexpr int SIGNAL_BASE = 128;
    CommandResult result;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : SIGNAL_BASE + WTERMSIG(status);
    result.output = ReadAll(output);
    result.errors = ReadAll(errors);
    return result;
}

} // namespace ZavSim
