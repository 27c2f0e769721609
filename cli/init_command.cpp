#include "cli/commands.h"

#include "base/files.h"
#include "cli/array_login.h"
#include "cli/device_record.h"
#include "cli/environment_file.h"
#include "cli/explanation.h"
#include "cli/failure.h"
#include "cli/map_info_report.h"
#include "cli/mapping_chain.h"
#include "cli/node_check.h"
#include "cli/node_lock.h"
#include "cli/options.h"
#include "cli/record_correction.h"
#include "cli/stop_signals.h"
#include "cli/tidy.h"
#include "common/framework/config_reader.h"
#include "common/framework/random_bytes.h"
#include "disklib/zav_storage_disk_lib.h"

#include <google/protobuf/util/message_differencer.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <set>
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
void RemoveIdleLeftovers(const ArrayLogin& login)
{
    try {
        Leftovers leftovers(login, DeviceRecord(login.DeviceId()).Message());
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

// What the library made is in `info`, also where the node is not rightly prepared.
void Prepare(const Target& target, ZavMapInfo& info)
{
    const ArrayLogin& login = *target.login;
    NodeCheck::RequireUsableRecord(login);
    const bool isDone = ZavStorageDiskLib::GetInstance()->Init(target.env, info);
    const NodeLock lock(DeviceRecord(login.DeviceId()).Path());
    try {
        if (!isDone) {
            throw Failure::OfLibrary(target.path + ": this node could not be prepared on " + login.Device().url);
        }
        CorrectRecord(login);
        MappingChain(login, DeviceRecord(login.DeviceId()).Message()).MendOrFail();
        NodeCheck::RequireConnectedNode(login);
    } catch (const Failure&) {
        RemoveIdleLeftovers(login); // what was made, and not recorded because it failed, is not left to pile up
        throw;
    }
    RemoveIdleLeftovers(login);
}

/// What came of a round over all arrays.
struct Outcome {
    MapInfos infos;                                ///< of the arrays on which the library did its work
    std::map<const Target*, Explanation> failures; ///< why others are not rightly prepared

    ExitCode Code(std::size_t targets) const
    {
        return failures.empty()             ? ExitCode::Done
               : failures.size() == targets ? failures.begin()->second.exit
                                            : ExitCode::Partly;
    }
};

// One that fails does not keep the others from theirs.
template <typename Work>
void Try(const Target& target, LogTail& log, Outcome& outcome, const Work& work)
{
    log.Take(); // of what went before
    try {
        work();
    } catch (const Failure& failure) {
        outcome.failures.emplace(&target, Explain(failure, log.Take()));
    }
}

Outcome LogIntoAll(std::vector<Target>& targets, LogTail& log)
{
    Outcome outcome;
    for (Target& target : targets) {
        if (target.login == nullptr) {
            Try(target, log, outcome,
                [&target] { target.login = std::make_unique<ArrayLogin>(target.path, target.env); });
        }
    }
    return outcome;
}

void PrepareAll(const std::vector<Target>& targets, LogTail& log, Outcome& outcome)
{
    for (const Target& target : targets) {
        if (target.login != nullptr) {
            Try(target, log, outcome, [&] {
                ZavMapInfo info;
                try {
                    Prepare(target, info);
                } catch (const Failure& failure) {
                    if (failure.Code() == ExitCode::Drift) {
                        outcome.infos.push_back(info);
                    }
                    throw;
                }
                outcome.infos.push_back(info);
            });
        }
    }
}

void Tell(const Explanation& explanation, const std::string& when = {})
{
    Report::Step(when + explanation.cause);
    Report::Step("remedy: " + explanation.remedy);
}

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
            Report::Step("warning: the arrays of " + one->path + " (" + one->login->Device().url + ") and " +
                         other->path + " (" + other->login->Device().url + ") have one device id, " +
                         one->login->DeviceId() + ", and so one record on this node");
        }
    }
}

bool AreEqual(const MapInfos& left, const MapInfos& right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), [](const auto& one, const auto& other) {
        return google::protobuf::util::MessageDifferencer::Equals(one, other);
    });
}

