#ifndef PRODUCT_STORAGE_CLI_COMMANDS_COMPLETION_COMMAND_H
#define PRODUCT_STORAGE_CLI_COMMANDS_COMPLETION_COMMAND_H

/// The command that tells of the commands alone: a shell runs it whatever the configuration is.
inline constexpr const char* COMPLETION_COMMAND = "completion";

#endif
