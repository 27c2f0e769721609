#include "bench/child.h"

#include "base/program.h"
#include "base/spawn.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

namespace {

double Seconds(const timeval& time)
{
    constexpr double MICROSECOND = 1e-6;
    return static_cast<double>(time.tv_sec) + MICROSECOND * static_cast<double>(time.tv_usec);
}

pid_t Start(std::vector<std::string>& words)
{
    Base::SpawnActions actions;
    posix_spawn_file_actions_addopen(actions.Get(), STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(actions.Get(), STDOUT_FILENO, STDERR_FILENO);
    pid_t child = -1;
    const int error =
        posix_spawnp(&child, words.front().c_str(), actions.Get(), nullptr, Base::CTexts(words).data(), environ);
    if (error != 0) {
        throw std::runtime_error(words.front() + " cannot be started");
    }
    return child;
}

} // namespace

ChildUsage RunChild(std::vector<std::string> words)
{
    const pid_t child = Start(words);
    int status = -1;
    rusage usage = {};
    if (wait4(child, &status, 0, &usage) != child || status != 0) {
        throw std::runtime_error(words.front() + " ended with " + std::to_string(Base::ExitStatus(status)));
    }
    constexpr double KILOBYTE = 1024;
    return {Seconds(usage.ru_utime) + Seconds(usage.ru_stime), KILOBYTE * static_cast<double>(usage.ru_maxrss)};
}
