#include "cli/commands/config_command.h"

#include "cli/commands/commands.h"
#include "cli/commands/options.h"
#include "cli/console/failure.h"
#include "cli/console/report.h"
#include "cli/node/configuration_check.h"
#include "common/framework/config_reader.h"

#include <string>
#include <vector>

namespace {

void FailWith(const std::vector<std::string>& problems)
{
    for (const std::string& problem : problems) {
        Report::Tell(problem);
    }
    if (!problems.empty()) {
        const std::string more =
            problems.size() == 1 ? "" : ", the first of " + std::to_string(problems.size()) + " that stand above";
        throw Failure(ExitCode::Unusable, "configuration " + problems.front() + more);
    }
}

ExitCode CheckConfiguration(LogTail& /*log*/, StopSignals& /*signals*/)
{
    std::vector<ConfigReader::Setting> settings;
    std::vector<std::string> problems = ConfigReader::check(settings);
    const ConfigurationFindings named = LookAtWhatIsNamed(settings);
    problems.insert(problems.end(), named.problems.begin(), named.problems.end());
    for (const std::string& warning : named.warnings) {
        Report::Step("warning: " + warning);
    }
    FailWith(problems);
    std::vector<Report::Row> rows = {{"SECTION", "KEY", "FROM", "VALUE"}};
    for (const ConfigReader::Setting& setting : settings) {
        rows.push_back({setting.section, setting.key, setting.isDefault ? "default" : "file", setting.value});
    }
    Report::Table(rows);
    Report::Step("configuration " + ConfigReader::getFile() + " is sound");
    return ExitCode::Done;
}

} // namespace

void RequireSoundConfiguration()
{
    std::vector<ConfigReader::Setting> settings;
    FailWith(ConfigReader::check(settings));
}

void AddConfigCommand(CLI::App& app, Run& run)
{
    CLI::App* const command = app.add_subcommand(CONFIG_COMMAND, "The configuration file");
    command->require_subcommand(1);
    CLI::App* const check =
        command->add_subcommand("check", "Check the configuration file and what it names, and print every setting");
    for (CLI::App* const each : {command, check}) {
        Options::AddExamples(*each, {"zavctl config check", "PRODUCT_STORAGE_CONFIG=other.ini zavctl config check"});
    }
    check->callback([&run] { run = CheckConfiguration; });
}
