#ifndef PRODUCT_STORAGE_CLI_PREPARATION_HOST_ADOPTION_H
#define PRODUCT_STORAGE_CLI_PREPARATION_HOST_ADOPTION_H

#include "cli/array/array_login.h"

/// Looks at the hosts on which the array has this node's initiators, for the library would use them. Throws Failure
/// with Foreign where one may not be used: without `adopts`, when the journal does not name it as made here (without a
/// journal none is); before any host is recorded, when it holds initiators of others as well, who would see this node's
/// LUNs.
void RequireHostToUse(const ArrayLogin& login, bool adopts);

#endif
