#ifndef PRODUCT_STORAGE_CLI_RECORD_PROVENANCE_H
#define PRODUCT_STORAGE_CLI_RECORD_PROVENANCE_H

#include "common/records.h"

#include <string>

/// Where the recorded objects of this node come from, seen from before it was prepared.
class Provenance {
public:
    /// Reads the record as it is before. Throws Failure when it cannot be read.
    explicit Provenance(const std::string& deviceId);

    /// Tells each object of the record as it is now: unchanged, when it stood there before; made, when the journal of
    /// what this node makes names it; else found on the array. Without a journal what is new counts as recorded.
    void Tell(bool tellsUnchanged) const;

private:
    const std::string m_deviceId;
    const DeviceMessage m_before;
};

#endif
