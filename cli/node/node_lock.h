#ifndef PRODUCT_STORAGE_CLI_NODE_NODE_LOCK_H
#define PRODUCT_STORAGE_CLI_NODE_NODE_LOCK_H

#include "base/file_lock.h"

#include <optional>
#include <string>

/// Keeps other processes of this product root from preparing the node or cleaning up while it lives: the lock that the
/// library holds while it provisions, so that it must not be held then.
class NodeLock {
public:
    /// Waits while another process has it, for at most ten minutes, and says so. Throws Failure when it had it all the
    /// while. Where there can be no lock file, that is said, and work goes on.
    explicit NodeLock(const std::string& recordPath);

private:
    std::optional<Base::FileLock> m_lock;
};

#endif
