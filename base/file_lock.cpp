#include "base/file_lock.h"

#include "base/files.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <thread>

namespace Base {

namespace {

constexpr std::chrono::milliseconds PAUSE{5};

} // namespace

FileLock::FileLock(const std::string& path)
    : m_path(path)
    , m_file(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600))
{
    if (!m_file.IsOpen()) {
        ThrowErrno("cannot open the lock file", path);
    }
}

FileLock::~FileLock()
{
    ::flock(m_file.Get(), LOCK_UN);
}

bool FileLock::Take(int operation)
{
    while (::flock(m_file.Get(), operation) != 0) {
        if (errno == EWOULDBLOCK) {
            return false;
        }
        if (errno != EINTR) {
            ThrowErrno("cannot lock", m_path);
        }
    }
    return true;
}

bool FileLock::TryLock()
{
    return Take(LOCK_EX | LOCK_NB);
}

void FileLock::Lock()
{
    Take(LOCK_EX);
}

bool FileLock::LockWithin(std::chrono::milliseconds limit)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!TryLock()) {
        if (std::chrono::steady_clock::now() >= end) {
            return false;
        }
        std::this_thread::sleep_for(PAUSE);
    }
    return true;
}

} // namespace Base
