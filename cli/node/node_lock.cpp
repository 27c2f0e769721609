#include "cli/node/node_lock.h"

#include "cli/console/failure.h"
#include "cli/console/report.h"
#include "device/device_info_record.h"

#include <exception>

namespace {

constexpr std::chrono::minutes LONGEST_WAIT{10};

} // namespace

NodeLock::NodeLock(const std::string& recordPath)
{
    const std::string path = DeviceInfoRecord::LockFileBeside(recordPath);
    bool isMine = true;
    try {
        m_lock.emplace(path);
        if (!m_lock->TryLock()) {
            Report::Step("another process prepares this node or cleans up: waiting for " + path);
            isMine = m_lock->LockWithin(LONGEST_WAIT);
        }
    } catch (const std::exception& error) {
        Report::Tell(std::string("other processes are not kept out: ") + error.what());
    }
    if (!isMine) {
        throw Failure(ExitCode::Unreachable, path + ": another process has held it for ten minutes");
    }
}
