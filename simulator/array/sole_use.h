#ifndef ZAVSIM_ARRAY_SOLE_USE_H
#define ZAVSIM_ARRAY_SOLE_USE_H

#include "base/file_lock.h"

#include <stdexcept>
#include <string>

namespace ZavSim {

/// Keeps other simulators from what this one uses, for as long as it stands.
class SoleUse {
public:
    /// `lockFile` lies with `what`, which is told. Throws std::runtime_error when another simulator uses it, or when
    /// the lock cannot be had.
    SoleUse(const std::string& what, const std::string& lockFile)
        : m_lock(lockFile)
    {
        if (!m_lock.TryLock()) {
            throw std::runtime_error("another simulator uses " + what);
        }
    }

private:
    Base::FileLock m_lock;
};

} // namespace ZavSim

#endif
