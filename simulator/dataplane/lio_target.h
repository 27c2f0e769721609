#ifndef ZAVSIM_DATAPLANE_LIO_TARGET_H
#define ZAVSIM_DATAPLANE_LIO_TARGET_H

#include "simulator/dataplane/exports.h"

#include <set>
#include <string>

namespace ZavSim {

/// One target of the kernel, through its folder in the configuration file system: an iSCSI target at one portal, or an
/// FC target port. Initiators that it has no access entry for are turned away. What is there is read from the kernel
/// each time, so that what somebody else left or took away is seen. Throws std::runtime_error as ConfigTree does.
class LioTarget {
public:
    /// `folder` is the target's: ".../target/iscsi/iqn…", ".../target/fc/20:00:…". `portal` is "10.0.0.1:3260" for
    /// iSCSI, empty for FC.
    LioTarget(Kind initiators, std::string folder, std::string portal);

    /// Makes the target; it serves nobody yet.
    void Open() const;

    /// Takes away what `exports` does not have, and then the LUNs that no initiator sees.
    void Shrink(const Exports& exports) const;

    /// Adds what `exports` has. `storeOf` gives the folder of the backing store of an array's LUN.
    template <typename StoreOf>
    void Grow(const Exports& exports, StoreOf storeOf) const
    {
        for (const auto& [initiator, luns] : exports) {
            if (initiator.kind != m_initiators) {
                continue;
            }
            AddInitiator(initiator);
            for (const auto& [number, lun] : luns) {
                AddLun(lun, storeOf(lun));
                MapLun(initiator, number, lun);
            }
        }
    }

    /// Takes all apart, sessions included.
    void Close() const;

private:
    std::string GroupFolder() const { return m_folder + "/tpgt_1"; }
    std::string AccessFolder(const std::string& name) const { return GroupFolder() + "/acls/" + name; }
    std::string LunFolder(std::uint64_t lun) const { return GroupFolder() + "/lun/lun_" + std::to_string(lun); }

    /// The initiator as the kernel names it: an FC port name with colons between its bytes.
    static std::string NameOf(const Initiator& initiator);

    void AddInitiator(const Initiator& initiator) const;
    void AddLun(std::uint64_t lun, const std::string& store) const;
    void MapLun(const Initiator& initiator, LunNumber number, std::uint64_t lun) const;

    /// Removes the numbers of an access entry under which `wanted` has not the same LUN.
    void ShrinkAccess(const std::string& access, const LunTable& wanted) const;
    void ShrinkLuns(const std::set<std::uint64_t>& wanted) const;

    Kind m_initiators;
    std::string m_folder;
    std::string m_portal;
};

} // namespace ZavSim

#endif
