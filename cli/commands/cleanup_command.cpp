#include "cli/commands/commands.h"

#include "cli/array/array_login.h"
#include "cli/array/array_objects.h"
#include "cli/array/environment_file.h"
#include "cli/commands/options.h"
#include "cli/console/consent.h"
#include "cli/console/failure.h"
#include "cli/console/log_tail.h"
#include "cli/node/node_lock.h"
#include "cli/record/device_record.h"
#include "cli/record/own_journal.h"
#include "cli/record/own_sessions.h"
#include "cli/record/recorded_objects.h"
#include "device/delete_resource.h"
#include "rest/zav_rest_api.h"

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace {

struct CleanupOptions {
    std::string environmentPath;
    bool deletesHost = false;
    bool isAgreed = false;
    bool isDry = false;
    bool logsOut = false;
    std::string sharedGroup; ///< a host group that may be taken apart although other hosts are in it
};

// Whether the host goes; where it stays although that was asked for, it is said why.
bool DeletesHost(const CleanupOptions& options, const ArrayLogin& login, ArrayObjects& objects,
                 const DeviceRecord& record)
{
    const DeviceMessage message = record.Message();
    if (message.hostId.empty() || (record.KeepsHost() && !options.deletesHost)) {
        return false;
    }
    if (OwnJournal::IsKept() && !OwnJournal::Names(HOST, login.DeviceId(), message.hostId, message.hostName)) {
        Report::Tell("host " + message.hostId + " stays: the journal of what this node makes does not name it");
        return false;
    }
    const auto host = objects.Find(HOST, message.hostId);
    if (!host || host->name != message.hostName) {
        return true; // which the library sees as well
    }
    const std::set<std::string> ports = RecordedPorts(message);
    for (const ObjectKind& kind : {ISCSI_INITIATOR, FC_INITIATOR}) {
        for (const std::string& initiator : objects.Initiators(kind, message.hostId)) {
            if (initiator != message.iscsiInitiatorName && ports.count(initiator) == 0) {
                Report::Tell("host " + message.hostId + " stays: it has " + kind.Naming(initiator) +
                             ", which this node did not put there");
                return false;
            }
        }
    }
    return true;
}

// The library takes all hosts out of the group, whoever put them there.
void RequireOwnGroup(const CleanupOptions& options, const ArrayLogin& login, ArrayObjects& objects,
                     const DeviceMessage& message)
{
    if (message.hostGroupId.empty() || options.sharedGroup == message.hostGroupId) {
        return;
    }
    const auto group = objects.Find(HOST_GROUP, message.hostGroupId);
    if (!group || group->name != message.hostGroupName) {
        return; // gone, or somebody else's by now: the library leaves what does not bear the name
    }
    std::string others;
    for (const std::string& host : objects.Associated(HOST_GROUP, message.hostGroupId, HOST)) {
        const auto object = host != message.hostId ? objects.Find(HOST, host) : std::nullopt;
        if (object && !OwnJournal::Names(HOST, login.DeviceId(), host, object->name)) {
            others += (others.empty() ? "" : ", ") + host;
        }
    }
    if (!others.empty()) {
        throw Failure(ExitCode::Foreign, "host group " + message.hostGroupId + " holds other hosts (" + others +
                                             "), and nothing was changed: --shared-group " + message.hostGroupId +
                                             " takes it apart all the same");
    }
}

// Tells what was seen to be gone, and lets the journal forget it. True when all is that should be.
bool TellWhatIsGone(const ArrayLogin& login, ArrayObjects& objects, const DeviceMessage& message, bool deletesHost)
{
    bool isDone = true;
    for (const RecordedObject& row : RecordedObjects(message)) {
        if (row.id.empty()) {
            continue;
        }
        const std::string naming = row.Naming();
        const auto object = objects.Find(*row.kind, row.id);
        if (!object || object->name != row.name) {
            OwnJournal::Drop({login.DeviceId(), std::string(row.kind->words), row.name, row.id});
            Report::Step(naming + " is gone");
        } else {
            Report::Tell(naming + " stays");
            isDone = isDone && row.kind == &HOST; // which may stay because others use it
        }
    }
    const auto host = deletesHost ? objects.Find(HOST, message.hostId) : std::nullopt;
    if (host && host->name == message.hostName) { // another's may bear its id by now
        Report::Tell("host " + message.hostId +
                     " is in a host group that is not this node's: zavctl tidy takes it away "
                     "once it is in none");
    }
    return isDone;
}

// What a cleanup is about to do, decided under the lock.
struct Plan {
    DeviceMessage message;
    bool deletesHost;
    std::vector<IscsiSession> sessions; ///< to be ended
};

Plan MakePlan(const CleanupOptions& options, const ArrayLogin& login, ArrayObjects& objects, const DeviceRecord& record)
{
    const DeviceMessage message = record.Message();
    RequireOwnGroup(options, login, objects, message);
    std::vector<IscsiSession> sessions;
    if (options.logsOut) {
        sessions = OwnSessions::Standing(login, !options.isDry);
        OwnSessions::RequireIdle(sessions);
    }
    return {message, DeletesHost(options, login, objects, record), sessions};
}

void Tell(const ArrayLogin& login, const Plan& plan, bool hasRecord)
{
    for (const IscsiSession& session : plan.sessions) {
        Report::Step("ending the " + session.Naming());
    }
    if (!hasRecord) {
        return;
    }
    Report::Step(login.Device().url + ": removing mapping view " + plan.message.mapViewId + ", host group " +
                 plan.message.hostGroupId + ", host " + plan.message.hostId + (plan.deletesHost ? "" : " (kept)") +
                 ", LUN group " + plan.message.lunGroupId);
}

bool AreSame(const Plan& one, const Plan& other)
{
    const auto ids = [](const Plan& plan) {
        return std::tie(plan.message.mapViewId, plan.message.hostGroupId, plan.message.hostId, plan.message.lunGroupId,
                        plan.deletesHost);
    };
    return ids(one) == ids(other);
}

void TakeApart(const ArrayLogin& login, ArrayObjects& objects, const Plan& plan, const DeviceRecord& record,
               LogTail& log)
{
    DeleteResource cleanup;
    cleanup.m_deleteHost = plan.deletesHost;
    log.Take(); // an address at which nobody was, for one, is no cause of what follows
    const int code = cleanup.DeleteCreatedResource(plan.message, Zav::SessionInfo(), login.Api());
    if (code != 0) {
        throw Failure::OfLibraryRequest(login.Device().url + ": cleanup stopped with code " + std::to_string(code) +
                                            "; the record stays in " + record.Path(),
                                        ExitCodeOf(code), code);
    }
    if (!TellWhatIsGone(login, objects, plan.message, plan.deletesHost)) {
        throw Failure(ExitCode::Partly, login.Device().url + ": not all is gone; the record stays in " + record.Path());
    }
    record.Remove();
    Report::Step(record.Path() + ": record removed");
}

ExitCode RunCleanup(const CleanupOptions& options, LogTail& log)
{
    const ArrayLogin login(NameOfEnvironment(options.environmentPath), ReadEnvironment(options.environmentPath));
    const boost::shared_ptr<ZavRestApi> api = login.Api();
    const std::string path = DeviceRecord(login.DeviceId()).Path();
    ArrayObjects objects(*api, login.Device().url);
    std::optional<NodeLock> lock(path);
    std::optional<DeviceRecord> record(login.DeviceId()); // as it is now that nobody changes it
    const Plan plan = MakePlan(options, login, objects, *record);
    if (record->IsEmpty()) {
        Report::Step(path + ": nothing is recorded for this array");
        if (plan.sessions.empty()) {
            return ExitCode::Done;
        }
    }
    Tell(login, plan, !record->IsEmpty());
    if (options.isDry) {
        return ExitCode::Done;
    }
    if (!options.isAgreed && Consent::CanBeAsked()) {
        lock.reset(); // who is asked may take his time
        if (!Consent::Give("take this apart?")) {
            Report::Step("nothing was changed");
            return ExitCode::Done;
        }
        lock.emplace(path);
        record.emplace(login.DeviceId());
        if (!AreSame(plan, MakePlan(options, login, objects, *record))) {
            throw Failure(ExitCode::Foreign, path + ": changed meanwhile, and nothing was taken apart");
        }
    }
    if (!record->IsEmpty()) {
        TakeApart(login, objects, plan, *record, log);
    }
    OwnSessions::End(login, plan.sessions);
    return ExitCode::Done;
}

} // namespace

void AddCleanupCommand(CLI::App& app, Run& run)
{
    const auto options = std::make_shared<CleanupOptions>();
    CLI::App* const command =
        app.add_subcommand("cleanup", "Take apart on an array what is recorded as prepared for this node");
    Options::AddEnvironment(*command, options->environmentPath);
    command->add_flag("--delete-host", options->deletesHost,
                      "Remove the host too when it is recorded as found there, as it is after a second init");
    command->add_flag(
        "--log-out", options->logsOut,
        "End the iSCSI sessions with this array that zavctl init began, too, unless their disks are used");
    command->add_flag("-y,--yes", options->isAgreed, "Do not ask, where a terminal is");
    command->add_flag("--dry-run", options->isDry, "Print what goes and what stays, and change nothing");
    command
        ->add_option("--shared-group", options->sharedGroup,
                     "Take this host group apart although hosts of others are in it")
        ->option_text("ID");
    Options::AddExamples(
        *command, {"zavctl cleanup --env env.json --dry-run", "zavctl cleanup --env env.json --delete-host --yes"});
    command->callback([options, &run] {
        Options::CompleteEnvironment(options->environmentPath);
        run = [options](LogTail& log, StopSignals& /*signals*/) { return RunCleanup(*options, log); };
    });
}
