#ifndef PRODUCT_STORAGE_CLI_COMMANDS_OPTIONS_H
#define PRODUCT_STORAGE_CLI_COMMANDS_OPTIONS_H

#include "cli/console/report.h"

#include <CLI/App.hpp>

#include <string>
#include <vector>

/// Options that several commands have.
namespace Options {

inline constexpr const char* FORMAT = "--output";

/// Where no --env is given, this variable names environments, with colons between them.
inline constexpr const char* ENVIRONMENT_VARIABLE = "ZAVCTL_ENV";

/// For the check of an option that names a file. An empty name comes of a script's variable that is not set: it does
/// not mean that none was given.
std::string RefuseEmpty(const std::string& path);

/// --env, for one environment or for several.
void AddEnvironment(CLI::App& command, std::string& path);
void AddEnvironments(CLI::App& command, std::vector<std::string>& paths);

/// For the command's callback: puts what the variable names where nothing was given. Throws CLI::Error when it names
/// nothing either, or more than the command takes, or when standard input would have to be read twice.
void CompleteEnvironment(std::string& path);
void CompleteEnvironments(std::vector<std::string>& paths);

void AddFormat(CLI::App& command, Report::Format& format);

/// The same, with a table that has more columns.
void AddWideFormat(CLI::App& command, Report::Format& format);
void AddNewKey(CLI::App& command, bool& isWanted);

/// Command lines that the help ends with. A test runs each.
void AddExamples(CLI::App& command, const std::vector<std::string>& lines);

} // namespace Options

#endif
