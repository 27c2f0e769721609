#include "cli/device_record.h"

#include "cli/failure.h"
#include "common/device_keys.h"
#include "device/device_operate.h"
#include "device/device_set_operator.h"

#include <json/reader.h>
#include <json/value.h>
#include <json/writer.h>

#include <boost/filesystem/operations.hpp>
#include <boost/thread/lock_guard.hpp>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <system_error>

DeviceRecord::DeviceRecord(const std::string& deviceId)
    : m_deviceId(deviceId)
    , m_path(DeviceSetOperator::GetDeviceSetOperator()->GetDeviceInfoCfgFile(deviceId))
{
    if (!DeviceSetOperator::GetDeviceSetOperator()->ReadInfoFromJson(deviceId, m_members)) {
        throw Failure(ExitCode::BadInput, m_path + ": not a device record in JSON; nothing was changed");
    }
}

void DeviceRecord::RequireWritable() const
{
    constexpr mode_t MODE = 0644;
    const bool isThere = boost::filesystem::exists(m_path);
    const int descriptor = open(m_path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, MODE); // changes nothing that is there
    if (descriptor == -1) {
        throw Failure(ExitCode::BadInput, m_path + ": cannot be written: " + std::generic_category().message(errno));
    }
    close(descriptor);
    if (!isThere) {
        unlink(m_path.c_str());
    }
}

bool DeviceRecord::KeepsHost() const
{
    return m_members.count(DeviceKey::DO_NOT_DELETE_HOST) != 0;
}

DeviceMessage DeviceRecord::Message() const
{
    DeviceMessage message;
    message.hostGroupId = Member(DeviceKey::HOST_GROUP_ID);
    message.hostGroupName = Member(DeviceKey::HOST_GROUP_NAME);
    message.hostId = Member(DeviceKey::HOST_ID);
    message.hostName = Member(DeviceKey::HOST_NAME);
    message.iscsiInitiatorName = Member(DeviceKey::ISCSI_INITIATOR_NAME);
    message.fcInitiatorName = Member(DeviceKey::FC_INITIATOR_NAME);
    message.lunGroupId = Member(DeviceKey::LUN_GROUP_ID);
    message.lunGroupName = Member(DeviceKey::LUN_GROUP_NAME);
    message.mapViewId = Member(DeviceKey::MAP_VIEW_ID);
    message.mapViewName = Member(DeviceKey::MAP_VIEW_NAME);
    message.doNotDeleteHost = KeepsHost() ? DeviceWord::NOT : DeviceWord::DELETE_HOST;
    return message;
}

void DeviceRecord::Remove() const
{
    const boost::lock_guard<boost::mutex> guard(g_infoFileMutext);
    std::ifstream file(m_path);
    Json::Value root;
    std::string errors;
    if (!Json::parseFromStream(Json::CharReaderBuilder(), file, &root, &errors)) {
        throw Failure(ExitCode::Failed, m_path + ": " + errors);
    }
    file.close();
    root.removeMember(m_deviceId);
    boost::system::error_code error;
    if (root.empty()) {
        boost::filesystem::remove(m_path, error);
    } else {
        // Other arrays' records lie in the same file: it is replaced whole or not at all.
        const std::string newPath = m_path + ".new";
        std::ofstream newFile(newPath, std::ios::trunc);
        newFile << Json::writeString(Json::StreamWriterBuilder(), root);
        newFile.close();
        if (!newFile) {
            throw Failure(ExitCode::Failed, newPath + ": cannot be written");
        }
        boost::filesystem::rename(newPath, m_path, error);
    }
    if (error) {
        throw Failure(ExitCode::Failed, m_path + ": " + error.message());
    }
}

std::string DeviceRecord::Member(const std::string& key) const
{
    const auto member = m_members.find(key);
    return member == m_members.end() ? "" : member->second;
}
