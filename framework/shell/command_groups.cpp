#include "framework/shell/command_groups.h"

#include <csignal>
#include <thread>

namespace Framework {

namespace {

constexpr std::chrono::milliseconds LOOK_EVERY{10};

} // namespace

void CommandGroups::Remove(pid_t group)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_groups.erase(group);
}

std::vector<std::string> CommandGroups::Programs()
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    std::vector<std::string> programs;
    for (const auto& [group, program] : m_groups) {
        programs.push_back(program);
    }
    return programs;
}

// The groups that have processes still, each sent `signal`; 0 only looks.
std::set<pid_t> CommandGroups::Signal(int signal)
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

void CommandGroups::EndAll(std::chrono::milliseconds grace)
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
