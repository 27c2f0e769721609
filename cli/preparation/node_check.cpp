#include "cli/preparation/node_check.h"

#include "cli/console/failure.h"
#include "cli/record/device_record.h"
#include "cli/record/own_journal.h"
#include "device/device_operate.h"
#include "rest/zav_rest_api.h"

#include <boost/algorithm/string/join.hpp>

#include <algorithm>
#include <string>
#include <vector>

namespace {

// A port that the array sees is a path only when it is on a host of the recorded group.
bool HasOnlineFcPort(DeviceOperate& device, ZavRestApi& api, ArrayObjects& objects, const std::string& url,
                     const std::string& hostGroupId)
{
    std::vector<std::string> wwpns;
    device.GetFCInitor(wwpns);
    return std::any_of(wwpns.begin(), wwpns.end(), [&](const std::string& wwpn) {
        const auto port = objects.Find(FC_INITIATOR, wwpn);
        if (!port || port->parentId.empty() || !ArraySeesOnline(api, url, wwpn)) {
            return false;
        }
        const std::vector<std::string> hosts = objects.Associated(HOST_GROUP, hostGroupId, HOST);
        return std::find(hosts.begin(), hosts.end(), port->parentId) != hosts.end();
    });
}

bool IsLoggedIntoOneOf(DeviceOperate& device, const std::vector<std::string>& serviceIps)
{
    std::vector<std::string> loggedIps;
    device.GetLoginTargetIP(loggedIps);
    return std::any_of(serviceIps.begin(), serviceIps.end(),
                       [&loggedIps](const std::string& address) { return CheckContain(address, loggedIps) == 1; });
}

} // namespace

namespace NodeCheck {

void RequireUsableRecord(const ArrayLogin& login)
{
    DeviceRecord(login.DeviceId()).RequireWritable();
    OwnJournal::RequireWritable();
}

void RequireConnectedNode(const ArrayLogin& login)
{
    DeviceOperate device;
    const DeviceRecord record(login.DeviceId());
    if (!device.ReadDeviceInfo(login.DeviceId())) {
        throw Failure(ExitCode::Drift, record.Path() + ": the record is not complete; this node is not prepared on " +
                                           login.Device().url);
    }
    const boost::shared_ptr<ZavRestApi> api = login.Api();
    ArrayObjects objects(*api, login.Device().url);
    RequirePath(login, device, *api, objects, record.Message().hostGroupId);
}

void RequirePath(const ArrayLogin& login, DeviceOperate& device, ZavRestApi& api, ArrayObjects& objects,
                 const std::string& hostGroupId)
{
    const std::string& url = login.Device().url;
    const std::vector<std::string>& serviceIps = login.Device().storageIps;
    if (!HasOnlineFcPort(device, api, objects, url, hostGroupId) && !IsLoggedIntoOneOf(device, serviceIps)) {
        throw Failure::OfLibrary(url + ": this node has no online FC port and no iSCSI session with any of " +
                                     (serviceIps.empty() ? "no addresses" : boost::join(serviceIps, ", ")),
                                 ExitCode::Drift);
    }
}

} // namespace NodeCheck
