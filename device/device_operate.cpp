#include "device/device_operate.h"

#include "base/caught_text.h"
#include "common/device_keys.h"
#include "common/framework/product_messages.pb.h"
#include "common/log.h"
#include "common/result_codes.h"
#include "device/delete_resource.h"
#include "device/device_info_record.h"
#include "device/log_module.h"
#include "rest/zav_rest_api.h"

boost::mutex g_infoFileMutext;

DeviceOperate::DeviceOperate() = default;

DeviceOperate::~DeviceOperate() = default;

std::string DeviceOperate::GetDeviceInfoCfgFile(const std::string& key)
{
    PS_TRACE();
    return DeviceInfoRecord::FileOf(__func__, key);
}

bool DeviceOperate::ReadConfig(std::string& path, std::string& content)
{
    PS_TRACE();
    content.clear();
    DeviceInfoRecord::AppendLines(path, content);
    return true;
}

bool DeviceOperate::ReadInfoFromJson(const std::string& key, std::map<std::string, std::string>& info)
{
    return DeviceInfoRecord::Read(DeviceInfoRecord::SourceOf(*this), key, info);
}

bool DeviceOperate::WriteInfoToJson(const std::string& key, std::map<std::string, std::string>& info)
{
    return DeviceInfoRecord::Merge(DeviceInfoRecord::SourceOf(*this), key, info);
}

bool DeviceOperate::ReadDeviceInfo(const std::string& key)
{
    return DeviceInfoRecord::IsComplete(DeviceInfoRecord::SourceOf(*this), key);
}

void DeviceOperate::SetDeviceMessage(std::map<std::string, std::string>& info)
{
    PS_LOG(1) << "Enter SetDeviceMessage!";
    for (const DeviceInfoRecord::Object& object : DeviceInfoRecord::Objects()) {
        if (!DeviceInfoRecord::Take(object, info, m_deviceMessage)) {
            PS_LOG(4) << object.missing;
        }
    }
    // Indexed on purpose: a name that is missing becomes an empty one in the caller's map too.
    m_deviceMessage.fcInitiatorName = info[DeviceKey::FC_INITIATOR_NAME];
    m_deviceMessage.iscsiInitiatorName = info[DeviceKey::ISCSI_INITIATOR_NAME];
    PS_LOG(1) << "End SetDeviceMessage!";
}

void DeviceOperate::UpdateConfigFile(std::string key, const boost::shared_ptr<ZavRestApi>& api,
                                     const std::string& hostId, std::string& hostName)
{
    PS_TRACE();
    std::string errorText;
    if (api->GetHostName(hostId, hostName, errorText) != ResultCode::OK) {
        PS_LOG(1) << "Not Found Host. ID: " << hostId;
        if (hostId == m_deviceMessage.hostId && !m_deviceMessage.hostName.empty()) {
            hostName = m_deviceMessage.hostName; // what was known of this very host is right still
        }
    }
    const DeviceInfoRecord::Object& host = DeviceInfoRecord::ObjectOf(DeviceInfoRecord::Kind::Host);
    std::map<std::string, std::string> info = {
        {host.idKey, hostId}, {host.nameKey, hostName}, {DeviceKey::DO_NOT_DELETE_HOST, DeviceWord::NOT}};
    WriteInfoToJson(key, info);
    m_deviceMessage.*host.id = hostId;
    m_deviceMessage.*host.name = hostName;
    m_deviceMessage.doNotDeleteHost = DeviceWord::NOT;
    PS_LOG(1) << "Host Already Exist, No Need To Create. ID: " << hostId << " Name: " << hostName;
}

void DeviceOperate::AddZavMessage(ZavMapInfo& info, const std::string& key)
{
    PS_TRACE();
    try {
        info.Clear();
        info.add_device_keys(key);
        info.add_host_ids(m_deviceMessage.hostId);
        info.add_host_names(m_deviceMessage.hostName);
        info.add_host_group_ids(m_deviceMessage.hostGroupId);
        info.add_host_group_names(m_deviceMessage.hostGroupName);
        info.add_lun_group_ids(m_deviceMessage.lunGroupId);
        info.add_lun_group_names(m_deviceMessage.lunGroupName);
        info.add_map_view_ids(m_deviceMessage.mapViewId);
        info.add_map_view_names(m_deviceMessage.mapViewName);
    } catch (...) {
        const std::string cause = Base::CaughtText(); // lets a thread's cancellation pass
        PS_LOG(4) << "Some exception happened when AddZavMessage!";
        PS_LOG(4) << "The cause: " << cause;
    }
}

bool DeviceOperate::GetSelfLunGroupInfo(const Zav::SessionInfo& /*session*/, std::string& lunGroupId,
                                        std::string& lunGroupName)
{
    PS_LOG(1) << "begin get lun group id";
    if (m_deviceMessage.lunGroupId.empty()) {
        PS_LOG(4) << "there is no have lun group id.";
        return false;
    }
    lunGroupId = m_deviceMessage.lunGroupId;
    if (m_deviceMessage.lunGroupName.empty()) {
        PS_LOG(4) << "there is no have lun group name.";
        return false;
    }
    lunGroupName = m_deviceMessage.lunGroupName;
    PS_LOG(1) << "get lun group id finish, lun group id is:" << lunGroupId;
    return true;
}

bool DeviceOperate::GetSelfMapviewInfo(const Zav::SessionInfo& /*session*/, std::string& mapViewId,
                                       std::string& mapViewName)
{
    PS_LOG(1) << "begin get Mapview info.";
    if (m_deviceMessage.mapViewId.empty()) {
        PS_LOG(4) << "there is no have mapview id.";
        return false;
    }
    mapViewId = m_deviceMessage.mapViewId;
    if (m_deviceMessage.mapViewName.empty()) {
        PS_LOG(4) << "there is no have mapview name.";
        return false;
    }
    mapViewName = m_deviceMessage.mapViewName;
    PS_LOG(1) << "get Mapview info finish.";
    return true;
}
