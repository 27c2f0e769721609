#ifndef PRODUCT_STORAGE_FRAMEWORK_SHELL_COMMAND_GROUPS_H
#define PRODUCT_STORAGE_FRAMEWORK_SHELL_COMMAND_GROUPS_H

#include <sys/types.h>

#include <chrono>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace Framework {

/// Sends a signal to all processes of the group that this one may send it to; 0 sends none. Whether the group has any
/// process, also one that has ended and was not waited for.
bool SignalGroup(pid_t group, int signal);

/// The process groups of the commands that run now. Any thread may call.
class CommandGroups {
public:
    /// Calls `start`, which gives the process group of `command` or -1, and keeps that; -1 without a call once all were
    /// ended.
    template <typename Start>
    pid_t Add(const std::string& command, const Start& start)
    {
        const std::lock_guard<std::mutex> guard(m_mutex); // across the start: none is missed by EndAll
        const pid_t group = m_isEnding ? -1 : start();
        if (group > 0) {
            m_groups.emplace(group, command.substr(0, command.find(' ')));
        }
        return group;
    }

    void Remove(pid_t group);

    /// As OpenFramework::RunningPrograms.
    std::vector<std::string> Programs();

    /// As OpenFramework::EndRunningCommands.
    void EndAll(std::chrono::milliseconds grace);

private:
    bool SignalAll(int signal);
    bool AwaitEnd(std::chrono::milliseconds limit);

    std::mutex m_mutex;
    bool m_isEnding = false;               // guarded by m_mutex
    std::map<pid_t, std::string> m_groups; // guarded by m_mutex; with the first word of the command
};

} // namespace Framework

#endif
