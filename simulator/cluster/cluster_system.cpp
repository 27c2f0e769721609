#include "simulator/cluster/cluster_system.h"

#include "simulator/cluster/cluster_codes.h"

namespace ZavSim {

ClusterSystem::ClusterSystem(ClusterShape shape, Accounts accounts, const SessionLimits& limits, Clock clock)
    : m_shape(std::move(shape))
    , m_accounts(std::move(accounts))
    , m_sessions(limits, std::move(clock))
{
}

const ManagementIps& ClusterSystem::IpsToldOn(const std::string& address) const
{
    const auto found = m_shape.ipsByAddress.find(address);
    return found == m_shape.ipsByAddress.end() ? m_shape.ips : found->second;
}

Session ClusterSystem::Login(const std::string& user, const std::string& password)
{
    if (!m_accounts.Accepts(user, password)) {
        throw ClusterRefusal(ClusterCode::LoginRefused, "user \"" + user + "\"");
    }
    const auto session = m_sessions.Open(user);
    if (!session) {
        throw ClusterRefusal(ClusterCode::SessionLimitReached, std::to_string(m_sessions.Limit()) + " stand");
    }
    return *session;
}

Session ClusterSystem::RequireSession(const std::string& token)
{
    const auto session = m_sessions.Use(token);
    if (!session) {
        throw ClusterRefusal(ClusterCode::SessionLapsed,
                             token.empty() ? "the request has no token" : "the token is of none that stands");
    }
    return *session;
}

} // namespace ZavSim
