#include "device/device_set_operator.h"

#include "common/device_keys.h"
#include "common/framework/product_messages.pb.h"
#include "common/framework/san_manager.h"
#include "common/log.h"
#include "device/device_info_record.h"
#include "device/device_operate.h"

#include <boost/lexical_cast/try_lexical_convert.hpp>
#include <boost/make_shared.hpp>
#include <boost/thread/exceptions.hpp>
#include <boost/thread/lock_guard.hpp>

#include <exception>
#include <memory>

namespace {

const std::string LOG_MODULE = "DeviceSetOperator";

constexpr unsigned int GENERATED_NAME_LENGTH = 22; // random characters behind the name's prefix
constexpr unsigned int DEFAULT_HTTPS_PORT = 443;

struct ManagerReleaser {
    void operator()(CDeviceManager* manager) const { CDeviceManager::releaseInstance(manager); }
};
using ManagerHandle = std::unique_ptr<CDeviceManager, ManagerReleaser>;

} // namespace

DeviceSetOperator* DeviceSetOperator::GetDeviceSetOperator()
{
    static DeviceSetOperator instance;
    return &instance;
}

DeviceSetOperator::DeviceSetOperator() = default;

DeviceSetOperator::~DeviceSetOperator() = default;

bool DeviceSetOperator::InitDeviceSet(const Zav::SessionInfo& session, const std::vector<std::string>& storageIps,
                                      const boost::shared_ptr<ZavRestApi>& api, ZavMapInfo& mapInfo)
{
    const boost::lock_guard<boost::mutex> guard(m_mutex);
    PS_LOG(1) << "begin init device set.";
    try {
        return InitLockedDeviceSet(session, storageIps, api, mapInfo);
    } catch (const boost::lock_error&) {
        throw; // the one exception that callers know
    } catch (const std::exception& error) {
        PS_LOG(4) << "init device failed!" << error.what();
    } catch (...) {
        PS_LOG(4) << "init device failed!";
    }
    return false;
}

bool DeviceSetOperator::InitLockedDeviceSet(const Zav::SessionInfo& session, const std::vector<std::string>& storageIps,
                                            const boost::shared_ptr<ZavRestApi>& api, ZavMapInfo& mapInfo)
{
    if (PrepareAndCheckInit(session, storageIps, api, mapInfo)) {
        PS_LOG_AS("InitDeviceSet", 1) << "The device has been init!";
        return true;
    }
    const auto device = boost::make_shared<DeviceOperate>();
    const ManagerHandle handle(GetDeviceManager());
    CDeviceManager* manager = handle.get();
    bool result = InitDeviceManager(session, &manager);
    if (!result) {
        PS_LOG_AS("InitDeviceSet", 4) << "init device manager failed.";
        return false;
    }
    if (!ProvisionDevice(session, storageIps, api, manager, device, result)) {
        PS_LOG_AS("InitDeviceSet", 4) << "init device failed!";
        return false;
    }
    m_mapDeviceOperate.emplace(session.deviceId, device); // keeps an entry that is there already
    device->AddZavMessage(mapInfo, session.deviceId);
    PS_LOG_AS("InitDeviceSet", 1) << "init device set finish.";
    return result;
}

bool DeviceSetOperator::PrepareAndCheckInit(const Zav::SessionInfo& session, const std::vector<std::string>& storageIps,
                                            const boost::shared_ptr<ZavRestApi>& api, ZavMapInfo& mapInfo)
{
    PS_TRACE();
    const auto known = m_mapDeviceOperate.find(session.deviceId);
    if (known != m_mapDeviceOperate.end()) {
        const boost::shared_ptr<DeviceOperate> device = known->second;
        m_mapDeviceOperate.erase(known); // out of the map also when the check throws
        if (device->CheckInit(session, storageIps, api)) {
            m_mapDeviceOperate.emplace(session.deviceId, device);
            device->AddZavMessage(mapInfo, session.deviceId);
            PS_LOG(1) << "The device has been init!";
            return true;
        }
    }
    PS_LOG(1) << "The device need to init!";
    return false;
}

