#include "cli/commands/commands.h"

#include "cli/array/environment_file.h"
#include "cli/commands/options.h"
#include "cli/console/failure.h"
#include "cli/preparation/map_info_report.h"
#include "cli/preparation/preparation.h"
#include "cli/watch/metrics_file.h"
#include "cli/watch/refused_logins.h"
#include "cli/watch/watch.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using Preparation::Target;

struct InitOptions {
    std::vector<std::string> environmentPaths;
    Report::Format format = Report::Format::Table;
    std::optional<unsigned int> watchSeconds;
    bool adoptsNothing = false;
    std::string metricsPath;
};

bool HaveACommonAddress(const EnvironmentPath& one, const EnvironmentPath& other)
{
    return std::find_first_of(one.management_ips().begin(), one.management_ips().end(), other.management_ips().begin(),
                              other.management_ips().end()) != one.management_ips().end();
}

// Arrays that bear one device id share one record, in which each run forgets what the other array holds. One array with
// several addresses looks the same from here: it may be meant.
void WarnOfTwins(const std::vector<Target>& targets)
{
    for (auto other = targets.begin(); other != targets.end(); ++other) {
        const auto one = std::find_if(targets.begin(), other, [&](const Target& earlier) {
            return earlier.login != nullptr && other->login != nullptr &&
                   earlier.login->DeviceId() == other->login->DeviceId() &&
                   !HaveACommonAddress(earlier.env, other->env);
        });
        if (one != other) {
            Report::Tell("warning: the arrays of " + one->name + " (" + one->login->Device().url + ") and " +
                             other->name + " (" + other->login->Device().url + ") have one device id, " +
                             one->login->DeviceId() + ", and so one record on this node",
                         Report::Look::Warning);
        }
    }
}

ExitCode PrepareOnce(const std::vector<Target>& targets, const InitOptions& options, const Preparation::Wishes& wishes,
                     LogTail& log, Preparation::Outcome& outcome)
{
    Preparation::PrepareAll(targets, wishes, log, outcome);
    std::vector<Explanation> failures;
    for (const Target& target : targets) {
        const auto failure = outcome.failures.find(&target);
        if (failure != outcome.failures.end()) {
            failures.push_back(failure->second);
        }
    }
    PrintMapInfos(outcome.infos, options.format, failures);
    for (const Explanation& failure : failures) {
        Tell(failure);
    }
    if (failures.empty()) {
        Report::Step("this node is prepared");
    }
    return outcome.Code(targets.size());
}

// Throws Failure where one cannot be read, which monitoring is told of all: none was prepared.
std::vector<Target> ReadTargets(const std::vector<std::string>& paths, MetricsFile& metrics)
{
    std::vector<Target> targets;
    std::vector<std::string> names;
    std::transform(paths.begin(), paths.end(), std::back_inserter(names), NameOfEnvironment);
    try {
        for (std::size_t i = 0; i < paths.size(); ++i) {
            std::string inputs = RefusedLogins::InputsOf(paths[i]); // first: what changes from here on is new
            targets.push_back(
                {paths[i], names[i], std::move(inputs), ReadEnvironment(paths[i]), nullptr, std::nullopt});
        }
    } catch (const Failure& failure) {
        metrics.EndRound(names, failure.Code());
        throw;
    }
    return targets;
}

ExitCode RunInit(const InitOptions& options, StopSignals& stopSignals, LogTail& log)
{
    MetricsFile metrics(options.metricsPath, options.watchSeconds);
    std::vector<Target> targets = ReadTargets(options.environmentPaths, metrics);
    Preparation::Wishes wishes;
    wishes.adopts = !options.adoptsNothing;
    Preparation::Outcome outcome = Preparation::LogIntoAll(targets, log);
    WarnOfTwins(targets);
    if (outcome.failures.size() < targets.size()) {
        Report::Step("preparing this node");
    }
    if (options.watchSeconds.has_value()) {
        const Watch::Ways ways = {boost::chrono::seconds(*options.watchSeconds), options.format, wishes};
        return Watch(targets, ways, metrics, stopSignals, log).Run(std::move(outcome));
    }
    const ExitCode code = PrepareOnce(targets, options, wishes, log, outcome);
    metrics.EndRound(targets, outcome);
    return code;
}

} // namespace

void AddInitCommand(CLI::App& app, Run& run)
{
    const auto options = std::make_shared<InitOptions>();
    CLI::App* const command =
        app.add_subcommand("init", "Prepare this node on the arrays of environments and print what ties it to them");
    Options::AddEnvironments(*command, options->environmentPaths);
    Options::AddFormat(*command, options->format);
    command->add_option("--watch", options->watchSeconds, "Stay and see every SECONDS that the node is still prepared")
        ->option_text("SECONDS")
        ->check(CLI::Range(1U, 86400U));
    command
        ->add_option("--metrics", options->metricsPath,
                     "Tell monitoring in this file what each round came to, in the form that node_exporter's textfile "
                     "collector reads")
        ->option_text("FILE")
        ->check(Options::RefuseEmpty);
    command->add_flag("--no-adopt", options->adoptsNothing,
                      "Refuse, before anything is made, to use a host that holds this node's initiator and was not "
                      "made here");
    Options::AddExamples(*command, {"zavctl init --env env.json", "zavctl init --env one.json --env other.json -o json",
                                    "zavctl init --env env.json --watch 60"});
    command->callback([options, &run] {
        Options::CompleteEnvironments(options->environmentPaths);
        run = [options](LogTail& log, StopSignals& signals) { return RunInit(*options, signals, log); };
    });
}
