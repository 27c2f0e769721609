#ifndef PRODUCT_STORAGE_CLI_NODE_CHECK_H
#define PRODUCT_STORAGE_CLI_NODE_CHECK_H

#include "cli/array_login.h"

/// What the library tolerates and a person wants to know before and after a node is prepared.
namespace NodeCheck {

/// Throws Failure when the array's record cannot be read or written: what is made on the array would not be remembered.
void RequireUsableRecord(const ArrayLogin& login);

/// Throws Failure when the record is not complete, or when this node reaches the array neither by FC nor by an iSCSI
/// session with one of its service addresses.
void RequireConnectedNode(const ArrayLogin& login);

} // namespace NodeCheck

#endif
