#ifndef ZAVSIM_CLUSTER_CLUSTER_SYSTEM_H
#define ZAVSIM_CLUSTER_CLUSTER_SYSTEM_H

#include "simulator/access/accounts.h"
#include "simulator/access/sessions.h"

#include <map>
#include <string>

namespace ZavSim {

/// Management addresses as the cluster tells them. One that is empty is not told.
struct ManagementIps {
    std::string floating;
    std::string standby;
    std::string active;
};

/// What the cluster tells of itself. Fixed for the life of the process.
struct ClusterShape {
    std::string version = "1.0.0";
    std::string serial = "ZAVSIMCLUSTER001";
    std::string productModel = "ZAVSIM-C";
    ManagementIps ips;
    std::map<std::string, ManagementIps> ipsByAddress; ///< by the address that is asked, in place of `ips`
};

/// One simulated distributed storage cluster: what it tells of itself, and its clients' sessions. Any thread may call.
class ClusterSystem {
public:
    ClusterSystem(ClusterShape shape, Accounts accounts, const SessionLimits& limits, Clock clock);

    const ClusterShape& Shape() const noexcept { return m_shape; }

    /// What a client is told that asks on `address`, a numeric one without brackets.
    const ManagementIps& IpsToldOn(const std::string& address) const;

    /// Throws ClusterRefusal with LoginRefused or SessionLimitReached.
    Session Login(const std::string& user, const std::string& password);

    /// Throws ClusterRefusal with SessionLapsed.
    Session RequireSession(const std::string& token);
    SessionTable& Sessions() noexcept { return m_sessions; }

private:
    const ClusterShape m_shape;
    const Accounts m_accounts;
    SessionTable m_sessions;
};

} // namespace ZavSim

#endif
