#ifndef ZAVSIM_DATAPLANE_TGT_PLANE_H
#define ZAVSIM_DATAPLANE_TGT_PLANE_H

#include "simulator/dataplane/data_plane.h"
#include "simulator/dataplane/tgt_daemon.h"

#include <set>
#include <vector>

namespace ZavSim {

/// A service address and the control socket of the tgtd that serves it. One tgtd for each, because a tgtd offers all of
/// its targets on all of its addresses.
struct TgtPortal {
    std::string address;
    std::string socket;
};

/// iSCSI targets of user-space daemons. A tgtd's list of LUNs and of initiators is one for a target, so each initiator
/// has a target of its own at each portal: TargetName(address), a colon, and a number made from the initiator's name.
class TgtPlane final : public DataPlane {
public:
    /// Removes what an earlier simulator left there. Throws std::runtime_error when a daemon does not answer.
    TgtPlane(const std::vector<TgtPortal>& portals, const LunFiles& files);
    TgtPlane(const TgtPlane&) = delete;
    TgtPlane& operator=(const TgtPlane&) = delete;
    ~TgtPlane() override;

    void Apply(const Exports& exports) override;

private:
    struct Target {
        int number = 0; ///< tgtd's
        LunTable luns;
        std::set<LunNumber> unsure; ///< that were to be added or removed, which failed
    };
    struct Portal {
        std::string address;
        TgtDaemon daemon;
        std::map<Initiator, Target> targets; ///< what is there, as it was told to the daemon
        int lastNumber = 0;
        bool isUnsure = false; ///< a change failed: the daemon may have made it all the same, in whole or in part
    };

    /// Each as far as it goes: what cannot be removed keeps no other from it. Throw the first failure.
    void RemoveAllOurs();
    static void RemoveOurs(Portal& portal);

    static void AddAnchor(Portal& portal);

    /// Brings what we know of a portal and what its daemon has together again.
    static void LookAgain(Portal& portal);
    static void RemoveUnsureLuns(const Portal& portal, Target& target, const std::set<LunNumber>& there);
    static void RemoveTargets(Portal& portal, const Exports& wanted);
    Target& OpenTarget(Portal& portal, const Initiator& initiator) const;
    void ApplyLuns(const Portal& portal, Target& target, const LunTable& wanted) const;

    std::vector<Portal> m_portals;
    const LunFiles& m_files;
};

} // namespace ZavSim

#endif
