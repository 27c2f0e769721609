#ifndef ZAVSIM_STANDIN_ISCSI_LINK_H
#define ZAVSIM_STANDIN_ISCSI_LINK_H

#include "standin/node_store.h"

#include <list>
#include <memory>
#include <optional>

struct iscsi_context;

namespace ZavSimNode {

/// How a login ended. The numbers are those of iscsiadm.
enum class LoginResult {
    Success = 0,
    TimedOut = 8,      ///< no connection, or no answer in time
    Fatal = 19,        ///< the target says no, such as: no such target for this initiator
    Unauthorized = 24, ///< the target says that this initiator may not
};

/// One iSCSI connection of an initiator, by way of libiscsi. Every operation has a time limit of its own. One thread.
class IscsiLink {
public:
    explicit IscsiLink(const std::string& initiator);
    ~IscsiLink();
    IscsiLink(const IscsiLink&) = delete;
    IscsiLink& operator=(const IscsiLink&) = delete;

    /// The targets that the portal offers this initiator, maybe none; nothing when it could not be asked.
    std::optional<std::vector<NodeRecord>> Discover(const Portal& portal);

    LoginResult Login(const NodeRecord& node);

    /// Keeps a login alive: answers the target's pings and sends own ones. Returns when the target is gone or
    /// `endDescriptor` becomes readable, in the latter case after a logout.
    void Serve(int endDescriptor);

private:
    struct Outcome;

    bool Await(const Outcome& outcome);
    bool Connect(const Portal& portal);
    bool StepOnce(int endDescriptor, int milliseconds, bool& ended);
    void Logout();

    Outcome& NewOutcome();

    std::list<Outcome> m_outcomes; ///< libiscsi may call back as late as when its context goes, so these outlive it
    std::unique_ptr<iscsi_context, int (*)(iscsi_context*)> m_context;
};

} // namespace ZavSimNode

#endif
