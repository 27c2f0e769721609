#include "device/device_set_operator.h"

#include "base/caught_text.h"
#include "base/printable_text.h"
#include "common/device_keys.h"
#include "common/framework/product_messages.pb.h"
#include "common/framework/san_manager.h"
#include "common/log.h"
#include "common/secret_session.h"
#include "device/device_info_record.h"
#include "device/device_operate.h"
#include "device/log_module.h"
#include "device/provisioning_lock.h"
#include "rest/zav_rest_api.h"

#include <boost/lexical_cast/try_lexical_convert.hpp>
#include <boost/make_shared.hpp>
#include <boost/thread/exceptions.hpp>
#include <boost/thread/lock_guard.hpp>

#include <algorithm>
#include <memory>
#include <string_view>

namespace {

constexpr unsigned int GENERATED_NAME_LENGTH = 22; // random characters behind the name's prefix
constexpr unsigned int DEFAULT_HTTPS_PORT = 443;

struct ManagerReleaser {
    void operator()(CDeviceManager* manager) const { CDeviceManager::releaseInstance(manager); }
};
using ManagerHandle = std::unique_ptr<CDeviceManager, ManagerReleaser>;

// What `work` gives; false, with `cause` set, when it throws anything but the lock error, the one exception that
// callers know.
template <typename Work>
bool Attempt(std::string& cause, const Work& work)
{
    try {
        return work();
    } catch (const boost::lock_error&) {
        throw;
    } catch (...) {
        cause = Base::CaughtText();
        return false;
    }
}

// Tells what failed, and why where an exception said it.
void TellFailure(std::string_view operation, const char* failure, const std::string& cause)
{
    PS_LOG_AS(operation, 4) << failure;
    if (!cause.empty()) {
        PS_LOG_AS(operation, 4) << "The cause: " << cause;
    }
}

// True, with `id` set and told, when the record holds the group. `position` is left at what was looked up.
bool FindRecorded(std::map<std::string, std::string>& info, const std::string& key, const char* words,
                  std::map<std::string, std::string>::iterator& position, std::string& id)
{
    position = info.find(key);
    if (position == info.end()) {
        return false;
    }
    id = position->second;
    PS_LOG_AS("InitDeviceSetInner", 1) << words << id;
    return true;
}

// A cleanup within the check may have brought the session a new cookie, which `session`, copied before, does not have.
void TakeNewTexts(ZavRestApi& api, Zav::SessionInfo& session)
{
    SecretSession now;
    if (api.GetSession(now) && now.deviceId == session.deviceId) {
        Secret::Replace(session.token, now.token);
        Secret::Replace(session.cookie, now.cookie);
    }
}

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
    if (!DeviceInfoRecord::CanNameAFile(session.deviceId)) {
        PS_LOG(4) << "The array's device id cannot name a file. It has " << session.deviceId.size()
                  << " bytes: " << Base::PrintableLines({session.deviceId});
        return false;
    }
    ProvisioningLock lock;
    std::string cause;
    const bool isReady = Attempt(cause, [&] {
        return lock.Acquire("InitDeviceSet", DeviceInfoRecord::FileOf("Acquire", session.deviceId)) &&
               InitLockedDeviceSet(session, storageIps, api, mapInfo);
    });
    if (!cause.empty()) {
        TellFailure(__func__, "init device failed!", cause);
    }
    return isReady;
}

bool DeviceSetOperator::InitLockedDeviceSet(const Zav::SessionInfo& session, const std::vector<std::string>& storageIps,
                                            const boost::shared_ptr<ZavRestApi>& api, ZavMapInfo& mapInfo)
{
    const bool isKnown = m_mapDeviceOperate.count(session.deviceId) != 0;
    if (PrepareAndCheckInit(session, storageIps, api, mapInfo)) {
        PS_LOG_AS("InitDeviceSet", 1) << "The device has been init!";
        return true;
    }
    auto device = boost::make_shared<DeviceOperate>();
    ManagerHandle handle(GetDeviceManager());
    CDeviceManager* manager = handle.get();
    SecretSession current(session);
    if (isKnown) {
        TakeNewTexts(*api, current);
    }
    bool result = InitDeviceManager(current, &manager);
    static_cast<void>(handle.release()); // a derived class may have put another in its place
    handle.reset(manager);
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
        std::string cause;
        bool stands = false;
        try {
            stands = Attempt(cause, [&] { return device->CheckInit(session, storageIps, api); });
        } catch (...) {
            m_mapDeviceOperate.erase(session.deviceId);
            throw;
        }
        if (stands) {
            device->AddZavMessage(mapInfo, session.deviceId);
            PS_LOG(1) << "The device has been init!";
            return true;
        }
        if (!cause.empty()) {
            TellFailure(__func__, "check init failed!", cause);
        }
        m_mapDeviceOperate.erase(session.deviceId);
    }
    PS_LOG(1) << "The device need to init!";
    return false;
}

