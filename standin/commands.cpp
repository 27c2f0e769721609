#include "standin/commands.h"

#include "standin/exit_codes.h"
#include "standin/initiator_name.h"
#include "standin/iscsi_link.h"
#include "standin/session_keeper.h"

#include <algorithm>
#include <cstring>
#include <iostream>
#include <thread>

namespace ZavSimNode {

namespace {

// As often as the real tool tries, but with shorter waits, so that nobody sits a minute and a half before a dead
// address.
constexpr int CONNECT_TRIES = 6;
constexpr std::chrono::milliseconds CONNECT_LIMIT{1000};
constexpr std::chrono::milliseconds PAUSE{100};
constexpr std::chrono::milliseconds LOGOUT_PATIENCE{8000};

/// Whether the portal accepts a connection; every failed try is told as iscsiadm tells it.
bool Reach(const Portal& portal)
{
    for (int i = 0; i < CONNECT_TRIES; ++i) {
        const int error = TryConnect(portal, CONNECT_LIMIT);
        if (error == 0) {
            return true;
        }
        if (error == ETIMEDOUT) {
            std::cerr << "iscsiadm: connect to " << portal.host << " timed out\n";
        } else {
            std::cerr << "iscsiadm: cannot make connection to " << portal.host << ": " << std::strerror(error) << "\n";
        }
        std::this_thread::sleep_for(PAUSE);
    }
    return false;
}

std::string Describe(const NodeRecord& node)
{
    return "target: " + node.target + ", portal: " + node.portal.ForLines();
}

const char* Explain(LoginResult result)
{
    switch (result) {
    case LoginResult::Success:
        return "Success";
    case LoginResult::TimedOut:
        return "connection timed out";
    case LoginResult::Fatal:
        return "encountered non-retryable iSCSI login failure";
    case LoginResult::Unauthorized:
        return "iSCSI login failed due to authorization failure";
    }
    return "";
}

/// Ends a session that was not recorded, as far as it can be.
void EndUnknown(const SessionRecord& session)
{
    try {
        EndProcess(session.keeper, LOGOUT_PATIENCE);
    } catch (const std::exception&) {
        // Why it was not recorded counts.
    }
}

/// One login with its lines; 0 or iscsiadm's code.
int LoginTo(const NodeStore& store, const std::string& initiator, const NodeRecord& node)
{
    SessionRecord session;
    const LoginResult result = StartSession(initiator, node, session);
    if (result == LoginResult::Success) {
        try {
            store.AddSession(session);
        } catch (const std::exception&) {
            EndUnknown(session); // which nobody could ever end
            throw;
        }
        std::cout << "Login to [iface: default, " << Describe(node) << "] successful." << std::endl;
        return 0;
    }
    const int code = static_cast<int>(result);
    std::cerr << "iscsiadm: Could not login to [iface: default, " << Describe(node) << "].\n"
              << "iscsiadm: initiator reported error (" << code << " - " << Explain(result) << ")\n";
    return code;
}

void PrintSession(const SessionRecord& session)
{
    const std::string portal = session.node.portal.ForUrl() + "," + std::to_string(session.node.group);
    const std::string rule(10, '*');
    std::cout << "\tCurrent Portal: " << portal << "\n"
              << "\tPersistent Portal: " << portal << "\n"
              << "\t\t" << rule << "\n\t\tInterface:\n\t\t" << rule << "\n"
              << "\t\tIface Name: default\n"
              << "\t\tIface Transport: tcp\n"
              << "\t\tIface Initiatorname: " << session.initiator << "\n"
              << "\t\tIface IPaddress: [default]\n"
              << "\t\tIface HWaddress: default\n"
              << "\t\tIface Netdev: default\n"
              << "\t\tSID: " << session.number << "\n"
              << "\t\tiSCSI Connection State: LOGGED IN\n"
              << "\t\tiSCSI Session State: LOGGED_IN\n"
              << "\t\tInternal iscsid Session State: NO CHANGE\n";
}

int LogoutOf(const NodeStore& store, const std::vector<SessionRecord>& sessions)
{
    if (sessions.empty()) {
        std::cerr << "iscsiadm: No matching sessions found\n";
        return EXIT_NOTHING_FOUND;
    }
    const auto describe = [](const SessionRecord& session) {
        return "[sid: " + std::to_string(session.number) + ", " + Describe(session.node) + "]";
    };
    for (const SessionRecord& session : sessions) {
        std::cout << "Logging out of session " << describe(session) << std::endl;
    }
    int code = 0;
    for (const SessionRecord& session : sessions) {
        if (EndProcess(session.keeper, LOGOUT_PATIENCE)) {
            store.RemoveSession(session.number);
            std::cout << "Logout of " << describe(session) << " successful." << std::endl;
        } else {
            std::cerr << "iscsiadm: Could not logout of " << describe(session) << ".\n";
            code = EXIT_LOGOUT;
        }
    }
    return code;
}

} // namespace

int Discover(const NodeStore& store, const Portal& portal)
{
    const std::string initiator = ReadInitiatorName();
    const bool reached = Reach(portal);
    const auto nodes = reached ? IscsiLink(initiator).Discover(portal) : std::nullopt;
    if (!nodes) {
        std::cerr << (reached ? "" : "iscsiadm: connection login retries (reopen_max) 5 exceeded\n")
                  << "iscsiadm: Could not perform SendTargets discovery: iSCSI PDU timed out\n";
        return EXIT_PDU_TIMEOUT;
    }
    if (nodes->empty()) {
        std::cerr << "iscsiadm: No portals found\n";
        return EXIT_NOTHING_FOUND;
    }
    const NodeStore::Lock lock(store);
    store.AddNodes(*nodes);
    for (const NodeRecord& node : *nodes) {
        std::cout << node.portal.ForUrl() << "," << node.group << " " << node.target << "\n";
    }
    return 0;
}

int Login(const NodeStore& store, const Portal& portal)
{
    const std::string initiator = ReadInitiatorName();
    const NodeStore::Lock lock(
        store); // held over the logins, so that of two at once the second finds the first's session
    std::vector<NodeRecord> nodes = store.LoadNodes();
    nodes.erase(
        std::remove_if(nodes.begin(), nodes.end(), [&](const NodeRecord& node) { return !(node.portal == portal); }),
        nodes.end());
    if (nodes.empty()) {
        std::cerr << "iscsiadm: No records found\n";
        return EXIT_NOTHING_FOUND;
    }
    const std::vector<SessionRecord> sessions = store.LoadSessions();
    const auto absent = std::partition(nodes.begin(), nodes.end(), [&](const NodeRecord& node) {
        return std::any_of(sessions.begin(), sessions.end(),
                           [&node](const SessionRecord& session) { return session.node == node; });
    });
    int firstCode = 0;
    for (auto node = nodes.begin(); node != absent; ++node) {
        std::cerr << "iscsiadm: default: 1 session requested, but 1 already present.\n";
        firstCode = EXIT_SESSION_EXISTS;
    }
    for (auto node = absent; node != nodes.end(); ++node) {
        std::cout << "Logging in to [iface: default, " << Describe(*node) << "]" << std::endl;
    }
    for (auto node = absent; node != nodes.end(); ++node) {
        const int code = LoginTo(store, initiator, *node);
        firstCode = firstCode == 0 ? code : firstCode;
    }
    if (firstCode != 0) {
        std::cerr << "iscsiadm: Could not log into all portals\n";
    }
    return firstCode;
}

int ListSessionsBriefly(const NodeStore& store)
{
    const NodeStore::Lock lock(store);
    const std::vector<SessionRecord> sessions = store.LoadSessions();
    if (sessions.empty()) {
        std::cerr << "iscsiadm: No active sessions.\n";
        return EXIT_NOTHING_FOUND;
    }
    for (const SessionRecord& session : sessions) {
        std::cout << "tcp: [" << session.number << "] " << session.node.portal.ForUrl() << "," << session.node.group
                  << " " << session.node.target << " (non-flash)\n";
    }
    return 0;
}

int ListSessions(const NodeStore& store)
{
    const NodeStore::Lock lock(store);
    std::vector<SessionRecord> sessions = store.LoadSessions();
    if (sessions.empty()) {
        std::cerr << "iscsiadm: No active sessions.\n";
        return EXIT_NOTHING_FOUND;
    }
    // The target's line stands once above all of its sessions.
    while (!sessions.empty()) {
        const std::string target = sessions.front().node.target;
        const auto others = std::stable_partition(
            sessions.begin(), sessions.end(), [&](const SessionRecord& each) { return each.node.target == target; });
        std::cout << "Target: " << target << " (non-flash)\n";
        std::for_each(sessions.begin(), others, &PrintSession);
        sessions.erase(sessions.begin(), others);
    }
    return 0;
}

int LogoutAll(const NodeStore& store)
{
    const NodeStore::Lock lock(store);
    return LogoutOf(store, store.LoadSessions());
}

int LogoutOne(const NodeStore& store, const std::string& target, const Portal& portal)
{
    const NodeStore::Lock lock(store);
    std::vector<SessionRecord> sessions = store.LoadSessions();
    const NodeRecord node = {target, portal};
    sessions.erase(std::remove_if(sessions.begin(), sessions.end(),
                                  [&node](const SessionRecord& session) { return !(session.node == node); }),
                   sessions.end());
    return LogoutOf(store, sessions);
}

int DeleteNode(const NodeStore& store, const std::string& target, const Portal& portal)
{
    const NodeStore::Lock lock(store);
    if (!store.RemoveNode({target, portal})) {
        std::cerr << "iscsiadm: No records found\n";
        return EXIT_NOTHING_FOUND;
    }
    return 0;
}

} // namespace ZavSimNode
