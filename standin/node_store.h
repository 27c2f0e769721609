#ifndef ZAVSIM_STANDIN_NODE_STORE_H
#define ZAVSIM_STANDIN_NODE_STORE_H

#include "base/file_lock.h"
#include "standin/portal.h"
#include "standin/process_identity.h"

#include <string>
#include <vector>

namespace ZavSimNode {

/// A target at a portal, as discovery found it.
struct NodeRecord {
    std::string target;
    Portal portal;
    int group = 1; ///< target portal group tag

    bool operator==(const NodeRecord& other) const { return target == other.target && portal == other.portal; }
};

/// A login that a process of its own keeps.
struct SessionRecord {
    int number = 0; ///< "SID"
    NodeRecord node;
    std::string initiator;
    ProcessIdentity keeper;
};

/// The folder in which node records and sessions outlive the command. Use it under a Lock. Throws std::runtime_error
/// naming the file and why when it cannot be read or written, or when the folder could be changed by other users.
class NodeStore {
public:
    /// Makes the folder, for its owner alone, when it is missing.
    explicit NodeStore(std::string folder);

    /// Keeps out other commands on the same folder; let go when destroyed, or when its process ends in whatever way.
    class Lock {
    public:
        explicit Lock(const NodeStore& store);

    private:
        Base::FileLock m_lock;
    };

    std::vector<NodeRecord> LoadNodes() const;

    /// Adds the records that are not there yet; those that are stay as they are.
    void AddNodes(const std::vector<NodeRecord>& nodes) const;

    /// False when there is no such record.
    bool RemoveNode(const NodeRecord& node) const;

    /// The sessions whose keeper lives, by number. Records of the others are removed.
    std::vector<SessionRecord> LoadSessions() const;

    /// Gives the session its number, which no earlier one had, and records it.
    void AddSession(SessionRecord& session) const;
    void RemoveSession(int number) const;

private:
    void SaveNodes(const std::vector<NodeRecord>& nodes) const;
    std::string SessionPath(int number) const;

    std::string m_folder;
};

/// $ZAVSIM_NODE_STATE, else /run/zavsim-node for root where that can be had, else /tmp/zavsim-node-<uid>.
std::string StateFolder();

} // namespace ZavSimNode

#endif