// Initiators and host, then the groups and the mapping view, by a device that knows what the file records; `device` is
// replaced by one that knows nothing when that is gone.
bool DeviceSetOperator::ProvisionDevice(const Zav::SessionInfo& session, const std::vector<std::string>& storageIps,
                                        const boost::shared_ptr<ZavRestApi>& api, CDeviceManager* manager,
                                        boost::shared_ptr<DeviceOperate>& device, bool& result)
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
        // The file forgets it too, before anything is made: a run that stops half-way must not leave a record that
        // looks complete. A file that cannot be written stops nothing.
        DeviceInfoRecord::Forget(DeviceInfoRecord::SourceOf(*device), "InitDeviceSet",
                                 "Everything is made anew: forget ", session.deviceId,
                                 DeviceInfoRecord::KeysOfWhatIsOnTheArray());
        device = boost::make_shared<DeviceOperate>(); // so does what is kept in memory
    }

    PS_LOG_AS("InitDeviceSet", 1) << "begin set initiator.";
    auto position = info.find(DeviceKey::HOST_ID);
    const bool createHost = position == info.end();
    std::string hostId = createHost ? "" : position->second;
    // A copy: the groups and the view bear the generated name even where a host found on the array has its own.
    std::string hostName = generatedName;
    std::set<std::string> hostIds;
    // No failure, on purpose: the groups are worth having whatever became of the initiators.
    if (!device->SetInitiatorInfo(session.deviceId, manager, storageIps, hostId, hostName, hostIds, createHost, api)) {
        PS_LOG_AS("InitDeviceSet", 3) << "The node's initiators could not be set up. Going on to the groups.";
    }
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
    const std::string& key = session.deviceId;
    const char* failure = "set host group failed.";
    std::string cause;
    const bool isDone = Attempt(cause, [&] {
        std::string hostGroupId;
        if (!FindRecorded(info, DeviceKey::HOST_GROUP_ID, ",HOSTGRPID:", position, hostGroupId)) {
            result = device->SetHostGroupInfo(key, manager, generatedName, hostIds, hostGroupId);
            if (!result) {
                return false;
            }
        }
        failure = "set lun group failed.";
        std::string lunGroupId;
        if (!FindRecorded(info, DeviceKey::LUN_GROUP_ID, ",LUNGRPID:", position, lunGroupId)) {
            result = device->SetLunGroupInfo(key, manager, generatedName, lunGroupId);
            if (!result) {
                return false;
            }
        }
        failure = "set mapview failed.";
        position = info.find(DeviceKey::MAP_VIEW_ID);
        if (position == info.end()) {
            result = device->SetMapViewInfo(key, manager, generatedName, lunGroupId, hostGroupId);
        }
        return result;
    });
    if (!isDone) {
        result = false;
        TellFailure(__func__, failure, cause);
    }
    return isDone;
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
    std::string cause;
    const bool isConnected = Attempt(
        cause, [&] { return (*manager)->Connect(address, port, session.deviceId, session.token, session.cookie); });
    if (!isConnected) {
        TellFailure(__func__, "connect device failed.", cause);
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
    return DeviceInfoRecord::FileOf(__func__, deviceId);
}

bool DeviceSetOperator::ReadConfig(std::string& path, std::string& content)
{
    PS_TRACE();
    DeviceInfoRecord::AppendLines(path, content); // unlike DeviceOperate's, which empties it first
    return true;
}

bool DeviceSetOperator::ReadInfoFromJson(const std::string& deviceId, std::map<std::string, std::string>& info)
{
    std::string cause;
    const bool isRead =
        Attempt(cause, [&] { return DeviceInfoRecord::Read(DeviceInfoRecord::SourceOf(*this), deviceId, info); });
    if (!cause.empty()) {
        TellFailure(__func__, "failed to change json.", cause); // unlike in DeviceOperate, which lets it pass
    }
    return isRead;
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
