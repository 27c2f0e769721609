#ifndef ZAVSIM_DATAPLANE_LIO_PLANE_H
#define ZAVSIM_DATAPLANE_LIO_PLANE_H

#include "simulator/dataplane/data_plane.h"
#include "simulator/dataplane/lio_target.h"
#include "simulator/dataplane/lun_files.h"

#include <vector>

namespace ZavSim {

struct LioOptions {
    std::string configfs;                      ///< where the kernel's configuration file system is mounted
    std::string serial;                        ///< tells this array's backing stores from others'
    std::vector<std::string> serviceAddresses; ///< an iSCSI target each, on port 3260
    std::vector<std::string> fcTargets;        ///< own FC port names that are to be targets, 16 lower-case digits
};

/// The kernel's own targets: one at each service address and one for each FC target port, with an access entry and
/// LUN links for each initiator. Needs root and the modules target_core_mod, target_core_file, iscsi_target_mod, and
/// tcm_fc for FC.
class LioPlane final : public DataPlane {
public:
    /// Removes what an earlier simulator left of its targets and opens them afresh. Throws std::runtime_error.
    LioPlane(const LioOptions& options, const LunFiles& files);
    LioPlane(const LioPlane&) = delete;
    LioPlane& operator=(const LioPlane&) = delete;
    ~LioPlane() override;

    void Apply(const Exports& exports) override;
    bool HasFcTargets() const override { return !m_fcTargets.empty(); }
    std::set<std::string> OnlineFcPorts() const override;

private:
    std::string StoreFolder(std::uint64_t lun) const;

    /// Makes the backing store of a LUN when it is missing and returns its folder.
    std::string OpenStore(std::uint64_t lun) const;
    void ShrinkStores(const Exports& exports) const;

    /// Takes all apart that can be: what stays keeps nothing else from going. Throws the first failure.
    void Close() const;

    std::string m_stores;      ///< folder of the backing stores
    std::string m_storePrefix; ///< of this array's
    std::vector<LioTarget> m_targets;
    std::vector<std::string> m_fcTargets;
    const LunFiles& m_files;
};

} // namespace ZavSim

#endif
