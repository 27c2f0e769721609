#include "cli/preparation/library_check.h"

#include "cli/console/failure.h"
#include "cli/record/device_record.h"
#include "common/result_codes.h"
#include "common/secret_session.h"
#include "device/device_operate.h"
#include "device/device_set_operator.h"
#include "rest/zav_rest_api.h"

#include <map>
#include <string>
#include <vector>

namespace {

/// The library's steps up to the point where they would take something apart.
class LookingDevice : public DeviceOperate {
public:
    /// True, on purpose: what CheckInit does after false is what is not wanted.
    bool CheckInitSub(const Zav::SessionInfo& session, const boost::shared_ptr<ZavRestApi>& api) override
    {
        m_doObjectsStand = DeviceOperate::CheckInitSub(session, api);
        return true;
    }

    bool DoObjectsStand() const noexcept { return m_doObjectsStand; }

private:
    bool m_doObjectsStand = false;
};

} // namespace

bool LibraryCheck::FindsPrepared(const ArrayLogin& login, ZavMapInfo& info)
{
    const std::string& key = login.DeviceId();
    if (DeviceSetOperator::GetDeviceSetOperator()->GetMapDeviceOperate().count(key) == 0) {
        return false;
    }
    const boost::shared_ptr<ZavRestApi> api = login.Api();
    std::vector<std::string> portals; // as they are now
    std::string errorText;
    const int code = api->GetStorageIP(portals, errorText);
    if (code != ResultCode::OK) {
        throw Failure::OfRequest(ExitCodeOf(code), login.Device().url + ": cannot read the service addresses",
                                 errorText, code);
    }
    SecretSession session;
    api->GetSession(session);
    std::map<std::string, std::string> record = DeviceRecord(key).Members();
    LookingDevice device;
    device.SetDeviceMessage(record);
    if (!device.CheckInit(session, portals, api) || !device.DoObjectsStand()) {
        return false;
    }
    device.AddZavMessage(info, key);
    return true;
}

void LibraryCheck::Forget(const ArrayLogin& login)
{
    Zav::SessionInfo session;
    session.deviceId = login.DeviceId();
    DeviceSetOperator::GetDeviceSetOperator()->RemoveDeviceFromMap(session);
}
