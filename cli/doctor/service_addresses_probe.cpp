#include "base/host_port.h"
#include "cli/console/failure.h"
#include "cli/console/remedies.h"
#include "cli/doctor/probes.h"
#include "cli/node/iscsi_sessions.h"
#include "common/framework/http_client.h"

#include <algorithm>
#include <future>
#include <vector>

namespace Doctor {

namespace {

constexpr int SECONDS_TO_CONNECT = 3;

/// A service address from this node.
struct Portal {
    std::string address;
    bool takesConnections;
    bool hasSession;
    std::string lost; ///< the kernel's word for a session there that is not logged in; empty: none
};

Portal PortalOf(const std::string& address, bool takesConnections, const std::vector<IscsiSession>& sessions)
{
    Portal portal = {address, takesConnections, false, ""};
    for (const IscsiSession& session : sessions) {
        if (session.IsAt(address)) {
            const std::string state = IscsiSessions::StateOf(session);
            portal.hasSession = true;
            portal.lost = IscsiSessions::IsUp(state) ? portal.lost : state;
        }
    }
    return portal;
}

// Side by side, so that several that say nothing cost no more than one.
std::vector<Portal> LookAtAll(const std::vector<std::string>& addresses)
{
    const boost::shared_ptr<QEN::IHttpClient> client = QEN::IHttpClient::CreateClient();
    std::vector<std::future<bool>> connections;
    for (const std::string& address : addresses) {
        const std::string url = "http://" + Base::HostAndPort(address, IscsiSessions::PORT); // nothing is sent
        connections.push_back(std::async(std::launch::async, [client, url] {
            return client != nullptr && client->TestConnection(url, SECONDS_TO_CONNECT);
        }));
    }
    const std::vector<IscsiSession> sessions = IscsiSessions::Standing();
    std::vector<Portal> portals;
    for (std::size_t i = 0; i < addresses.size(); ++i) {
        portals.push_back(PortalOf(addresses[i], connections[i].get(), sessions));
    }
    return portals;
}

Finding DeadPortal(const Portal& portal, Severity severity)
{
    return {severity,
            "service address " + Base::HostAndPort(portal.address, IscsiSessions::PORT) + " takes no connection; " +
                (portal.hasSession ? "a session that stands there is lost with the next failure"
                                   : "no session stands with it"),
            "check the way there from this node, and that the array's iSCSI service runs; ip route get " +
                Base::BareHost(portal.address) + " tells by which port it goes",
            "", ExitCode::Unreachable};
}

Finding LostSession(const Portal& portal)
{
    return {
        Severity::Warning,
        "service address " + Base::HostAndPort(portal.address, IscsiSessions::PORT) +
            " takes connections, and the kernel has the session with it as " + portal.lost,
        "iscsid logs in again within seconds; where it stays so, see by journalctl -u iscsid what the array's target "
        "says to that",
        "", ExitCode::Drift};
}

Findings FindingsOf(const std::vector<Portal>& portals)
{
    const bool isAnyReached =
        std::any_of(portals.begin(), portals.end(), [](const Portal& portal) { return portal.takesConnections; });
    Findings findings;
    for (const Portal& portal : portals) {
        if (!portal.takesConnections) {
            findings.push_back(DeadPortal(portal, isAnyReached ? Severity::Warning : SeverityOfIscsi()));
        } else if (!portal.lost.empty()) {
            findings.push_back(LostSession(portal));
        }
    }
    return findings;
}

} // namespace

Findings LookAtServiceAddresses(const Patient& patient, const std::string& /*part*/)
{
    const auto login = patient.logins.Await();
    if (login == nullptr) {
        return {};
    }
    try {
        return FindingsOf(LookAtAll(login->Device().storageIps));
    } catch (const Failure& failure) { // iscsiadm does not tell
        return {{SeverityOfIscsi(), failure.what(), RemedyFor(failure.what(), failure.Code()), "", failure.Code()}};
    }
}

} // namespace Doctor
