#ifndef ZAVSIM_ARRAY_STATE_FILE_H
#define ZAVSIM_ARRAY_STATE_FILE_H

#include "simulator/array/state.h"

#include <string>

namespace ZavSim {

/// Where the state outlives the process. Every save replaces the file as a whole, so that a crash leaves the old state
/// or the new one, never a part.
///
/// One thread at a time; two processes must not share the file.
class StateFile {
public:
    StateFile(std::string path, std::string serial)
        : m_path(std::move(path))
        , m_serial(std::move(serial))
    {
    }

    /// The saved state, or a fresh one when there is no file. Throws std::runtime_error naming the file and what is
    /// wrong in it; the file is then left as it was.
    State Load(std::uint64_t lunCount) const;

    /// Throws std::runtime_error naming the file and why; the old file then still stands.
    void Save(const State& state) const;

private:
    std::string m_path;
    std::string m_serial;
};

} // namespace ZavSim

#endif
