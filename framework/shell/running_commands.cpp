#include "framework/shell/running_commands.h"

#include "framework/public/running_commands.h"
#include "framework/support/immortal.h"

#include <csignal>
#include <thread>

namespace Framework {

namespace {

constexpr std::chrono::milliseconds LOOK_EVERY{10};

} // namespace

void RunningCommands::Remove(pid_t group)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_groups.erase(group);
}

std::vector<std::string> RunningCommands::Programs()
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    std::vector<std::string> programs;
    for (const auto& [group, program] : m_groups) {
        programs.push_back(program);
    }
    return programs;
}

// The groups that have processes still, each sent `signal`; 0 only looks.
std::set<pid_t> RunningCommands::Signal(int signal)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_isEnding = true;
    std::set<pid_t> alive;
    for (const auto& [group, program] : m_groups) {
        if (::kill(-group, signal) == 0) {
            alive.insert(group);
        }
    }
    return alive;
}

void RunningCommands::EndAll(std::chrono::milliseconds grace)
{
    const auto end = std::chrono::steady_clock::now() + grace;
    bool isAnyAlive = !Signal(SIGINT).empty();
    while (isAnyAlive && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(LOOK_EVERY);
        isAnyAlive = !Signal(0).empty();
    }
    if (isAnyAlive) {
        Signal(SIGKILL);
    }
}

} // namespace Framework

std::vector<std::string> OpenFramework::RunningPrograms()
{
    return Framework::Immortal<Framework::RunningCommands>().Programs();
}

void OpenFramework::EndRunningCommands(std::chrono::milliseconds grace)
{
    Framework::Immortal<Framework::RunningCommands>().EndAll(grace);
}
