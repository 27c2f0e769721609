#ifndef PRODUCT_STORAGE_FRAMEWORK_PUBLIC_RUNNING_COMMANDS_H
#define PRODUCT_STORAGE_FRAMEWORK_PUBLIC_RUNNING_COMMANDS_H

#include "common/framework/export.h"

#include <chrono>
#include <string>
#include <vector>

namespace OpenFramework {

/// The first word of each shell command that this process runs now: "iscsiadm". Any thread.
PRODUCT_FRAMEWORK_API std::vector<std::string> RunningPrograms();

/// Ends the shell commands that this process runs: they are interrupted, and killed when they are still there after
/// `grace`. Returns when all have ended, or a second after the kill, which one that waits for a device may outlast. No
/// command is started any more. For a program that is about to leave in the middle of its work; any thread.
PRODUCT_FRAMEWORK_API void EndRunningCommands(std::chrono::milliseconds grace);

} // namespace OpenFramework

#endif
