#include "cli/commands.h"

#include "cli/array_login.h"
#include "cli/device_record.h"
#include "cli/environment_file.h"
#include "cli/failure.h"
#include "cli/options.h"
#include "common/secret.h"
#include "device/delete_resource.h"
#include "rest/zav_rest_api.h"

#include <memory>
#include <string>

namespace {

// The id under which the array's record is kept; known since the login.
std::string DeviceId(ZavRestApi& api)
{
    Zav::SessionInfo session;
    const Secret::ScopedWipe wipeToken(session.token);
    const Secret::ScopedWipe wipeCookie(session.cookie);
    api.GetSession(session);
    return session.deviceId;
}

ExitCode RunCleanup(const std::string& environmentPath)
{
    const ArrayLogin login(environmentPath, ReadEnvironment(environmentPath));
    const boost::shared_ptr<ZavRestApi> api = login.Api();
    const DeviceRecord record(DeviceId(*api));
    if (record.IsEmpty()) {
        Report::Step(record.Path() + ": nothing is recorded for this array");
        return ExitCode::Done;
    }
    const DeviceMessage message = record.Message();
    Report::Step(login.Device().url + ": removing mapping view " + message.mapViewId + ", host group " +
                 message.hostGroupId + ", host " + message.hostId + (record.KeepsHost() ? " (kept)" : "") +
                 ", LUN group " + message.lunGroupId);
    DeleteResource cleanup;
    cleanup.m_deleteHost = !record.KeepsHost();
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
    const auto environmentPath = std::make_shared<std::string>();
    CLI::App* const command =
        app.add_subcommand("cleanup", "Take apart on an array what is recorded as prepared for this node");
    Options::AddEnvironment(*command, *environmentPath);
    command->callback([environmentPath, &run] { run = [environmentPath] { return RunCleanup(*environmentPath); }; });
}
