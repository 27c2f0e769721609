#include "device/device_operate.h"

#include "base/caught_text.h"
#include "common/device_keys.h"
#include "common/framework/product_messages.pb.h"
#include "common/framework/product_root.h"
#include "common/json_text.h"
#include "common/log.h"
#include "common/result_codes.h"
#include "device/delete_resource.h"
#include "device/device_info_record.h"
#include "rest/zav_rest_api.h"

#include <boost/filesystem/exception.hpp>
#include <boost/thread/lock_guard.hpp>

#include <algorithm>

boost::mutex g_infoFileMutext;

namespace {

const std::string LOG_MODULE = "DeviceSetOperator"; // not the class's own name: all device code logs as one module

using Record = std::map<std::string, std::string>;

bool Has(const Json::Value& record, const std::string& key)
{
    return record.isMember(key);
}

} // namespace

int CheckContain(std::string text, std::vector<std::string>& list)
{
    return std::find(list.begin(), list.end(), text) != list.end() ? 1 : 0;
}

DeviceOperate::DeviceOperate() = default;

DeviceOperate::~DeviceOperate() = default;

std::string DeviceOperate::GetDeviceInfoCfgFile(const std::string& key)
{
    PS_TRACE();
    const std::string programPath = DeviceInfoRecord::ProgramPath(__func__);
    std::string path;
    try {
        path = DeviceInfoRecord::FileFor(programPath, key);
    } catch (const boost::filesystem::filesystem_error& error) {
        PS_LOG(4) << error.what();
        // One file without the key in its name for all arrays: its top-level members keep them apart.
        path = GetVendrixRootPath(LOG_MODULE, 0) + "/conf/deviceinfo.conf";
    }
    PS_LOG(1) << "Config path is " << path;
    return path;
}

bool DeviceOperate::ReadConfig(std::string& path, std::string& content)
{
    PS_TRACE();
    DeviceInfoRecord::ReadLines(path, content);
    return true;
}

bool DeviceOperate::ReadInfoFromJson(const std::string& key, Record& info)
{
    return DeviceInfoRecord::Read(DeviceInfoRecord::SourceOf(*this), key, info);
}

bool DeviceOperate::WriteInfoToJson(const std::string& key, Record& info)
{
    PS_LOG(1) << "begin write device info from Json .";
    const boost::lock_guard<boost::mutex> guard(g_infoFileMutext);
    std::string path = GetDeviceInfoCfgFile(key);
    std::string content;
    ReadConfig(path, content);
    Json::Value root;
    if (!JsonText::Parse(content, root)) {
        PS_LOG(4) << "Json to string failed."; // the parse failed; the words are the ones operators know
        return false;
    }
    Json::Value record = root[key];
    for (const auto& [name, value] : info) {
        record[name] = value;
    }
    root[key] = record;
    if (!DeviceInfoRecord::WriteText(__func__, path, JsonText::Write(root))) {
        return false;
    }
    PS_LOG(1) << "write device info from Json finish.";
    return true;
}

bool DeviceOperate::ReadDeviceInfo(const std::string& key)
{
    // Without the lock, on purpose: a torn read shows as an incomplete record and leads to provisioning, which is safe.
    PS_LOG(1) << "begin read device info from Json .";
    std::string path = GetDeviceInfoCfgFile(key);
    std::string content;
    ReadConfig(path, content);
    PS_LOG(2) << "config content:" << content;
    Json::Value root;
    if (!JsonText::Parse(content, root)) {
        PS_LOG(4) << "failed to change json.";
        return false;
    }
    const Json::Value record = root[key];
    if (record.getMemberNames().empty()) {
        PS_LOG(4) << "The device conf is not exist.";
        return false;
    }
    // Presence counts, not content: an empty initiator name is one that was looked for.
    if (!Has(record, DeviceKey::MAP_VIEW_ID) ||
        !(Has(record, DeviceKey::ISCSI_INITIATOR_NAME) || Has(record, DeviceKey::FC_INITIATOR_NAME))) {
        PS_LOG(4) << "The conf file is not complete.";
        return false;
    }
    PS_LOG(2) << "The conf file is exist and complete!";
    return true;
}

void DeviceOperate::SetDeviceMessage(Record& info)
{
    struct Pair {
        const std::string& idKey;
        const std::string& nameKey;
        std::string& id;
        std::string& name;
        const char* missing;
    };
    const Pair pairs[] = {
        {DeviceKey::HOST_ID, DeviceKey::HOST_NAME, m_deviceMessage.hostId, m_deviceMessage.hostName,
         "The device need to init, hostID is nil!"},
        {DeviceKey::HOST_GROUP_ID, DeviceKey::HOST_GROUP_NAME, m_deviceMessage.hostGroupId,
         m_deviceMessage.hostGroupName, "The device need to init, hostGroupID is nil!"},
        {DeviceKey::LUN_GROUP_ID, DeviceKey::LUN_GROUP_NAME, m_deviceMessage.lunGroupId, m_deviceMessage.lunGroupName,
         "The device need to init, lunGroupID is nil!"},
        {DeviceKey::MAP_VIEW_ID, DeviceKey::MAP_VIEW_NAME, m_deviceMessage.mapViewId, m_deviceMessage.mapViewName,
         "The device need to init, mapViewID is nil!"},
    };

    PS_LOG(1) << "Enter SetDeviceMessage!";
    for (const Pair& pair : pairs) {
        const auto id = info.find(pair.idKey);
        const auto name = info.find(pair.nameKey);
        if (id == info.end() || name == info.end()) {
            PS_LOG(4) << pair.missing;
            continue;
        }
        pair.id = id->second;
        pair.name = name->second;
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
    Record info = {{DeviceKey::HOST_ID, hostId},
                   {DeviceKey::HOST_NAME, hostName},
                   {DeviceKey::DO_NOT_DELETE_HOST, DeviceWord::NOT}};
    WriteInfoToJson(key, info);
    m_deviceMessage.hostId = hostId;
    m_deviceMessage.hostName = hostName;
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

std::string DeviceOperate::FormatUrl(const std::string& address)
{
    const std::size_t last = address.rfind(':');
    if (last == std::string::npos || address.find(':') == last) {
        return address;
    }
    return "[" + address.substr(0, last) + "]" + address.substr(last);
}
