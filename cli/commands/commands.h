#ifndef PRODUCT_STORAGE_CLI_COMMANDS_COMMANDS_H
#define PRODUCT_STORAGE_CLI_COMMANDS_COMMANDS_H

#include "cli/console/exit_code.h"
#include "cli/console/log_tail.h"
#include "cli/console/stop_signals.h"

#include <CLI/App.hpp>

#include <functional>

/// A command adds itself to the command line and leaves in `run` what is to be done when it was the one that was
/// called. `run` throws Failure; what the library logged of its cause is then printed for it.
using Run = std::function<ExitCode(LogTail& log, StopSignals& stopSignals)>;

void AddInitCommand(CLI::App& app, Run& run);
void AddPlanCommand(CLI::App& app, Run& run);
void AddStatusCommand(CLI::App& app, Run& run);
void AddCheckCommand(CLI::App& app, Run& run);
void AddDoctorCommand(CLI::App& app, Run& run);
void AddInventoryCommand(CLI::App& app, Run& run);
void AddListCommands(CLI::App& app, Run& run); // system, pools, luns, ports, hosts
void AddNodeCommand(CLI::App& app, Run& run);
void AddVersionCommand(CLI::App& app, Run& run);
void AddCleanupCommand(CLI::App& app, Run& run);
void AddOrphansCommand(CLI::App& app, Run& run);
void AddTidyCommand(CLI::App& app, Run& run);
void AddClusterCommand(CLI::App& app, Run& run);
void AddEnvCommand(CLI::App& app, Run& run);
void AddPasswordCommand(CLI::App& app, Run& run);
void AddConfigCommand(CLI::App& app, Run& run);

/// Of `app` as it is once all commands are added; it must outlive `run`.
void AddCompletionCommand(CLI::App& app, Run& run);

#endif
