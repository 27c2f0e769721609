#include "simulator/array/state_file.h"

#include "base/files.h"
#include "simulator/array/state_json.h"
#include "simulator/json/json_io.h"

#include <stdexcept>

namespace ZavSim {

State StateFile::Load(std::uint64_t lunCount) const
{
    const auto text = Base::ReadFileIfThere(m_path);
    if (!text) {
        return State(lunCount);
    }
    std::string problem;
    const auto root = ParseJson(*text, problem);
    if (!root) {
        throw std::runtime_error("the state file " + m_path + " is not JSON: " + problem);
    }
    try {
        return StateFromJson(*root, m_serial, lunCount);
    } catch (const std::exception& error) {
        throw std::runtime_error("the state file " + m_path + " is not usable: " + error.what());
    }
}

void StateFile::Save(const State& state) const
{
    Base::SaveFile(m_path, WriteJsonIndented(StateToJson(state, m_serial)), 0600);
}

} // namespace ZavSim
