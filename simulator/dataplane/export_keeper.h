#ifndef ZAVSIM_DATAPLANE_EXPORT_KEEPER_H
#define ZAVSIM_DATAPLANE_EXPORT_KEEPER_H

#include "simulator/array/array_system.h"
#include "simulator/dataplane/data_plane.h"
#include "simulator/dataplane/lun_files.h"

#include <memory>

namespace ZavSim {

/// Keeps the data plane in step with the array's objects.
///
/// A change is answered when the targets show it; one that they cannot be brought to is refused and not made. Without a
/// data plane nothing happens. The array must outlive it, and must not change any more when it goes.
class ExportKeeper {
public:
    /// Brings the targets to the array's objects as they are. Throws std::runtime_error.
    ExportKeeper(const DataPlaneOptions& options, ArraySystem& array);

private:
    void Follow(const State& state);

    std::unique_ptr<const LunFiles> m_files;
    std::unique_ptr<DataPlane> m_plane; ///< null for none
    // Under the array's lock of objects:
    Exports m_exports;       ///< what the targets were last brought to
    bool m_isInStep = false; ///< false while they may show something else, after a change that failed
};

} // namespace ZavSim

#endif
