#include "cli/commands.h"

#include "cli/array_login.h"
#include "cli/consent.h"
#include "cli/device_record.h"
#include "cli/environment_file.h"
#include "cli/failure.h"
#include "cli/node_lock.h"
#include "cli/options.h"
#include "cli/report.h"
#include "cli/tidy.h"

#include <boost/algorithm/string/join.hpp>

#include <memory>
#include <optional>
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

ExitCode RunTidy(const TidyOptions& options)
{
    const ArrayLogin login(NameOfEnvironment(options.environmentPath), ReadEnvironment(options.environmentPath));
    const std::string path = DeviceRecord(login.DeviceId()).Path();
    std::optional<NodeLock> lock(path);
    Leftovers leftovers(login, DeviceRecord(login.DeviceId()).Message()); // as it is now that nobody changes it
    for (const Leftovers::Object& object : leftovers.OfOthers()) {
        Report::Tell("not ours by the journal, and left: " + Naming(object));
    }
    if (leftovers.Objects().empty()) {
        Report::Step("nothing of this node is left over on " + login.Device().url);
        return ExitCode::Done;
    }
    for (const Leftovers::Object& object : leftovers.Objects()) {
        Report::Tell("left over: " + Naming(object));
    }
    if (options.isDry) {
        return ExitCode::Done;
    }
    if (!options.isAgreed) {
        if (!Consent::CanBeAsked()) {
            throw Failure(ExitCode::Usage, "nobody is there to ask: tell --yes or --dry-run");
        }
        lock.reset(); // who is asked may take his time
        if (!Consent::Give("take these " + std::to_string(leftovers.Objects().size()) + " apart?")) {
            Report::Tell("nothing was changed");
            return ExitCode::Done;
        }
        lock.emplace(path);
    }
    Leftovers now(login, DeviceRecord(login.DeviceId()).Message());
    std::optional<Failure> first;
    for (const Leftovers::Object& object : leftovers.Objects()) {
        if (!now.Has(object)) {
            Report::Step("not left over any more: " + Naming(object));
            continue;
        }
        try {
            now.Remove(object);
            Report::Step("removed " + Naming(object));
        } catch (const Failure& failure) {
            if (first) {
                Report::Tell(failure.what());
            } else {
                first = failure;
            }
        }
    }
    if (first) {
        throw Failure(*first);
    }
    return ExitCode::Done;
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
    Options::AddExamples(*command, {"zavctl tidy --env env.json --dry-run", "zavctl tidy --env env.json --yes"});
    command->callback([options, &run] {
        Options::CompleteEnvironment(options->environmentPath);
        run = [options](LogTail& /*log*/, StopSignals& /*signals*/) { return RunTidy(*options); };
    });
}
