#include "cli/commands.h"

#include "cli/array_login.h"
#include "cli/device_record.h"
#include "cli/environment_file.h"
#include "cli/failure.h"
#include "cli/options.h"
#include "device/delete_resource.h"
#include "rest/zav_rest_api.h"

#include <memory>
#include <string>

namespace {

struct CleanupOptions {
    std::string environmentPath;
    bool deletesHost = false;
};

ExitCode RunCleanup(const CleanupOptions& options)
{
    const ArrayLogin login(options.environmentPath, ReadEnvironment(options.environmentPath));
    const boost::shared_ptr<ZavRestApi> api = login.Api();
    const DeviceRecord record(login.DeviceId());
    if (record.IsEmpty()) {
        Report::Step(record.Path() + ": nothing is recorded for this array");
        return ExitCode::Done;
    }
    const DeviceMessage message = record.Message();
    const bool keepsHost = record.KeepsHost() && !options.deletesHost;
    Report::Step(login.Device().url + ": removing mapping view " + message.mapViewId + ", host group " +
                 message.hostGroupId + ", host " + message.hostId + (keepsHost ? " (kept)" : "") + ", LUN group " +
                 message.lunGroupId);
    DeleteResource cleanup;
    cleanup.m_deleteHost = !keepsHost;
    const int code = cleanup.DeleteCreatedResource(message, Zav::SessionInfo(), api);
    if (code != 0) {
        throw Failure(ExitCode::Failed, login.Device().url + ": cleanup stopped with code " + std::to_string(code) +
                                            "; the record stays in " + record.Path());
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
    command->callback([options, &run] { run = [options](LogTail&) { return RunCleanup(*options); }; });
}
