#ifndef PRODUCT_STORAGE_CLI_RECORD_CORRECTION_H
#define PRODUCT_STORAGE_CLI_RECORD_CORRECTION_H

#include "cli/array_login.h"

/// Makes the record name what the recorded mapping view holds: its groups, and the host in its host group, as far as
/// the journal names them as this node's. They differ when a full disk kept one of them out of the record: the library
/// then made another, which the view cannot hold as well. What was entered is said; what the record named until then is
/// left over. Under the node's lock. Throws Failure when array, journal or record cannot be read.
void CorrectRecord(const ArrayLogin& login);

#endif
