#ifndef PRODUCT_STORAGE_CLI_PREPARATION_LIBRARY_CHECK_H
#define PRODUCT_STORAGE_CLI_PREPARATION_LIBRARY_CHECK_H

#include "cli/array/array_login.h"
#include "common/framework/product_messages.pb.h"

/// The library's work for this node, but for one thing: where a part of what this process prepared before is gone, the
/// library takes apart what is left of the rest, whoever has put that to use since. Here it stays, and all is made anew
/// beside it, as by a process that was started since.
namespace LibraryCheck {

/// Whether this process prepared the node on the array before, and what the record names stands as the library sees it.
/// `info` is filled then. Throws Failure when the array cannot be asked.
bool FindsPrepared(const ArrayLogin& login, ZavMapInfo& info);

/// Has the library know no more of the array than its record does.
void Forget(const ArrayLogin& login);

} // namespace LibraryCheck

#endif
