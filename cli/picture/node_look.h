#ifndef PRODUCT_STORAGE_CLI_PICTURE_NODE_LOOK_H
#define PRODUCT_STORAGE_CLI_PICTURE_NODE_LOOK_H

#include "cli/array/array_login.h"
#include "cli/picture/node_picture.h"

/// Looks from both ends how this node hangs on the array, and changes nothing: initiators with their sessions, then
/// host, host group, mapping view, LUN group and LUNs as the record names them, then what earlier runs left. Throws
/// Failure when array, record or journal cannot be read.
NodePicture LookAtNode(const ArrayLogin& login);

#endif