/// Goes round over all arrays until a signal comes. Each loss and each recovery is told once, with its time; rounds
/// after a failure are further apart each time.
class Watch {
public:
    Watch(std::vector<Target>& targets, const InitOptions& options, StopSignals& signals, LogTail& log)
        : m_targets(targets)
        , m_pace(*options.watchSeconds)
        , m_format(options.format)
        , m_signals(signals)
        , m_log(log)
    {
    }

    ExitCode Run(Outcome outcome)
    {
        for (;;) {
            PrepareAll(m_targets, m_log, outcome);
            TellChanges(outcome);
            if (outcome.failures.empty() && !AreEqual(outcome.infos, m_printed)) {
                if (!m_printed.empty()) {
                    m_log.PrintFailures(); // why it changed
                }
                PrintMapInfos(outcome.infos, m_format);
                m_printed = outcome.infos;
            }
            if (Pause(outcome)) {
                Report::Step("stopped");
                return outcome.Code(m_targets.size());
            }
            outcome = LogIntoAll(m_targets, m_log);
        }
    }

private:
    // True when a signal came.
    bool Pause(const Outcome& outcome)
    {
        m_failedRounds = outcome.failures.empty() ? 0 : m_failedRounds + 1;
        if (m_failedRounds == 0) {
            return m_signals.WaitFor(m_pace);
        }
        const bool isRefused = std::any_of(outcome.failures.begin(), outcome.failures.end(), [](const auto& failure) {
            return failure.second.exit == ExitCode::LoginRefused;
        });
        return isRefused ? AwaitChange() : m_signals.WaitFor(BackOff());
    }

    // Doubled from round to round up to a minute; with a part of chance, so that many nodes do not come at once.
    boost::chrono::seconds BackOff() const
    {
        constexpr boost::chrono::seconds LONGEST(60);
        constexpr unsigned int MOST_DOUBLINGS = 4;
        const auto doubled = PAUSE_AFTER_FAILURE * (1U << std::min(m_failedRounds - 1, MOST_DOUBLINGS));
        const auto pause = std::max(m_pace, std::min(LONGEST, boost::chrono::seconds(doubled)));
        unsigned char chance = 0;
        getRandBytes(&chance, sizeof chance);
        return m_failedRounds == 1 ? pause : pause + pause * (chance % 26) / 100;
    }

    // A refused login is not tried again as it is: it would lock the user out.
    bool AwaitChange()
    {
        const std::string before = Inputs();
        Report::Step("waiting for another environment or configuration");
        while (Inputs() == before) {
            if (m_signals.WaitFor(boost::chrono::seconds(1))) {
                return true;
            }
        }
        for (Target& target : m_targets) {
            target.env = ReadEnvironment(target.path);
        }
        return false;
    }

    std::string Inputs() const
    {
        std::string all = Base::ReadFileIfThere(ConfigReader::getFile()).value_or("");
        for (const Target& target : m_targets) {
            all += Base::ReadFileIfThere(target.path).value_or("");
        }
        return all;
    }

    void TellChanges(const Outcome& outcome)
    {
        for (const Target& target : m_targets) {
            const auto failure = outcome.failures.find(&target);
            const bool isLost = failure != outcome.failures.end();
            const bool wasLost = m_lost.count(&target) != 0;
            if (isLost && !wasLost) {
                Tell(failure->second, Report::Now() + " lost: ");
                m_lost.insert(&target);
            } else if (!isLost && wasLost) {
                Report::Step(Report::Now() + " recovered: " + target.path);
                m_lost.erase(&target);
            }
        }
    }

    std::vector<Target>& m_targets;
    const boost::chrono::seconds m_pace;
    const Report::Format m_format;
    StopSignals& m_signals;
    LogTail& m_log;
    MapInfos m_printed;
    std::set<const Target*> m_lost;
    unsigned int m_failedRounds = 0;
};

ExitCode RunInit(const InitOptions& options, StopSignals& stopSignals, LogTail& log)
{
    std::vector<Target> targets;
    for (const std::string& path : options.environmentPaths) {
        targets.push_back({path, ReadEnvironment(path), nullptr});
    }
    Outcome outcome = LogIntoAll(targets, log);
    WarnOfTwins(targets);
    if (outcome.failures.size() < targets.size()) {
        Report::Step("preparing this node");
    }
    if (options.watchSeconds.has_value()) {
        return Watch(targets, options, stopSignals, log).Run(std::move(outcome));
    }
    PrepareAll(targets, log, outcome);
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
