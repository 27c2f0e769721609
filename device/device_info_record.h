#ifndef PRODUCT_STORAGE_DEVICE_DEVICE_INFO_RECORD_H
#define PRODUCT_STORAGE_DEVICE_DEVICE_INFO_RECORD_H

#include <functional>
#include <map>
#include <string>
#include <string_view>

/// Where the device-information file lies and what a record in it holds: what DeviceOperate and DeviceSetOperator
/// share.
namespace DeviceInfoRecord {

/// The running executable's path; empty when it cannot be read. Logged for `operation`.
std::string ProgramPath(std::string_view operation);

/// `conf/<key>-info.conf` in the directory above `programPath`'s. Throws boost::filesystem::filesystem_error.
std::string FileFor(const std::string& programPath, const std::string& key);

/// The file's lines joined without their ends; "{}" when there are none or all are empty.
void ReadLines(const std::string& path, std::string& content);

/// How an operation's class finds and reads the file; virtual operations of its own stand behind both.
struct Source {
    std::function<std::string(const std::string& key)> file;
    std::function<void(std::string& path, std::string& content)> read;
};

/// ReadInfoFromJson of both classes, under g_infoFileMutext: adds the members of the record `key` to `info`, where a
/// key that is there already keeps its value. False when the file is no JSON. Throws the JSON library's error when
/// document or record is no object or a member has no text.
bool Read(const Source& source, const std::string& key, std::map<std::string, std::string>& info);

} // namespace DeviceInfoRecord

#endif
