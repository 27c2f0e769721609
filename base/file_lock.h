#ifndef PRODUCT_STORAGE_BASE_FILE_LOCK_H
#define PRODUCT_STORAGE_BASE_FILE_LOCK_H

#include "base/descriptor.h"

#include <chrono>
#include <string>

namespace Base {

/// An advisory lock that keeps processes, and holders within one, apart. It lies on a file of its own, which is made
/// when it is missing (0600), is never removed, and must be no link. The lock ends with the object, and with the
/// process however that ends; programs that it starts do not hold it. One thread at a time.
class FileLock {
public:
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    /// Unlocks, also where a process that was forked meanwhile still has the file open.
    ~FileLock();

    /// Does not lock yet. Throws std::runtime_error naming the file and why it cannot be made or opened.
    explicit FileLock(const std::string& path);

    /// False when somebody else holds it. Throws std::runtime_error where the file system knows no locks.
    bool TryLock();

    /// Waits for it, however long somebody else holds it. Throws as TryLock does.
    void Lock();

    /// Waits for it for at most `limit`; false when somebody else held it all the while.
    bool LockWithin(std::chrono::milliseconds limit);

private:
    bool Take(int operation); // as flock has it

    std::string m_path;
    Descriptor m_file;
};

} // namespace Base

#endif