// Initiators and host, then the groups and the mapping view, by a device that knows what the file records.
bool DeviceSetOperator::ProvisionDevice(const Zav::SessionInfo& session, const std::vector<std::string>& storageIps,
                                        const boost::shared_ptr<ZavRestApi>& api, CDeviceManager* manager,
                                        const boost::shared_ptr<DeviceOperate>& device, bool& result)
{
    std::map<std::string, std::string> info;
    device->ReadInfoFromJson(session.deviceId, info);
    std::string generatedName;
    if (!device->GetRandStr(generatedName, GENERATED_NAME_LENGTH)) {
        return false;
    }
    device->SetDeviceMessage(info);
    if (!device->CheckInitSub(session, api)) {
        info.clear(); // everything is made anew
    }

    PS_LOG_AS("InitDeviceSet", 1) << "begin set initiator.";
    auto position = info.find(DeviceKey::HOST_ID);
    const bool createHost = position == info.end();
    std::string hostId = createHost ? "" : position->second;
    // A copy: the groups and the view bear the generated name even where a host found on the array has its own.
    std::string hostName = generatedName;
    std::set<std::string> hostIds;
    // The result is left alone on purpose: the groups are worth having whatever became of the initiators.
    device->SetInitiatorInfo(session.deviceId, manager, storageIps, hostId, hostName, hostIds, createHost, api);
    return InitDeviceSetInner(session, storageIps, info, device, manager, generatedName, hostIds, position, result);
}

bool DeviceSetOperator::InitDeviceSetInner(const Zav::SessionInfo& session,
                                           const std::vector<std::string>& /*storageIps*/,
                                           std::map<std::string, std::string>& info,
                                           boost::shared_ptr<DeviceOperate> device, CDeviceManager* manager,
                                           std::string& generatedName, const std::set<std::string>& hostIds,
                                           std::map<std::string, std::string>::iterator& position, bool& result)
{
    PS_TRACE();
    if (manager == nullptr) {
        return false;
    }
    std::string hostGroupId;
    position = info.find(DeviceKey::HOST_GROUP_ID);
    if (position != info.end()) {
        hostGroupId = position->second;
        PS_LOG(1) << ",HOSTGRPID:" << hostGroupId;
    } else {
        result = device->SetHostGroupInfo(session.deviceId, manager, generatedName, hostIds, hostGroupId);
        if (!result) {
            PS_LOG(4) << "set host group failed.";
            return false;
        }
    }
    std::string lunGroupId;
    position = info.find(DeviceKey::LUN_GROUP_ID);
    if (position != info.end()) {
        lunGroupId = position->second;
        PS_LOG(1) << ",LUNGRPID:" << lunGroupId;
    } else {
        result = device->SetLunGroupInfo(session.deviceId, manager, generatedName, lunGroupId);
        if (!result) {
            PS_LOG(4) << "set lun group failed.";
            return false;
        }
    }
    position = info.find(DeviceKey::MAP_VIEW_ID);
    if (position == info.end()) {
        result = device->SetMapViewInfo(session.deviceId, manager, generatedName, lunGroupId, hostGroupId);
    }
    if (!result) {
        PS_LOG(4) << "set mapview failed.";
    }
    return result;
}

CDeviceManager* DeviceSetOperator::GetDeviceManager()
{
    PS_TRACE();
    return CDeviceManager::getInstance(0, 500000);
}

