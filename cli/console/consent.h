#ifndef PRODUCT_STORAGE_CLI_CONSOLE_CONSENT_H
#define PRODUCT_STORAGE_CLI_CONSOLE_CONSENT_H

#include <optional>
#include <string>

namespace Consent {

/// Whether somebody is there to be asked: standard input is a terminal.
bool CanBeAsked();

/// Asks on standard error, and reads a line: whether it is "y" or "yes".
bool Give(const std::string& question);

/// Asks on standard error, and reads a line; nothing at the end of the input.
std::optional<std::string> Ask(const std::string& question);

} // namespace Consent

#endif
