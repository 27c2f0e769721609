#include "cli/commands/options.h"

#include "cli/array/environment_file.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/split.hpp>

#include <algorithm>
#include <cstdlib>
#include <map>

namespace Options {

namespace {

std::vector<std::string> NamedByVariable()
{
    std::vector<std::string> paths;
    const char* const names = std::getenv(ENVIRONMENT_VARIABLE);
    if (names != nullptr) {
        boost::split(paths, names, boost::is_any_of(":"));
        paths.erase(std::remove(paths.begin(), paths.end(), std::string()), paths.end());
    }
    return paths;
}

} // namespace

std::string RefuseEmpty(const std::string& path)
{
    return path.empty() ? "names no file" : "";
}

void AddEnvironment(CLI::App& command, std::string& path)
{
    command
        .add_option("--env", path,
                    "The environment: a file with the EnvironmentPath message as protobuf JSON, or - for standard "
                    "input; without it, the one that ZAVCTL_ENV names")
        ->option_text("FILE")
        ->check(RefuseEmpty);
}

void AddEnvironments(CLI::App& command, std::vector<std::string>& paths)
{
    command
        .add_option("--env", paths,
                    "An environment: a file with the EnvironmentPath message as protobuf JSON, or - for standard "
                    "input; may be repeated; without it, those that ZAVCTL_ENV names, with colons between them")
        ->option_text("FILE")
        ->allow_extra_args(false)
        ->check(RefuseEmpty);
}

void CompleteEnvironment(std::string& path)
{
    std::vector<std::string> paths;
    if (!path.empty()) {
        paths.push_back(path);
    }
    CompleteEnvironments(paths);
    if (paths.size() > 1) {
        throw CLI::ValidationError(ENVIRONMENT_VARIABLE, "names " + std::to_string(paths.size()) +
                                                             " environments, and this command takes one: name it "
                                                             "with --env");
    }
    path = paths.front();
}

void CompleteEnvironments(std::vector<std::string>& paths)
{
    if (paths.empty()) {
        paths = NamedByVariable();
    }
    if (paths.empty()) {
        throw CLI::RequiredError("An environment, by --env or " + std::string(ENVIRONMENT_VARIABLE) + ",");
    }
    if (std::count(paths.begin(), paths.end(), STANDARD_INPUT) > 1) {
        throw CLI::ValidationError("--env -", "standard input can be read only once");
    }
}

void AddFormat(CLI::App& command, Report::Format& format)
{
    static const std::map<std::string, Report::Format> names = {{"table", Report::Format::Table},
                                                                {"json", Report::Format::Json}};
    command.add_option("-o,--output", format, "table or json")
        ->transform(CLI::CheckedTransformer(names))
        ->option_text("table|json");
}

void AddWideFormat(CLI::App& command, Report::Format& format)
{
    static const std::map<std::string, Report::Format> names = {
        {"table", Report::Format::Table}, {"wide", Report::Format::Wide}, {"json", Report::Format::Json}};
    command.add_option("-o,--output", format, "table, the same with more columns, or json")
        ->transform(CLI::CheckedTransformer(names))
        ->option_text("table|wide|json");
}

void AddNewKey(CLI::App& command, bool& isWanted)
{
    command.add_flag("--new-key", isWanted, "Make this node's key, where it has none yet");
}

void AddExamples(CLI::App& command, const std::vector<std::string>& lines)
{
    command.footer("Examples:\n  " + boost::join(lines, "\n  "));
}

} // namespace Options
