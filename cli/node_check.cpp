#include "cli/node_check.h"

#include "cli/device_record.h"
#include "cli/failure.h"
#include "device/device_operate.h"
#include "rest/zav_rest_api.h"

#include <boost/algorithm/string/join.hpp>

#include <algorithm>
#include <string>
#include <vector>

namespace {

bool HasOnlineFcPort(DeviceOperate& device, ZavRestApi& api)
{
    std::vector<std::string> wwpns;
    device.GetFCInitor(wwpns);
    return std::any_of(wwpns.begin(), wwpns.end(), [&api](const std::string& wwpn) {
        std::string errorText;
        return api.IsOnlineFCInitiator(wwpn, errorText) == 0;
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
}

void RequireConnectedNode(const ArrayLogin& login)
{
    DeviceOperate device;
    if (!device.ReadDeviceInfo(login.DeviceId())) {
        throw Failure(ExitCode::Failed, DeviceRecord(login.DeviceId()).Path() +
                                            ": the record is not complete; this node is not prepared on " +
                                            login.Device().url);
    }
    const std::vector<std::string>& serviceIps = login.Device().storageIps;
    if (!HasOnlineFcPort(device, *login.Api()) && !IsLoggedIntoOneOf(device, serviceIps)) {
        throw Failure(ExitCode::Failed, login.Device().url +
                                            ": this node has no online FC port and no iSCSI session with any of " +
                                            (serviceIps.empty() ? "no addresses" : boost::join(serviceIps, ", ")));
    }
}

} // namespace NodeCheck
