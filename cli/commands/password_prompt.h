#ifndef PRODUCT_STORAGE_CLI_COMMANDS_PASSWORD_PROMPT_H
#define PRODUCT_STORAGE_CLI_COMMANDS_PASSWORD_PROMPT_H

#include <string>

/// Reads a password: from a terminal after `prompt`, without showing it, else the first line of standard input. Throws
/// Failure when there is none. The caller wipes `password`.
void ReadPassword(const std::string& prompt, std::string& password);

#endif
