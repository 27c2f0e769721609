#include "framework/shell/command_groups.h"

#include <cerrno>
#include <csignal>
#include <thread>

namespace Framework {

namespace {

constexpr std::chrono::milliseconds LOOK_EVERY{10};
constexpr std::chrono::seconds END_OF_KILLED{1}; // one that waits for a device may take as long as that does

} // namespace

bool SignalGroup(pid_t group, int signal)
{
    return ::kill(-group, signal) == 0 || errno == EPERM; // of another user, and there all the same
}

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

// Sends each group `signal`; 0 only looks. Whether any has processes still.
bool CommandGroups::SignalAll(int signal)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_isEnding = true;
    bool isAnyThere = false;
    for (const auto& [group, program] : m_groups) {
        isAnyThere = SignalGroup(group, signal) || isAnyThere;
    }
    return isAnyThere;
}

// Whether none has processes any more within the time.
bool CommandGroups::AwaitEnd(std::chrono::milliseconds limit)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    while (SignalAll(0)) {
        if (std::chrono::steady_clock::now() >= end) {
            return false;
        }
        std::this_thread::sleep_for(LOOK_EVERY);
    }
    return true;
}

void CommandGroups::EndAll(std::chrono::milliseconds grace)
{
    SignalAll(SIGINT);
    if (!AwaitEnd(grace)) {
        SignalAll(SIGKILL);
        AwaitEnd(END_OF_KILLED);
    }
}

} // namespace Framework
