#ifndef PRODUCT_STORAGE_CLI_NODE_BLOCK_DEVICE_USES_H
#define PRODUCT_STORAGE_CLI_NODE_BLOCK_DEVICE_USES_H

#include <string>
#include <vector>

namespace BlockDevice {

/// Who uses a disk ("sda") or a partition of it: "is mounted at /mnt", "is swapped to", "is held by dm-0", "is open in
/// process 71 (dd)". Mounts are those of this process's namespace; processes are seen as far as this user may.
std::vector<std::string> UsesOf(const std::string& disk);

} // namespace BlockDevice

#endif
