#ifndef ZAVSIM_DATAPLANE_DATA_PLANE_H
#define ZAVSIM_DATAPLANE_DATA_PLANE_H

#include "simulator/array/inventory.h"
#include "simulator/dataplane/exports.h"

#include <memory>
#include <set>
#include <string>
#include <vector>

namespace ZavSim {

class LunFiles;

/// Targets through which initiators reach the array's LUNs. One thread at a time. What it made in the target's daemon
/// or kernel goes with it; backing files stay.
class DataPlane {
public:
    DataPlane() = default;
    virtual ~DataPlane() = default;
    DataPlane(const DataPlane&) = delete;
    DataPlane& operator=(const DataPlane&) = delete;

    /// Brings the targets from what they show to what `exports` says; LUNs that stay are not touched. Throws
    /// std::runtime_error naming what could not be done and why; a later call begins from what was reached.
    virtual void Apply(const Exports& exports) = 0;

    /// Whether it has FC targets, so that OnlineFcPorts knows which initiators are there.
    virtual bool HasFcTargets() const { return false; }

    /// The FC port names, 16 lower-case digits, that its targets see on the fabric now.
    virtual std::set<std::string> OnlineFcPorts() const { return {}; }
};

/// Which data plane there is to be.
struct DataPlaneOptions {
    std::string kind = "none"; ///< "none", "tgt", "lio"
    std::string folder;        ///< of the LUNs' contents
    std::vector<std::string> tgtSockets;
    std::vector<std::string> fcTargets; ///< 16 lower-case digits each, once they are checked
    std::string configfs = "/sys/kernel/config";
};

/// "iqn.2020-01.example.zavsim:a:b:c:d:10.0.0.1": the portal's address is the seventh field between colons of a line
/// that begins with "Target: ", where clients of the array look for it.
std::string TargetName(const std::string& address);

/// The data plane that completed options ask for; null for none. The files must outlive it. Throws std::runtime_error.
std::unique_ptr<DataPlane> MakeDataPlane(const DataPlaneOptions& options, const ArrayShape& shape,
                                         const LunFiles& files);

} // namespace ZavSim

#endif
