#include "tests/unit/device/device_system_calls.h"

#include "common/framework/product_messages.pb.h"

#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <new>
#include <string_view>
#include <utility>

namespace {

std::atomic<DeviceSystemCalls::ProgramPath*> programPath = nullptr;
std::atomic<DeviceSystemCalls::LockWatch*> lockWatch = nullptr;
std::atomic<bool> isMapInfoFailing = false;
thread_local bool isNextLockRefused = false;

} // namespace

// The linker sends our own objects' calls of X to __wrap_X, and calls of __real_X to X itself.
extern "C" {

ssize_t __real_readlink(const char* path, char* buffer, size_t size);
int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __real_pthread_mutex_unlock(pthread_mutex_t* mutex);
void __real__ZN10ZavMapInfo5ClearEv(ZavMapInfo* info);

ssize_t __wrap_readlink(const char* path, char* buffer, size_t size)
{
    DeviceSystemCalls::ProgramPath* const bent = programPath;
    const bool isProgram = std::string_view(path) == "/proc/self/exe";
    return bent != nullptr && isProgram ? bent->Read(buffer, size) : __real_readlink(path, buffer, size);
}

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex)
{
    if (std::exchange(isNextLockRefused, false)) {
        return EINVAL;
    }
    DeviceSystemCalls::LockWatch* const watch = lockWatch;
    if (watch == nullptr || !watch->Covers(mutex)) {
        return __real_pthread_mutex_lock(mutex);
    }
    return watch->Lock([](void* watched) { return __real_pthread_mutex_lock(static_cast<pthread_mutex_t*>(watched)); },
                       mutex);
}

int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex)
{
    DeviceSystemCalls::LockWatch* const watch = lockWatch;
    if (watch != nullptr && watch->Covers(mutex)) {
        watch->CountUnlock();
    }
    return __real_pthread_mutex_unlock(mutex);
}

// ZavMapInfo::Clear().
void __wrap__ZN10ZavMapInfo5ClearEv(ZavMapInfo* info)
{
    if (isMapInfoFailing) {
        throw std::bad_alloc();
    }
    __real__ZN10ZavMapInfo5ClearEv(info);
}

} // extern "C"

namespace DeviceSystemCalls {

ProgramPath::ProgramPath(std::optional<std::string> path)
    : m_path(std::move(path))
{
    programPath = this;
}

ProgramPath::~ProgramPath()
{
    programPath = nullptr;
}

std::ptrdiff_t ProgramPath::Read(char* buffer, std::size_t size)
{
    m_askedBytes = size;
    if (!m_path) {
        errno = ENOENT;
        return -1;
    }
    return static_cast<std::ptrdiff_t>(m_path->copy(buffer, size));
}

LockWatch::LockWatch(const char* begin, std::size_t size)
    : m_begin(begin)
    , m_end(begin + size)
{
    lockWatch = this;
}

LockWatch::~LockWatch()
{
    lockWatch = nullptr;
}

bool LockWatch::Covers(const void* mutex) const
{
    const std::less<> isBefore;
    return !isBefore(mutex, static_cast<const void*>(m_begin)) && isBefore(mutex, static_cast<const void*>(m_end));
}

int LockWatch::Lock(int (*lock)(void*), void* mutex)
{
    if (m_isRefusing) {
        return EINVAL;
    }
    const int result = lock(mutex);
    if (result == 0) {
        ++m_locks;
    }
    return result;
}

void RefuseNextLock()
{
    isNextLockRefused = true;
}

FailingMapInfo::FailingMapInfo()
{
    isMapInfoFailing = true;
}

FailingMapInfo::~FailingMapInfo()
{
    isMapInfoFailing = false;
}

} // namespace DeviceSystemCalls
