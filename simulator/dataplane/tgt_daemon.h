#ifndef ZAVSIM_DATAPLANE_TGT_DAEMON_H
#define ZAVSIM_DATAPLANE_TGT_DAEMON_H

#include "simulator/dataplane/exports.h"
#include "simulator/dataplane/lun_files.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace ZavSim {

/// A running tgtd, steered by tgtadm over its control socket. Every operation throws std::runtime_error with what
/// tgtadm said, and where.
class TgtDaemon {
public:
    /// `socket` is the path of the control socket, "/run/tgtd/socket.0": tgtadm's TGT_IPC_SOCKET, a point, and its
    /// control port. Throws std::invalid_argument when it does not have that form.
    explicit TgtDaemon(const std::string& socket);

    struct ListedTarget {
        std::string name;
        std::set<LunNumber> luns; ///< 0, the target's own, among them
    };

    /// The targets that are there, by their numbers.
    std::map<int, ListedTarget> ListTargets() const;

    /// A target that nobody sees yet.
    void AddTarget(int target, const std::string& name) const;

    /// Lets an initiator see the target.
    void Bind(int target, const std::string& initiator) const;

    /// Cuts its sessions.
    void RemoveTarget(int target) const;
    void AddLun(int target, LunNumber number, const BackedLun& lun) const;
    void RemoveLun(int target, LunNumber number) const;

private:
    std::string Administer(const std::vector<std::string>& words) const;

    std::string m_socket;
    std::string m_setting;
    std::string m_port;
};

} // namespace ZavSim

#endif
