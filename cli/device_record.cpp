#include "cli/device_record.h"

#include "cli/failure.h"
#include "common/device_keys.h"
#include "device/device_info_record.h"
#include "device/device_set_operator.h"

#include <boost/filesystem/operations.hpp>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
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
    for (const DeviceInfoRecord::Object& object : DeviceInfoRecord::Objects()) {
        DeviceInfoRecord::Take(object, m_members, message);
    }
    message.iscsiInitiatorName = Member(DeviceKey::ISCSI_INITIATOR_NAME);
    message.fcInitiatorName = Member(DeviceKey::FC_INITIATOR_NAME);
    message.doNotDeleteHost = KeepsHost() ? DeviceWord::NOT : DeviceWord::DELETE_HOST;
    return message;
}

void DeviceRecord::Remove() const
{
    std::string problem;
    const auto source = DeviceInfoRecord::SourceOf(*DeviceSetOperator::GetDeviceSetOperator());
    if (!DeviceInfoRecord::Remove(source, m_deviceId, problem)) {
        throw Failure(ExitCode::Failed, problem);
    }
}

std::string DeviceRecord::Member(const std::string& key) const
{
    const auto member = m_members.find(key);
    return member == m_members.end() ? "" : member->second;
}
