#ifndef PRODUCT_STORAGE_CLI_NODE_ISCSI_SESSIONS_H
#define PRODUCT_STORAGE_CLI_NODE_ISCSI_SESSIONS_H

#include <string>
#include <vector>

/// A session of this node's iSCSI initiator, as iscsiadm names it.
struct IscsiSession {
    /// What one is called in journal and plan.
    static constexpr const char* KIND = "iSCSI session";

    int number = 0; ///< the kernel's
    std::string target;
    std::string portal; ///< "10.0.0.5:3260", "[fd00::5]:3260"

    /// "iSCSI session with TARGET at PORTAL".
    std::string Naming() const;

    /// Whether its portal is at a service address, which bears no port.
    bool IsAt(const std::string& address) const;

    /// The same of several.
    bool IsWithOneOf(const std::vector<std::string>& addresses) const;
};

namespace IscsiSessions {

/// Of the service addresses, which bear none.
inline constexpr unsigned int PORT = 3260;

/// Those that stand; none where iscsiadm says so, or is not installed. Throws Failure with its words where it tells
/// nothing: what is not known is not taken for gone.
std::vector<IscsiSession> Standing();

/// What the kernel says of it: "LOGGED_IN", "FAILED"; empty where it does not say.
std::string StateOf(const IscsiSession& session);

/// Whether a session in that state carries what is sent by it; one of which the kernel does not say is taken for it.
bool IsUp(const std::string& state);

/// Why each of the session's disks may not be taken away: "disk sdb is mounted at /mnt", "… is open in process 71
/// (dd)", "… is held by dm-0". Processes of other users are seen by root alone.
std::vector<std::string> UsesOf(const IscsiSession& session);

/// Logs out and deletes the node record. Throws Failure with iscsiadm's words when it refuses either.
void End(const IscsiSession& session);

} // namespace IscsiSessions

#endif
