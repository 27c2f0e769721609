#ifndef PRODUCT_STORAGE_CLI_PREPARATION_NODE_CHECK_H
#define PRODUCT_STORAGE_CLI_PREPARATION_NODE_CHECK_H

#include "cli/array/array_login.h"
#include "cli/array/array_objects.h"

#include <string>

class DeviceOperate;

/// What the library tolerates and a person wants to know before and after a node is prepared.
namespace NodeCheck {

/// Throws Failure when the array's record cannot be read or written: what is made on the array would not be remembered.
void RequireUsableRecord(const ArrayLogin& login);

/// Throws Failure when the record is not complete, or when this node reaches the array neither by FC nor by an iSCSI
/// session with one of its service addresses.
void RequireConnectedNode(const ArrayLogin& login);

/// Of the latter the second: `device` tells the sessions, `api` which ports are online, and `objects` what is on which
/// host of the group.
void RequirePath(const ArrayLogin& login, DeviceOperate& device, ZavRestApi& api, ArrayObjects& objects,
                 const std::string& hostGroupId);

} // namespace NodeCheck

#endif
