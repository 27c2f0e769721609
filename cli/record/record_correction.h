#ifndef PRODUCT_STORAGE_CLI_RECORD_RECORD_CORRECTION_H
#define PRODUCT_STORAGE_CLI_RECORD_RECORD_CORRECTION_H

#include "cli/array/array_login.h"
#include "cli/array/array_objects.h"
#include "cli/record/own_journal.h"
#include "common/records.h"

#include <map>
#include <string>
#include <vector>

/// Makes the record name what the recorded mapping view holds: its groups, and the host in its host group, as far as
/// the journal names them as this node's. They differ when a full disk kept one of them out of the record: the library
/// then made another, which the view cannot hold as well. What was entered is said; what the record named until then is
/// left over. Under the node's lock. Throws Failure when array, journal or record cannot be read.
void CorrectRecord(const ArrayLogin& login);

/// What a record has to name in place of what it does.
struct RecordCorrection {
    std::map<std::string, std::string> members;
    std::string why; ///< "the record did not name host 1 (its name), which mapping view 1 has"
};

/// What the above enters into a record, as array and journal tell; `made` is what stands in the journal.
std::vector<RecordCorrection> CorrectionsOf(DeviceMessage record, ArrayObjects& array,
                                            const std::vector<OwnJournal::Entry>& made);

#endif
