#ifndef ZAVSIM_STANDIN_COMMANDS_H
#define ZAVSIM_STANDIN_COMMANDS_H

#include "standin/node_store.h"

namespace ZavSimNode {

/// The stand-in's commands. Each prints on standard output and standard error what iscsiadm prints, and returns its
/// exit code. Throws std::runtime_error when the state folder or the initiator's name cannot be had.

int Discover(const NodeStore& store, const Portal& portal);
int Login(const NodeStore& store, const Portal& portal);
int ListSessions(const NodeStore& store);
int ListSessionsBriefly(const NodeStore& store);
int LogoutAll(const NodeStore& store);
int LogoutOne(const NodeStore& store, const std::string& target, const Portal& portal);
int DeleteNode(const NodeStore& store, const std::string& target, const Portal& portal);

} // namespace ZavSimNode

#endif
