#include "device/provisioning_lock.h"

#include "common/log.h"
#include "common/time_source.h"
#include "device/device_info_record.h"
#include "device/log_module.h"

#include <exception>

namespace {

constexpr boost::chrono::seconds PAUSE(1);
constexpr boost::chrono::minutes LONGEST_WAIT(10);

} // namespace

bool ProvisioningLock::Acquire(std::string_view operation, const std::string& recordPath)
{
    const std::string path = DeviceInfoRecord::LockFileBeside(recordPath);
    try {
        m_lock.emplace(path);
        if (m_lock->TryLock()) {
            return true;
        }
        PS_LOG_AS(operation, 2) << "Another process prepares this node or cleans up. Waiting for " << path;
        const auto end = TimeSource::SteadyNow() + LONGEST_WAIT;
        while (TimeSource::SteadyNow() < end) {
            TimeSource::SleepFor(PAUSE);
            if (m_lock->TryLock()) {
                return true;
            }
        }
        PS_LOG_AS(operation, 4) << "Another process held " << path << " for ten minutes.";
        return false;
    } catch (const std::exception& error) {
        PS_LOG_AS(operation, 3) << "Other processes are not kept out: " << error.what();
        return true;
    }
}
