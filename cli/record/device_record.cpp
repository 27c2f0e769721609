#include "cli/record/device_record.h"

#include "base/files.h"
#include "cli/console/failure.h"
#include "common/device_keys.h"
#include "device/device_info_record.h"
#include "device/device_set_operator.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <optional>

namespace {

constexpr off_t MOST_BYTES = 1024L * 1024;
constexpr std::uintmax_t LEAST_FREE_BYTES = 64UL * 1024; // many times a record, which is written beside itself

[[noreturn]] void Refuse(const std::string& path, const std::string& why, int errorNumber = 0)
{
    throw Failure(ExitCodeOfFile(errorNumber), path + ": " + why);
}

/// The status of the file, a link followed; nothing when there is none.
std::optional<struct stat> StatusOf(const std::string& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) == 0) {
        return status;
    }
    if (errno != ENOENT) {
        Refuse(path, "cannot be read: " + Base::ErrorText(errno), errno);
    }
    return std::nullopt;
}

} // namespace

DeviceRecord::DeviceRecord(const std::string& deviceId)
    : m_deviceId(deviceId)
    , m_path(DeviceSetOperator::GetDeviceSetOperator()->GetDeviceInfoCfgFile(deviceId))
{
    if (const auto status = StatusOf(m_path)) {
        if (!S_ISREG(status->st_mode)) {
            Refuse(m_path, "cannot be a device record: it is no regular file; nothing was changed");
        }
        if (status->st_size > MOST_BYTES) {
            Refuse(m_path, "cannot be a device record: it has " + std::to_string(status->st_size) +
                               " bytes, a record less than " + std::to_string(MOST_BYTES) + "; nothing was changed");
        }
    }
    if (!DeviceSetOperator::GetDeviceSetOperator()->ReadInfoFromJson(deviceId, m_members)) {
        Refuse(m_path, "not a device record in JSON; nothing was changed");
    }
}

void DeviceRecord::RequireWritable() const
{
    const std::string folder = m_path.substr(0, m_path.rfind('/'));
    if (!StatusOf(folder)) {
        Refuse(m_path, "cannot be written: there is no folder " + folder + ", which the record lies in");
    }
    const std::string& written = StatusOf(m_path) ? m_path : folder;
    if (faccessat(AT_FDCWD, written.c_str(), W_OK, AT_EACCESS) != 0) {
        Refuse(m_path, "cannot be written: " + Base::ErrorText(errno), errno);
    }
    struct statvfs space = {};
    if (statvfs(folder.c_str(), &space) == 0) {
        const std::uintmax_t free = std::uintmax_t{space.f_bavail} * space.f_frsize;
        if (free < LEAST_FREE_BYTES) {
            Refuse(m_path,
                   "cannot be written: " + Base::ErrorText(ENOSPC) + " (" + std::to_string(free) + " bytes are free)");
        }
    }
}

bool DeviceRecord::KeepsHost() const
{
    return m_members.count(DeviceKey::DO_NOT_DELETE_HOST) != 0;
}

DeviceMessage DeviceRecord::MessageOf(const std::map<std::string, std::string>& members)
{
    const auto textOf = [&members](const std::string& key) {
        const auto member = members.find(key);
        return member == members.end() ? "" : member->second;
    };
    DeviceMessage message;
    for (const DeviceInfoRecord::Object& object : DeviceInfoRecord::Objects()) {
        DeviceInfoRecord::Take(object, members, message);
    }
    message.iscsiInitiatorName = textOf(DeviceKey::ISCSI_INITIATOR_NAME);
    message.fcInitiatorName = textOf(DeviceKey::FC_INITIATOR_NAME);
    message.doNotDeleteHost =
        members.count(DeviceKey::DO_NOT_DELETE_HOST) != 0 ? DeviceWord::NOT : DeviceWord::DELETE_HOST;
    return message;
}

void DeviceRecord::Enter(const std::map<std::string, std::string>& members) const
{
    const auto source = DeviceInfoRecord::SourceOf(*DeviceSetOperator::GetDeviceSetOperator());
    if (!DeviceInfoRecord::Merge(source, m_deviceId, members)) {
        throw Failure(ExitCode::Unusable, m_path + ": cannot be written");
    }
}

void DeviceRecord::Remove() const
{
    std::string problem;
    const auto source = DeviceInfoRecord::SourceOf(*DeviceSetOperator::GetDeviceSetOperator());
    if (!DeviceInfoRecord::Remove(source, m_deviceId, problem)) {
        throw Failure(ExitCode::Unusable, problem);
    }
}
