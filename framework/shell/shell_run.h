#ifndef PRODUCT_STORAGE_FRAMEWORK_SHELL_SHELL_RUN_H
#define PRODUCT_STORAGE_FRAMEWORK_SHELL_SHELL_RUN_H

#include <chrono>
#include <string>
#include <vector>

namespace Framework {

namespace ShellStatus {

constexpr int NOT_RUN = 126;     ///< the template and the parameters do not go together
constexpr int NOT_STARTED = 127; ///< there is no shell, or no means to start it

} // namespace ShellStatus

/// What became of a command.
struct ShellResult {
    int status = ShellStatus::NOT_STARTED; ///< as runShellCmdWithOutput returns it
    std::vector<std::string> output;
    std::vector<std::string> error; ///< with a last line for each thing that the command itself would not say
};

/// Runs `command` with /bin/sh -c and the variables `environment`, and returns when the shell has ended, whoever else
/// holds its pipes. After `timeLimit` the command's process group is interrupted, and killed a few seconds later if the
/// shell is still there.
ShellResult RunShell(const std::string& command, const std::vector<std::string>& environment,
                     std::chrono::seconds timeLimit);

} // namespace Framework

#endif
