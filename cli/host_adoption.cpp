#include "cli/host_adoption.h"

#include "cli/array_objects.h"
#include "cli/failure.h"
#include "cli/own_journal.h"
#include "device/device_operate.h"
#include "rest/zav_rest_api.h"

#include <string>
#include <vector>

namespace {

void RequireOwnHostOf(const ObjectKind& kind, const std::string& initiator, const ArrayLogin& login,
                      ArrayObjects& objects)
{
    const auto found = objects.Find(kind, initiator);
    if (!found || found->parentId.empty()) {
        return;
    }
    const auto host = objects.Find(HOST, found->parentId);
    if (host && !OwnJournal::Names(HOST, login.DeviceId(), host->id, host->name)) {
        throw Failure(ExitCode::Foreign, login.Device().url + ": this node's " + std::string(kind.words) + " " +
                                             initiator + " is on host " + host->id + " (" + host->name +
                                             "), which was not made here; nothing was changed");
    }
}

} // namespace

void RequireNoHostToAdopt(const ArrayLogin& login)
{
    const boost::shared_ptr<ZavRestApi> api = login.Api();
    ArrayObjects objects(*api, login.Device().url);
    DeviceOperate device;
    std::vector<std::string> ports;
    std::string iqn;
    device.GetFCInitor(ports);
    device.GetIscsiInitor(iqn);
    for (const std::string& port : ports) {
        RequireOwnHostOf(FC_INITIATOR, port, login, objects);
    }
    if (!iqn.empty()) {
        RequireOwnHostOf(ISCSI_INITIATOR, iqn, login, objects);
    }
}
