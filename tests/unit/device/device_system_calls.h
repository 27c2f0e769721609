#ifndef PRODUCT_STORAGE_TESTS_UNIT_DEVICE_DEVICE_SYSTEM_CALLS_H
#define PRODUCT_STORAGE_TESTS_UNIT_DEVICE_DEVICE_SYSTEM_CALLS_H

#include <atomic>
#include <cstddef>
#include <optional>
#include <string>

/// What the device code asks of the system, bent for one test at a time. The unit tests are linked so that such calls
/// of their own objects, the library's code among them, arrive here first; shared libraries keep the real ones. Each
/// class acts while an object of it lives, and there is at most one of each.
namespace DeviceSystemCalls {

/// The running program seems to lie at `path`; without one its path cannot be read.
class ProgramPath {
public:
    explicit ProgramPath(std::optional<std::string> path);
    ProgramPath(const ProgramPath&) = delete;
    ProgramPath& operator=(const ProgramPath&) = delete;
    ~ProgramPath();

    /// How many bytes the last reader had room for.
    std::size_t AskedBytes() const { return m_askedBytes; }

    std::ptrdiff_t Read(char* buffer, std::size_t size);

private:
    const std::optional<std::string> m_path;
    std::size_t m_askedBytes = 0;
};

/// Watches the mutex that `object` is or holds.
class LockWatch {
public:
    template <typename Object>
    explicit LockWatch(const Object& object)
        : LockWatch(reinterpret_cast<const char*>(&object), sizeof(object))
    {
    }
    LockWatch(const LockWatch&) = delete;
    LockWatch& operator=(const LockWatch&) = delete;
    ~LockWatch();

    /// From now on locking fails.
    void Refuse() { m_isRefusing = true; }

    bool IsHeld() const { return m_locks != m_unlocks; }
    int Locks() const { return m_locks; }

    bool Covers(const void* mutex) const;
    int Lock(int (*lock)(void*), void* mutex);
    void CountUnlock() { ++m_unlocks; }

private:
    LockWatch(const char* begin, std::size_t size);

    const char* const m_begin;
    const char* const m_end;
    std::atomic<bool> m_isRefusing = false;
    std::atomic<int> m_locks = 0;
    std::atomic<int> m_unlocks = 0;
};

/// The calling thread's next attempt to lock a mutex, of whomever, fails.
void RefuseNextLock();

/// A ZavMapInfo cannot be cleared: std::bad_alloc.
class FailingMapInfo {
public:
    FailingMapInfo();
    FailingMapInfo(const FailingMapInfo&) = delete;
    FailingMapInfo& operator=(const FailingMapInfo&) = delete;
    ~FailingMapInfo();
};

} // namespace DeviceSystemCalls

#endif
