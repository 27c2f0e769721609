#include "cli/array_login.h"

#include "base/secret.h"
#include "cli/failure.h"
#include "cli/report.h"
#include "device/device_set_operator.h"
#include "disklib/zav_storage_disk_lib.h"
#include "rest/zav_rest_api.h"

#include <boost/algorithm/string/join.hpp>

#include <exception>
#include <vector>

ArrayLogin::ArrayLogin(const std::string& name, const EnvironmentPath& env)
{
    const std::string address = env.management_ips().empty() ? "no address" : env.management_ips(0);
    Report::Step(name + ": logging into the array at " + address);
    bool ok = true;
    std::vector<Zav::DeviceInfo> devices = DeviceSetOperator::GetDeviceSetOperator()->GetAllDeviceInfo(env, ok);
    if (!ok || devices.empty()) {
        throw Failure(ExitCode::Failed, name + ": cannot log into the array at " + address);
    }
    const Secret::ScopedWipe wipePassword(devices.front().password);
    m_device = devices.front();
    Zav::SessionInfo session;
    const Secret::ScopedWipe wipeToken(session.token);
    const Secret::ScopedWipe wipeCookie(session.cookie);
    Api()->GetSession(session);
    m_deviceId = session.deviceId;
    Report::Step(name + ": logged in at " + m_device.url + ", service addresses " +
                 (m_device.storageIps.empty() ? "none" : boost::join(m_device.storageIps, ", ")));
}

ArrayLogin::~ArrayLogin()
{
    try {
        std::string ignoredErrorText;
        Api()->Logout(ignoredErrorText);
    } catch (const std::exception& error) {
        Report::Step(std::string("no logout: ") + error.what());
    }
    Secret::Wipe(m_device.password);
}

boost::shared_ptr<ZavRestApi> ArrayLogin::Api() const
{
    boost::shared_ptr<ZavRestApi> api;
    std::string errorText;
    const int code = ZavStorageDiskLib::GetInstance()->GetLoginedZavRestApi(m_device, api, errorText);
    if (code != 0) {
        throw Failure(ExitCode::Failed,
                      m_device.url + ": login refused with code " + std::to_string(code) + ": " + errorText);
    }
    return api;
}
