#include "framework/support/change_lock.h"

#include <chrono>
#include <stdexcept>

namespace Framework {

namespace {

constexpr std::chrono::seconds LONGEST_WAIT{10};

} // namespace

ChangeLock::ChangeLock(const std::string& path)
    : m_lock(path + ".lock")
{
    if (!m_lock.LockWithin(LONGEST_WAIT)) {
        throw std::runtime_error("cannot lock " + path + ".lock: another process holds it");
    }
}

} // namespace Framework
