#ifndef PRODUCT_STORAGE_DEVICE_PROVISIONING_LOCK_H
#define PRODUCT_STORAGE_DEVICE_PROVISIONING_LOCK_H

#include "base/file_lock.h"

#include <optional>
#include <string>
#include <string_view>

/// Keeps the processes of one product root from changing what is recorded, and what the records name, at once: an
/// advisory lock on `.device-info.lock` beside the records. Taken behind DeviceSetOperator's m_mutex and before
/// g_infoFileMutext. Ends with the object. One thread at a time.
class ProvisioningLock {
public:
    /// Waits while another process has it, which is told in one level-2 line of `operation`, for at most ten minutes:
    /// then false, after a level-4 line. True, after a level-3 line, also where there can be no such file: one process
    /// works as well without.
    bool Acquire(std::string_view operation, const std::string& recordPath);

private:
    std::optional<Base::FileLock> m_lock;
};

#endif
