#ifndef PRODUCT_STORAGE_DEVICE_DEVICE_INFO_RECORD_H
#define PRODUCT_STORAGE_DEVICE_DEVICE_INFO_RECORD_H

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

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

/// The source that `object` is, a DeviceOperate or DeviceSetOperator, which must outlive it.
template <typename Object>
Source SourceOf(Object& object)
{
    return {[&object](const std::string& key) { return object.GetDeviceInfoCfgFile(key); },
            [&object](std::string& path, std::string& content) { object.ReadConfig(path, content); }};
}

/// ReadInfoFromJson of both classes, under g_infoFileMutext: adds the members of the record `key` to `info`, where a
/// key that is there already keeps its value. False when the file is no JSON. Throws the JSON library's error when
/// document or record is no object or a member has no text.
bool Read(const Source& source, const std::string& key, std::map<std::string, std::string>& info);

/// Takes the members `names` out of the record `key`, under g_infoFileMutext, in one write. A level-2 line of
/// `operation` that begins with `words` tells each and what it was, before the file changes. Nothing is written when
/// the record holds none of them. False, after an error line, when the file is no JSON or cannot be written. Throws as
/// Read does.
bool Forget(const Source& source, std::string_view operation, std::string_view words, const std::string& key,
            const std::vector<std::string>& names);

/// Replaces the file's content. False, after two error lines of `operation`, the second with the error's number, when
/// it cannot be written.
bool WriteText(std::string_view operation, const std::string& path, const std::string& text);

} // namespace DeviceInfoRecord

#endif
