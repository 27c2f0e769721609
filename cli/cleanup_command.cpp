#include "cli/commands.h"

#include "cli/array_login.h"
#include "cli/array_objects.h"
#include "cli/device_record.h"
#include "cli/environment_file.h"
#include "cli/failure.h"
#include "cli/node_lock.h"
#include "cli/options.h"
#include "cli/own_journal.h"
#include "device/delete_resource.h"
#include "rest/zav_rest_api.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace {

struct CleanupOptions {
    std::string environmentPath;
    bool deletesHost = false;
    std::string sharedGroup; ///< a host group that may be taken apart although other hosts are in it
};

bool IsInJournal(const ObjectKind& kind, const std::string& device, const std::string& id, const std::string& name)
{
    const std::vector<OwnJournal::Entry> entries = OwnJournal::Standing(device);
    return std::any_of(entries.begin(), entries.end(), [&](const OwnJournal::Entry& entry) {
        return entry.kind == kind.words && entry.name == name && (entry.id == id || entry.id.empty());
    });
}

// Whether the host goes; where it stays although that was asked for, it is said why.
bool DeletesHost(const CleanupOptions& options, const ArrayLogin& login, const DeviceRecord& record)
{
    const DeviceMessage message = record.Message();
    if (message.hostId.empty() || (record.KeepsHost() && !options.deletesHost)) {
        return false;
    }
    if (OwnJournal::IsKept() && !IsInJournal(HOST, login.DeviceId(), message.hostId, message.hostName)) {
        Report::Step("host " + message.hostId + " stays: the journal of what this node makes does not name it");
        return false;
    }
    return true;
}

// The library takes all hosts out of the group, whoever put them there.
void RequireOwnGroup(const CleanupOptions& options, ArrayObjects& objects, const DeviceMessage& message)
{
    if (message.hostGroupId.empty() || options.sharedGroup == message.hostGroupId) {
        return;
    }
    const auto group = objects.Find(HOST_GROUP, message.hostGroupId);
    const auto hosts = objects.Members(HOST_GROUP, message.hostGroupId, HOST);
    if (!group || group->name != message.hostGroupName || !hosts) {
        return; // gone, somebody else's by now, or not told: the library leaves what does not bear the name
    }
    std::string others;
    for (const std::string& host : *hosts) {
        if (host != message.hostId) {
            others += (others.empty() ? "" : ", ") + host;
        }
    }
    if (!others.empty()) {
        throw Failure(ExitCode::Failed, "host group " + message.hostGroupId + " holds other hosts (" + others +
                                            "), and nothing was changed: --shared-group " + message.hostGroupId +
                                            " takes it apart all the same");
    }
}

// Tells what was seen to be gone, and lets the journal forget it. True when all is that should be.
bool TellWhatIsGone(const ArrayLogin& login, ArrayObjects& objects, const DeviceMessage& message, bool deletesHost)
{
    struct Row {
        const ObjectKind* kind;
        const std::string& id;
        const std::string& name;
    };
    bool isDone = true;
    for (const Row& row :
         {Row{&MAPPING_VIEW, message.mapViewId, message.mapViewName},
          Row{&HOST_GROUP, message.hostGroupId, message.hostGroupName}, Row{&HOST, message.hostId, message.hostName},
          Row{&LUN_GROUP, message.lunGroupId, message.lunGroupName}}) {
        if (row.id.empty()) {
            continue;
        }
        const std::string naming = std::string(row.kind->words) + " " + row.id + " (" + row.name + ")";
        const auto object = objects.Find(*row.kind, row.id);
        if (!object || object->name != row.name) {
            OwnJournal::Drop({login.DeviceId(), std::string(row.kind->words), row.name, row.id});
            Report::Step(naming + " is gone");
        } else {
            Report::Step(naming + " stays");
            isDone = isDone && row.kind == &HOST; // which may stay because others use it
        }
    }
    if (deletesHost && objects.Find(HOST, message.hostId)) {
        Report::Step("host " + message.hostId +
                     " is in a host group that is not this node's: zavctl tidy takes it away "
                     "once it is in none");
    }
    return isDone;
}

ExitCode RunCleanup(const CleanupOptions& options)
{
    const ArrayLogin login(options.environmentPath, ReadEnvironment(options.environmentPath));
    const boost::shared_ptr<ZavRestApi> api = login.Api();
    const NodeLock lock(DeviceRecord(login.DeviceId()).Path());
    const DeviceRecord record(login.DeviceId()); // as it is now that nobody changes it
    if (record.IsEmpty()) {
        Report::Step(record.Path() + ": nothing is recorded for this array");
        return ExitCode::Done;
    }
    const DeviceMessage message = record.Message();
    ArrayObjects objects(*api, login.Device().url);
    RequireOwnGroup(options, objects, message);
    const bool deletesHost = DeletesHost(options, login, record);
    Report::Step(login.Device().url + ": removing mapping view " + message.mapViewId + ", host group " +
                 message.hostGroupId + ", host " + message.hostId + (deletesHost ? "" : " (kept)") + ", LUN group " +
                 message.lunGroupId);
    DeleteResource cleanup;
    cleanup.m_deleteHost = deletesHost;
    const int code = cleanup.DeleteCreatedResource(message, Zav::SessionInfo(), api);
    if (code != 0) {
        throw Failure(ExitCode::Failed, login.Device().url + ": cleanup stopped with code " + std::to_string(code) +
                                            "; the record stays in " + record.Path());
    }
    if (!TellWhatIsGone(login, objects, message, deletesHost)) {
        throw Failure(ExitCode::Failed, login.Device().url + ": not all is gone; the record stays in " + record.Path());
    }
    record.Remove();
    Report::Step(record.Path() + ": record removed");
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
    command
        ->add_option("--shared-group", options->sharedGroup,
                     "Take this host group apart although hosts of others are in it")
        ->option_text("ID");
    command->callback([options, &run] {
        run = [options](LogTail& /*log*/, StopSignals& /*signals*/) { return RunCleanup(*options); };
    });
}
