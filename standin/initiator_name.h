#ifndef ZAVSIM_STANDIN_INITIATOR_NAME_H
#define ZAVSIM_STANDIN_INITIATOR_NAME_H

#include <string>

namespace ZavSimNode {

/// The node's own iSCSI name, from the file $ZAVSIM_NODE_INITIATOR_FILE, else /etc/iscsi/initiatorname.iscsi. Throws
/// std::runtime_error naming the file when it cannot be read or names no initiator.
std::string ReadInitiatorName();

} // namespace ZavSimNode

#endif
