#include "simulator/dataplane/export_keeper.h"

namespace ZavSim {

ExportKeeper::ExportKeeper(const DataPlaneOptions& options, ArraySystem& array)
{
    if (options.kind == "none") {
        return;
    }
    m_files = std::make_unique<const LunFiles>(options.folder, array.GetInventory());
    m_plane = MakeDataPlane(options, array.GetInventory().Shape(), *m_files);
    array.SetFollower([this](const State& state) { Follow(state); });
    if (m_plane->HasFcTargets()) {
        array.SetFabric([this] { return m_plane->OnlineFcPorts(); });
    }
}

void ExportKeeper::Follow(const State& state)
{
    Exports next = WorkOutExports(state, m_exports);
    if (m_isInStep && next == m_exports) {
        return;
    }
    m_isInStep = false;
    m_plane->Apply(next);
    m_isInStep = true;
    m_exports = std::move(next);
}

} // namespace ZavSim
