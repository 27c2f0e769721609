#ifndef PRODUCT_STORAGE_FRAMEWORK_SUPPORT_CHANGE_LOCK_H
#define PRODUCT_STORAGE_FRAMEWORK_SUPPORT_CHANGE_LOCK_H

#include "base/file_lock.h"

#include <string>

namespace Framework {

/// While it lives, no other thread or process changes the file at a path, if all of them ask for it. It lies on a file
/// of its own, because the file itself may be replaced.
class ChangeLock {
public:
    /// Waits ten seconds for it at most: others hold it for one change, and whoever holds it longer must not stop this
    /// process. Throws std::runtime_error naming the lock file and why it was not got.
    explicit ChangeLock(const std::string& path);

private:
    Base::FileLock m_lock;
};

} // namespace Framework

#endif
