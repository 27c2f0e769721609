#ifndef PRODUCT_STORAGE_CLI_OPTIONS_H
#define PRODUCT_STORAGE_CLI_OPTIONS_H

#include "cli/report.h"

#include <CLI/App.hpp>

#include <string>

/// Options that several commands have.
namespace Options {

inline constexpr const char* FORMAT = "--output";

void AddEnvironment(CLI::App& command, std::string& path);
void AddFormat(CLI::App& command, Report::Format& format);
void AddNewKey(CLI::App& command, bool& isWanted);

} // namespace Options

#endif
