#include "simulator/dataplane/data_plane.h"

#include "simulator/dataplane/lio_plane.h"
#include "simulator/dataplane/tgt_plane.h"

namespace ZavSim {

std::string TargetName(const std::string& address)
{
    return "iqn.2020-01.example.zavsim:a:b:c:d:" + address;
}

std::unique_ptr<DataPlane> MakeDataPlane(const DataPlaneOptions& options, const ArrayShape& shape,
                                         const LunFiles& files)
{
    if (options.kind == "lio") {
        return std::make_unique<LioPlane>(
            LioOptions{options.configfs, shape.serial, shape.serviceAddresses, options.fcTargets}, files);
    }
    if (options.kind == "tgt") {
        std::vector<TgtPortal> portals;
        for (std::size_t i = 0; i < shape.serviceAddresses.size(); ++i) {
            portals.push_back({shape.serviceAddresses[i], options.tgtSockets[i]});
        }
        return std::make_unique<TgtPlane>(portals, files);
    }
    return nullptr;
}

} // namespace ZavSim