bool DeviceSetOperator::InitDeviceManager(const Zav::SessionInfo& session, CDeviceManager** manager)
{
    PS_LOG(1) << "init devicemanager pointer.";
    if (*manager == nullptr) {
        PS_LOG(4) << "devicemanager pointer is null.";
        return false;
    }
    PS_LOG(1) << "begin extract address and port.";
    std::string address;
    unsigned int port = 0;
    if (!ExtractAddressInfo(session.baseUrl, address, port)) {
        PS_LOG(4) << "extract address failed.";
        return false;
    }
    PS_LOG(1) << "begin connect device.";
    if (!(*manager)->Connect(address, port, session.deviceId, session.token, session.cookie)) {
        PS_LOG(4) << "connect device failed.";
        return false;
    }
    if (*manager == nullptr) {
        PS_LOG(4) << "device manager is null.";
        return false;
    }
    PS_LOG(1) << "init devicemanager pointer success.";
    return true;
}

bool DeviceSetOperator::ExtractAddressInfo(const std::string& url, std::string& address, unsigned int& port)
{
    PS_TRACE();
    const std::string separator = "://";
    const std::size_t schemeEnd = url.find(separator);
    if (schemeEnd == std::string::npos) {
        PS_LOG(4) << "url format error." << url;
        return false;
    }
    port = url.compare(0, schemeEnd, "https") == 0 ? DEFAULT_HTTPS_PORT : 0;
    const std::string rest = url.substr(schemeEnd + separator.size());
    const std::size_t colon = rest.find(':');
    address = rest.substr(0, colon);
    if (colon == std::string::npos) {
        return true;
    }
    unsigned int number = 0;
    if (boost::conversion::try_lexical_convert(rest.substr(colon + 1), number)) {
        port = number;
    } else {
        PS_LOG(4) << "port trans error."; // no failure, on purpose: the scheme's own port is tried
    }
    return true;
}

std::string DeviceSetOperator::GetDeviceInfoCfgFile(const std::string& deviceId)
{
    PS_TRACE();
    std::string path = DeviceInfoRecord::FileFor(DeviceInfoRecord::ProgramPath(__func__), deviceId);
    PS_LOG(1) << "Config path is " << path;
    return path;
}

bool DeviceSetOperator::ReadConfig(std::string& path, std::string& content)
{
    PS_TRACE();
    DeviceInfoRecord::ReadLines(path, content);
    return true;
}

bool DeviceSetOperator::ReadInfoFromJson(const std::string& deviceId, std::map<std::string, std::string>& info)
{
    try {
        return DeviceInfoRecord::Read({[this](const std::string& key) { return GetDeviceInfoCfgFile(key); },
                                       [this](std::string& path, std::string& content) { ReadConfig(path, content); }},
                                      deviceId, info);
    } catch (const boost::lock_error&) {
        throw; // the one exception that callers know
    } catch (const std::exception&) {
        PS_LOG(4) << "failed to change json."; // unlike in DeviceOperate, which lets it pass
        return false;
    }
}

bool DeviceSetOperator::GetSelfLunGroupInfo(const Zav::SessionInfo& session, std::string& lunGroupId,
                                            std::string& lunGroupName)
{
    PS_LOG(1) << "begin get lun group id";
    std::map<std::string, std::string> info;
    if (!ReadInfoFromJson(session.deviceId, info)) {
        PS_LOG(4) << "read config failed.";
        return false;
    }
    const auto id = info.find(DeviceKey::LUN_GROUP_ID);
    if (id == info.end()) {
        PS_LOG(4) << "there is no have lun group id.";
        return false;
    }
    lunGroupId = id->second;
    const auto name = info.find(DeviceKey::LUN_GROUP_NAME);
    if (name == info.end()) {
        PS_LOG(4) << "there is no have lun group name.";
        return false;
    }
    lunGroupName = name->second;
    PS_LOG(1) << "get lun group id finish,lun group id is:" << lunGroupId;
    return true;
}

std::map<std::string, boost::shared_ptr<DeviceOperate>> DeviceSetOperator::GetMapDeviceOperate()
{
    PS_TRACE();
    return m_mapDeviceOperate;
}

void DeviceSetOperator::RemoveDeviceFromMap(const Zav::SessionInfo& session)
{
    PS_TRACE();
    const boost::lock_guard<boost::mutex> guard(m_mutex);
    m_mapDeviceOperate.erase(session.deviceId);
}
