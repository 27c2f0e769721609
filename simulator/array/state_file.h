#ifndef ZAVSIM_ARRAY_STATE_FILE_H
#define ZAVSIM_ARRAY_STATE_FILE_H

#include "simulator/array/sole_use.h"
#include "simulator/array/state.h"

#include <string>

namespace ZavSim {

/// Where the state outlives the process. Every save replaces the file as a whole, so that a crash leaves the old state
/// or the new one, never a part.
///
/// One thread at a time. A lock beside the file, its name with ".lock" behind it, keeps other simulators from it.
class StateFile {
public:
    /// Throws std::runtime_error when another simulator uses the file, or none can lie there.
    StateFile(std::string path, std::string serial)
        : m_use("the state file " + path, path + ".lock")
        , m_path(std::move(path))
        , m_serial(std::move(serial))
    {
    }

    /// The saved state, or a fresh one when there is no file. Throws std::runtime_error naming the file and what is
    /// wrong in it; the file is then left as it was.
    State Load(std::uint64_t lunCount) const;

    /// Throws std::runtime_error naming the file and why; the old file then still stands.
    void Save(const State& state) const;

private:
    SoleUse m_use;
    std::string m_path;
    std::string m_serial;
};

} // namespace ZavSim

#endif
