#include "cli/commands.h"

#include "cli/array_login.h"
#include "cli/device_record.h"
#include "cli/environment_file.h"
#include "cli/failure.h"
#include "cli/map_info_report.h"
#include "cli/mapping_chain.h"
#include "cli/node_check.h"
#include "cli/node_lock.h"
#include "cli/options.h"
#include "cli/stop_signals.h"
#include "cli/tidy.h"
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

// The library drops a session that lay idle for five seconds. After a round that failed it gets the time to, so that
// the next round starts with a login.
constexpr boost::chrono::seconds PAUSE_AFTER_FAILURE(7);

/// One array to prepare this node on.
struct Target {
    std::string path; ///< of the environment
    EnvironmentPath env;
    std::unique_ptr<ArrayLogin> login;
};

using MapInfos = std::vector<ZavMapInfo>;

// What earlier runs left behind goes, as long as nobody uses it. The node is prepared whatever becomes of it.
void RemoveIdleLeftovers(const ArrayLogin& login, const DeviceMessage& record)
{
    try {
        Leftovers leftovers(login, record);
        for (const Leftovers::Object& object : leftovers.Objects()) {
            const std::string naming = std::string(object.kind->words) + " " + object.id + " (" + object.name + ")";
            if (object.inUse.empty()) {
                leftovers.Remove(object);
                Report::Step("removed what an earlier run left: " + naming);
            } else {
                Report::Step("left by an earlier run, and in use: " + naming + ": " + object.inUse.front() +
                             "; zavctl tidy takes it apart");
            }
        }
    } catch (const Failure& failure) {
        Report::Step(failure.what());
    }
}

void Prepare(const Target& target, MapInfos& infos)
{
    NodeCheck::RequireUsableRecord(*target.login);
    ZavMapInfo info;
    if (!ZavStorageDiskLib::GetInstance()->Init(target.env, info)) {
        throw Failure(ExitCode::Failed,
                      target.path + ": this node could not be prepared on " + target.login->Device().url);
    }
    infos.push_back(info);
    const DeviceRecord record(target.login->DeviceId());
    const NodeLock lock(record.Path());
    MappingChain(*target.login, record.Message()).MendOrFail();
    NodeCheck::RequireConnectedNode(*target.login);
    RemoveIdleLeftovers(*target.login, record.Message());
}

// One round over all arrays; one that fails does not keep the others from theirs.
ExitCode PrepareAll(const std::vector<Target>& targets, LogTail& log, MapInfos& infos)
{
    ExitCode code = ExitCode::Done;
    infos.clear();
    for (const Target& target : targets) {
        try {
            Prepare(target, infos);
        } catch (const Failure& failure) {
            log.PrintFailures();
            Report::Step(failure.what());
            code = failure.Code();
        }
    }
    return code;
}

bool AreEqual(const MapInfos& left, const MapInfos& right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), [](const auto& one, const auto& other) {
        return google::protobuf::util::MessageDifferencer::Equals(one, other);
    });
}

// Prints the first round and every one that found or made something else.
ExitCode Watch(const std::vector<Target>& targets, const InitOptions& options, StopSignals& stopSignals, LogTail& log)
{
    const boost::chrono::seconds pace(*options.watchSeconds);
    MapInfos printed;
    for (;;) {
        MapInfos infos;
        const ExitCode code = PrepareAll(targets, log, infos);
        if (code == ExitCode::Done && !AreEqual(infos, printed)) {
            if (!printed.empty()) {
                log.PrintFailures(); // why it changed
            }
            PrintMapInfos(infos, options.format);
            printed = infos;
        }
        if (stopSignals.WaitFor(code == ExitCode::Done ? pace : std::max(pace, PAUSE_AFTER_FAILURE))) {
            Report::Step("stopped");
            return code;
        }
    }
}

ExitCode RunInit(const InitOptions& options, StopSignals& stopSignals, LogTail& log)
{
    std::vector<Target> targets;
    for (const std::string& path : options.environmentPaths) {
        targets.push_back({path, ReadEnvironment(path), nullptr});
    }
    for (Target& target : targets) {
        target.login = std::make_unique<ArrayLogin>(target.path, target.env);
    }
    Report::Step("preparing this node");
    if (options.watchSeconds.has_value()) {
        return Watch(targets, options, stopSignals, log);
    }
    MapInfos infos;
    const ExitCode code = PrepareAll(targets, log, infos);
    PrintMapInfos(infos, options.format);
    if (code == ExitCode::Done) {
        Report::Step("this node is prepared");
    }
    return code;
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
        ->required()
        ->allow_extra_args(false);
    Options::AddFormat(*command, options->format);
    command->add_option("--watch", options->watchSeconds, "Stay and see every SECONDS that the node is still prepared")
        ->option_text("SECONDS")
        ->check(CLI::Range(1U, 86400U));
    command->callback([options, &run] {
        run = [options](LogTail& log, StopSignals& signals) { return RunInit(*options, signals, log); };
    });
}
