#ifndef PRODUCT_STORAGE_CLI_NODE_LOCAL_DISKS_H
#define PRODUCT_STORAGE_CLI_NODE_LOCAL_DISKS_H

#include <map>
#include <string>
#include <vector>

namespace LocalDisks {

/// A WWN as its hexadecimal digits alone, in small letters: of "naa.6001405A", "0x6001405a" and "6001405A" the same.
std::string PlainWwn(const std::string& text);

/// The names of this node's SCSI disks ("sdb"), by their WWNs; several are paths to the same LUN. `folder` is what
/// /sys/block is on a node.
std::map<std::string, std::vector<std::string>> ByWwn(const std::string& folder = "/sys/block");

} // namespace LocalDisks

#endif
