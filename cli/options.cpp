#include "cli/options.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <map>

namespace Options {

void AddEnvironment(CLI::App& command, std::string& path)
{
    command.add_option("--env", path, "The environment: a file with the EnvironmentPath message as protobuf JSON")
        ->required();
}

void AddFormat(CLI::App& command, Report::Format& format)
{
    static const std::map<std::string, Report::Format> names = {{"table", Report::Format::Table},
                                                                {"json", Report::Format::Json}};
    command.add_option("-o,--output", format, "table or json")
        ->transform(CLI::CheckedTransformer(names))
        ->option_text("table|json");
}

void AddNewKey(CLI::App& command, bool& isWanted)
{
    command.add_flag("--new-key", isWanted, "Make this node's key, where it has none yet");
}

} // namespace Options
