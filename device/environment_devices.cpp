#include "device/device_set_operator.h"

#include "base/secret.h"
#include "common/environment.h"
#include "common/framework/security.h"
#include "common/log.h"
#include "common/result_codes.h"
#include "device/log_module.h"
#include "disklib/zav_storage_disk_lib.h"
#include "rest/zav_rest_api.h"

std::vector<Zav::DeviceInfo> DeviceSetOperator::GetAllDeviceInfo(const EnvironmentPath& env, bool& ok)
{
    PS_TRACE();
    std::vector<Zav::DeviceInfo> devices;
    if (const char* const missing = Environment::MissingList(env)) {
        ok = false;
        PS_LOG(4) << "The environment has no entry in its " << missing << " list.";
        return devices;
    }
    Zav::DeviceInfo info;
    const Secret::ScopedWipe wipePassword(info.password);
    if (!SecuritySS::ZelkDecryptInfo(env.encrypted_passwords(0), info.password)) {
        ok = false;
        PS_LOG(4) << "Decrypt password failed. User is " << env.user_names(0);
        return devices;
    }
    GetAllOtherMgmtIPs(env, info);
    Environment::FillDeviceInfo(env, info);

    ZavStorageDiskLib* const keeper = ZavStorageDiskLib::GetInstance();
    boost::shared_ptr<ZavRestApi> api;
    std::string errorText;
    int code = keeper->GetLoginedZavRestApi(info, api, errorText);
    if (keeper->CheckIfNeedToRetry(code)) {
        code = keeper->TryToGetAValidMgmtIP(env, info, api, errorText);
        if (code != ResultCode::OK) {
            ok = false;
            PS_LOG(3) << "Login Zav failed:" << errorText << " The error code is " << code;
            return devices;
        }
    } else if (code != ResultCode::OK) {
        ok = false;
        PS_LOG(4) << "Login Zav device failed:" << errorText << " The error code is " << code;
        return devices;
    }
    code = api->GetStorageIP(info.storageIps, errorText);
    if (code != ResultCode::OK) {
        ok = false;
        PS_LOG(4) << "GetStorageIP failed! " << errorText << " The error code is " << code;
        return devices;
    }
    devices.push_back(info);
    PS_LOG(2) << "GetAllDeviceInfo successfully! ";
    return devices;
}

void DeviceSetOperator::GetAllOtherMgmtIPs(const EnvironmentPath& env, Zav::DeviceInfo& info)
{
    PS_TRACE();
    for (const std::string& address : Environment::OtherManagementIps(env)) {
        info.otherMgmtIps.push_back(address);
    }
    Environment::FillSoleProtocolAndPort(env, info);
}
