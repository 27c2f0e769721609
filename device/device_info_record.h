#ifndef PRODUCT_STORAGE_DEVICE_DEVICE_INFO_RECORD_H
#define PRODUCT_STORAGE_DEVICE_DEVICE_INFO_RECORD_H

#include "common/records.h"

#include <array>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

/// The record of what this node made on an array: where its file is, what it holds, and every way to read or change it.
/// DeviceOperate, DeviceSetOperator and zavctl all come here.
///
/// The file is one JSON object of records, each named by its array's device id (`key`), each an object of texts. All
/// that change it read, merge and write it under g_infoFileMutext.
namespace DeviceInfoRecord {

using Members = std::map<std::string, std::string>;

/// One object on the array, as a record and a DeviceMessage hold it: always id and name together.
struct Object {
    const std::string& idKey;
    const std::string& nameKey;
    std::string DeviceMessage::*id;
    std::string DeviceMessage::*name;
    const char* missing; ///< the line of a record that does not hold it
};

enum class Kind { Host, HostGroup, LunGroup, MapView };

/// The four kinds, in the order in which they are made.
const std::array<Object, 4>& Objects();
const Object& ObjectOf(Kind kind);

/// True, with both set in `message`, when `info` holds the object's id and name.
bool Take(const Object& object, const Members& info, DeviceMessage& message);

/// What stands or falls with the objects on the array: their ids and names, the initiators that were put there, and who
/// made the host. The name by which this node logs in, and its protocol, do not.
std::vector<std::string> KeysOfWhatIsOnTheArray();

/// Whether a device id, which comes from the array, can stand in the record's path and is found again in its JSON: it
/// has 1 to 200 bytes of UTF-8, and neither '/' nor a control character among them.
bool CanNameAFile(const std::string& key);

/// How a record's file is named behind its device id.
inline constexpr const char* FILE_ENDING = "-info.conf";

/// `conf/<key>-info.conf` in the folder above the running program's, or below the root where the system does not tell
/// the program's path; where it tells no whole one and there is no working directory, the product root's
/// conf/deviceinfo.conf, which all arrays share. Logged for `operation`.
std::string FileOf(std::string_view operation, const std::string& key);

/// The file beside the one at `path` whose lock keeps processes from changing records at once.
std::string LockFileBeside(const std::string& path);

/// Appends the file's lines, without their ends, to `content`; "{}" when that is empty then.
void AppendLines(const std::string& path, std::string& content);

/// How a class finds and reads the file; virtual operations of its own stand behind both.
struct Source {
    std::function<std::string(const std::string& key)> file;
    std::function<void(std::string& path, std::string& content)> read;
};

/// The source that `object` is, a DeviceOperate or DeviceSetOperator, which must outlive it.
template <typename Class>
Source SourceOf(Class& object)
{
    return {[&object](const std::string& key) { return object.GetDeviceInfoCfgFile(key); },
            [&object](std::string& path, std::string& content) { object.ReadConfig(path, content); }};
}

// All below but IsComplete throw the thread library's lock error, and all the JSON library's error when document or
// record is no object or a member that is read has no text.

/// ReadInfoFromJson: adds the members of the record to `info`, where a key that is there already keeps its value. False
/// when the file is no JSON.
bool Read(const Source& source, const std::string& key, Members& info);

/// ReadDeviceInfo: true when the record is there and complete. Takes no lock.
bool IsComplete(const Source& source, const std::string& key);

/// WriteInfoToJson: puts the members of `info` into the record. False, with the file as it was, when it is no JSON or
/// cannot be written.
bool Merge(const Source& source, const std::string& key, const Members& info);

/// Takes the members `names` out of the record, in one write. A level-2 line of `operation` that begins with `words`
/// tells each and what it was, before the file changes. Nothing is written when the record holds none of them. False,
/// after an error line, with the file as it was, when it is no JSON or cannot be written.
bool Forget(const Source& source, std::string_view operation, std::string_view words, const std::string& key,
            const std::vector<std::string>& names);

/// Takes the whole record out of the file, and the file away when it holds no other. False, with the file as it was and
/// `problem` saying why, when it is no JSON or cannot be changed.
bool Remove(const Source& source, const std::string& key, std::string& problem);

} // namespace DeviceInfoRecord

#endif
