#ifndef PRODUCT_STORAGE_COMMON_DISK_DESCRIPTOR_MANAGER_H
#define PRODUCT_STORAGE_COMMON_DISK_DESCRIPTOR_MANAGER_H

#include "common/export.h"

#include <string>

/// Conversions of disk descriptors. Stateless; any thread.
class PRODUCT_STORAGE_API DiskDescriptorManager {
public:
    /// The REST URI of a resource URN: urn:sites:1:vms:2 gives /service/sites/1/vms/2. A text without ':' comes back
    /// unchanged. The first three characters are taken for "urn" whatever they are.
    static std::string urnToUri(const std::string& urn);
};

#endif
