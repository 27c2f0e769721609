#include "cli/commands.h"

#include "cli/array_login.h"
#include "cli/device_record.h"
#include "cli/environment_file.h"
#include "cli/failure.h"
#include "cli/node_lock.h"
#include "cli/options.h"
#include "cli/report.h"
#include "cli/tidy.h"

#include <boost/algorithm/string/join.hpp>

#include <unistd.h>

#include <iostream>
#include <memory>
#include <string>

namespace {

struct TidyOptions {
    std::string environmentPath;
    bool isAgreed = false;
    bool isDry = false;
};

std::string Naming(const Leftovers::Object& object)
{
    return std::string(object.kind->words) + " " + object.id + " (" + object.name + ")" +
           (object.inUse.empty() ? "" : ", which " + boost::join(object.inUse, ", "));
}

bool Agrees(const std::string& question)
{
    if (::isatty(STDIN_FILENO) == 0) {
        throw Failure(ExitCode::Usage, "nobody is there to ask: tell --yes or --dry-run");
    }
    std::cerr << "zavctl: " << question << " [y/N] " << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    return answer == "y" || answer == "yes";
}

ExitCode RunTidy(const TidyOptions& options)
{
    const ArrayLogin login(options.environmentPath, ReadEnvironment(options.environmentPath));
    const DeviceRecord record(login.DeviceId());
    const NodeLock lock(record.Path());
    Leftovers leftovers(login, record.Message());
    for (const Leftovers::Object& object : leftovers.OfOthers()) {
        Report::Step("not ours by the journal, and left: " + Naming(object));
    }
    if (leftovers.Objects().empty()) {
        Report::Step("nothing of this node is left over on " + login.Device().url);
        return ExitCode::Done;
    }
    for (const Leftovers::Object& object : leftovers.Objects()) {
        Report::Step("left over: " + Naming(object));
    }
    if (options.isDry) {
        return ExitCode::Done;
    }
    if (!options.isAgreed && !Agrees("take these " + std::to_string(leftovers.Objects().size()) + " apart?")) {
        Report::Step("nothing was changed");
        return ExitCode::Done;
    }
    ExitCode code = ExitCode::Done;
    for (const Leftovers::Object& object : leftovers.Objects()) {
        try {
            leftovers.Remove(object);
            Report::Step("removed " + Naming(object));
        } catch (const Failure& failure) {
            Report::Step(failure.what());
            code = failure.Code();
        }
    }
    return code;
}

} // namespace

void AddTidyCommand(CLI::App& app, Run& run)
{
    const auto options = std::make_shared<TidyOptions>();
    CLI::App* const command =
        app.add_subcommand("tidy", "Take apart on an array what this node made there and its record does not name");
    Options::AddEnvironment(*command, options->environmentPath);
    command->add_flag("-y,--yes", options->isAgreed, "Do not ask");
    command->add_flag("--dry-run", options->isDry, "Print what is left over and change nothing");
    command->callback(
        [options, &run] { run = [options](LogTail& /*log*/, StopSignals& /*signals*/) { return RunTidy(*options); }; });
}
