#ifndef ZAVSIM_STANDIN_SESSION_KEEPER_H
#define ZAVSIM_STANDIN_SESSION_KEEPER_H

#include "standin/iscsi_link.h"

namespace ZavSimNode {

/// Logs the initiator into the node from a process of its own, which keeps the session when this one ends: it belongs
/// to no terminal, holds none of our descriptors, and ends on SIGTERM or when the target goes. On success `session` has
/// the node, the initiator and the keeper's identity; its number is left to the store. Throws std::runtime_error when
/// there can be no such process.
LoginResult StartSession(const std::string& initiator, const NodeRecord& node, SessionRecord& session);

} // namespace ZavSimNode

#endif
