#ifndef PRODUCT_STORAGE_CLI_COMMANDS_CONFIG_COMMAND_H
#define PRODUCT_STORAGE_CLI_COMMANDS_CONFIG_COMMAND_H

/// The command that tells of the configuration, sound or not.
inline constexpr const char* CONFIG_COMMAND = "config";

/// Throws Failure, after printing every problem, when the configuration cannot be used as it stands.
void RequireSoundConfiguration();

#endif
