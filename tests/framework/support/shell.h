#ifndef PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_SHELL_H
#define PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_SHELL_H

#include "common/framework/shell_runner.h"

#include <string>
#include <utility>
#include <vector>

/// What one call of the shell runner gave.
struct ShellOutcome {
    int status = -1;
    std::vector<std::string> out = {"left over"};
    std::vector<std::string> err = {"left over"};
};

inline ShellOutcome Shell(const std::string& command, std::vector<std::string> params = {})
{
    ShellOutcome outcome;
    outcome.status = runShellCmdWithOutput(severity_level::Info, "Test_RunShell", 7, command, std::move(params),
                                           outcome.out, outcome.err);
    return outcome;
}

#endif
