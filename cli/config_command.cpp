#include "cli/config_command.h"

#include "cli/commands.h"
#include "cli/failure.h"
#include "cli/report.h"
#include "common/framework/config_reader.h"

#include <string>
#include <vector>

namespace {

std::vector<ConfigReader::Setting> CheckedSettings()
{
    std::vector<ConfigReader::Setting> settings;
    const std::vector<std::string> problems = ConfigReader::check(settings);
    for (const std::string& problem : problems) {
        Report::Tell(problem);
    }
    if (!problems.empty()) {
        throw Failure(ExitCode::Unusable, "configuration " + ConfigReader::getFile() + ": " +
                                              std::to_string(problems.size()) + " problem(s), see above");
    }
    return settings;
}

ExitCode CheckConfiguration(LogTail& /*log*/, StopSignals& /*signals*/)
{
    std::vector<Report::Row> rows = {{"SECTION", "KEY", "FROM", "VALUE"}};
    for (const ConfigReader::Setting& setting : CheckedSettings()) {
        rows.push_back({setting.section, setting.key, setting.isDefault ? "default" : "file", setting.value});
    }
    Report::Table(rows);
    Report::Step("configuration " + ConfigReader::getFile() + " is sound");
    return ExitCode::Done;
}

} // namespace

void RequireSoundConfiguration()
{
    CheckedSettings();
}

void AddConfigCommand(CLI::App& app, Run& run)
{
    CLI::App* const command = app.add_subcommand("config", "The configuration file");
    command->require_subcommand(1);
    command->add_subcommand("check", "Check the configuration file and print every setting")->callback([&run] {
        run = CheckConfiguration;
    });
}
