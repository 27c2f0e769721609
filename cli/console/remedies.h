#ifndef PRODUCT_STORAGE_CLI_CONSOLE_REMEDIES_H
#define PRODUCT_STORAGE_CLI_CONSOLE_REMEDIES_H

#include "cli/console/exit_code.h"

#include <string>

/// What to do about a cause: by what its text says, else by the status that it ends with.
std::string RemedyFor(const std::string& cause, ExitCode exit);

#endif
