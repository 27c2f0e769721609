#include "cli/commands.h"

#include "cli/array_login.h"
#include "cli/environment_file.h"
#include "cli/failure.h"
#include "cli/map_info_report.h"
#include "cli/options.h"
#include "cli/stop_signals.h"
#include "disklib/zav_storage_disk_lib.h"

#include <google/protobuf/util/message_differencer.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

struct InitOptions {
    std::vector<std::string> environmentPaths;
    Report::Format format = Report::Format::Table;
    std::optional<unsigned int> watchSeconds;
};

// The library drops a session that lay idle for five seconds. After a round that failed it gets the time to, so that the
// next round starts with a login.
constexpr boost::chrono::seconds PAUSE_AFTER_FAILURE(7);

struct NamedEnvironment {
    std::string path;
    EnvironmentPath env;
};

// One round over all environments. False when one failed; `infos` then holds the others.
bool PrepareNode(const std::vector<NamedEnvironment>& environments, std::vector<ZavMapInfo>& infos)
{
    infos.clear();
    bool isDone = true;
    for (const NamedEnvironment& named : environments) {
        ZavMapInfo info;
        if (ZavStorageDiskLib::GetInstance()->Init(named.env, info)) {
            infos.push_back(info);
        } else {
            Report::Step(named.path + ": this node could not be prepared");
            isDone = false;
        }
    }
    return isDone;
}

bool AreEqual(const std::vector<ZavMapInfo>& left, const std::vector<ZavMapInfo>& right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), [](const auto& one, const auto& other) {
        return google::protobuf::util::MessageDifferencer::Equals(one, other);
    });
}

// Prints the first round and every one that found or made something else.
ExitCode Watch(const std::vector<NamedEnvironment>& environments, const InitOptions& options,
               const StopSignals& stopSignals)
{
    std::vector<ZavMapInfo> printed;
    bool isDone = false;
    bool isStopped = false;
    while (!isStopped) {
        std::vector<ZavMapInfo> infos;
        isDone = PrepareNode(environments, infos);
        if (isDone && !AreEqual(infos, printed)) {
            PrintMapInfos(infos, options.format);
            printed = infos;
        }
        const boost::chrono::seconds pace(*options.watchSeconds);
        isStopped = stopSignals.WaitFor(isDone ? pace : std::max(pace, PAUSE_AFTER_FAILURE));
    }
    Report::Step("stopped");
    return isDone ? ExitCode::Done : ExitCode::Failed;
}

ExitCode RunInit(const InitOptions& options)
{
    std::vector<NamedEnvironment> environments;
    for (const std::string& path : options.environmentPaths) {
        environments.push_back({path, ReadEnvironment(path)});
    }
    const std::unique_ptr<StopSignals> stopSignals =
        options.watchSeconds.has_value() ? std::make_unique<StopSignals>() : nullptr;

    std::vector<std::unique_ptr<ArrayLogin>> logins;
    for (const NamedEnvironment& named : environments) {
        logins.push_back(std::make_unique<ArrayLogin>(named.path, named.env));
        Report::Step(named.path + ": preparing this node");
    }
    if (stopSignals != nullptr) {
        return Watch(environments, options, *stopSignals);
    }
    std::vector<ZavMapInfo> infos;
    const bool isDone = PrepareNode(environments, infos);
    PrintMapInfos(infos, options.format);
    if (isDone) {
        Report::Step("this node is prepared");
    }
    return isDone ? ExitCode::Done : ExitCode::Failed;
}

} // namespace

void AddInitCommand(CLI::App& app, Run& run)
{
    const auto options = std::make_shared<InitOptions>();
    CLI::App* const command =
        app.add_subcommand("init", "Prepare this node on the arrays of environments and print what ties it to them");
    command
        ->add_option("--env", options->environmentPaths,
                     "An environment: a file with the EnvironmentPath message as protobuf JSON; may be repeated")
        ->required();
    Options::AddFormat(*command, options->format);
    command->add_option("--watch", options->watchSeconds, "Stay and see every SECONDS that the node is still prepared")
        ->option_text("SECONDS")
        ->check(CLI::Range(1U, 86400U));
    command->callback([options, &run] { run = [options] { return RunInit(*options); }; });
}
