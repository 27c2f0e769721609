#ifndef PRODUCT_STORAGE_CLI_HOST_ADOPTION_H
#define PRODUCT_STORAGE_CLI_HOST_ADOPTION_H

#include "cli/array_login.h"

/// Throws Failure with Foreign when the array has an initiator of this node on a host that this node did not make, as
/// its journal tells: the library would use that host. Without a journal each host counts as somebody else's.
void RequireNoHostToAdopt(const ArrayLogin& login);

#endif
