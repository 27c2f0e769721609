#ifndef PRODUCT_STORAGE_CLI_NODE_OWN_FILES_H
#define PRODUCT_STORAGE_CLI_NODE_OWN_FILES_H

#include <string>
#include <vector>

/// Where this product root keeps what it needs.
namespace OwnFiles {

/// The folder of records and journal, without a final slash.
std::string RecordFolder();

/// The device-information files in a folder; none where it cannot be read.
std::vector<std::string> RecordsIn(const std::string& folder);

/// The device id that a record's path bears.
std::string DeviceIdOf(const std::string& recordPath);

/// A setting as it holds now, with paths made absolute; empty where there is none.
std::string SettingText(const std::string& section, const std::string& key);

} // namespace OwnFiles

#endif
