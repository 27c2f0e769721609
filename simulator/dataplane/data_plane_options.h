#ifndef ZAVSIM_DATAPLANE_DATA_PLANE_OPTIONS_H
#define ZAVSIM_DATAPLANE_DATA_PLANE_OPTIONS_H

#include "simulator/array/inventory.h"
#include "simulator/dataplane/data_plane.h"

#include <memory>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace ZavSim {

class LunFiles;

/// What the command line says about the data plane.
struct DataPlaneOptions {
    std::string kind = "none"; ///< "none", "tgt", "lio"
    std::string folder;        ///< of the LUNs' contents
    std::vector<std::string> tgtSockets;
    std::vector<std::string> fcTargets; ///< 16 lower-case digits each, once they are checked
    std::string configfs = "/sys/kernel/config";
};

void DeclareDataPlane(CLI::App& app, DataPlaneOptions& options);

/// Checks the options against each other and against the service addresses, and puts them into their final form.
/// Throws std::invalid_argument naming the option.
void CompleteDataPlane(DataPlaneOptions& options, const ArrayShape& shape);

/// The data plane that completed options ask for; null for none. The files must outlive it. Throws std::runtime_error.
std::unique_ptr<DataPlane> MakeDataPlane(const DataPlaneOptions& options, const ArrayShape& shape,
                                         const LunFiles& files);

} // namespace ZavSim

#endif
