#ifndef PRODUCT_STORAGE_CLI_PREPARATION_HOST_ADOPTION_H
#define PRODUCT_STORAGE_CLI_PREPARATION_HOST_ADOPTION_H

#include "cli/array/array_login.h"

/// Looks at the hosts that the library would have this node use: those on which the array has its initiators, and the
/// recorded one, which an initiator goes to that is on none. Throws Failure with Foreign where one may not be used:
/// when it holds initiators of others, who would see this node's LUNs, and it theirs; without `adopts` also when it has
/// this node's initiator, and the journal does not name it as made here (without a journal none is).
void RequireHostToUse(const ArrayLogin& login, bool adopts);

#endif
