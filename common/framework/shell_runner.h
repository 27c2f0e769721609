#ifndef PRODUCT_STORAGE_COMMON_FRAMEWORK_SHELL_RUNNER_H
#define PRODUCT_STORAGE_COMMON_FRAMEWORK_SHELL_RUNNER_H

#include "common/framework/export.h"
#include "common/framework/log_proxy.h"

#include <string>
#include <vector>

/// Runs `command` with /bin/sh -c after replacing each '?' in it, in order, by the next element of `params`.
///
/// A parameter reaches the command as one literal piece of text whatever it holds: it is quoted for the place in which
/// its '?' stands and is never scanned again. `out` and `err` receive standard output and standard error, one element a
/// line without line ends; what they held before is dropped.
///
/// Returns the shell's exit status, 0 to 255 (128 + the signal's number when it was killed by one, 127 when it could
/// not be started). A template whose '?' and parameters differ in number, or a parameter with a NUL byte, is not run
/// and gives 126, with the reason in `err`. Any thread may call; nothing is thrown.
/// `level` is the severity of the line that records the run, under `module` and `requestId`; no parameter is logged.
PRODUCT_FRAMEWORK_API
int runShellCmdWithOutput(const severity_level& level, const std::string& module, const unsigned long& requestId,
                          const std::string& command, std::vector<std::string> params, std::vector<std::string>& out,
                          std::vector<std::string>& err);

#endif
