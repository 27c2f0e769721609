#include "device/device_info_record.h"

#include "base/files.h"
#include "base/printable_text.h"
#include "common/device_keys.h"
#include "common/framework/product_root.h"
#include "common/json_text.h"
#include "common/log.h"
#include "device/device_operate.h"
#include "device/log_module.h"

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>
#include <boost/thread/lock_guard.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <memory>

namespace {

constexpr unsigned int NEW_FILE_MODE = 0640; // less the process's mask

std::string ProgramPath(std::string_view operation)
{
    std::array<char, 1023> buffer = {};
    const ssize_t length = readlink("/proc/self/exe", buffer.data(), buffer.size());
    std::string path(buffer.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
    PS_LOG_AS(operation, 1) << "Program path is " << path;
    return path;
}

// The whole file as JSON; false when it is none.
bool ReadDocument(const DeviceInfoRecord::Source& source, std::string& path, Json::Value& root)
{
    std::string content;
    source.read(path, content);
    return JsonText::Parse(content, root);
}

// False, after two error lines of `operation`, the second with the error's number, when the file cannot be written.
bool WriteDocument(std::string_view operation, const std::string& path, const Json::Value& root)
{
    const int error = Base::RewriteFile(path, JsonText::Write(root), NEW_FILE_MODE);
    if (error != 0) {
        PS_LOG_AS(operation, 4) << "Config file write failed.";
        PS_LOG_AS(operation, 4) << "errno " << error << " (" << Base::ErrorText(error) << ") at " << path;
    }
    return error == 0;
}

// Takes the members `names` out of `record`, and tells each with its value.
std::string TakeOut(const std::vector<std::string>& names, Json::Value& record)
{
    std::string taken;
    for (const std::string& name : names) {
        Json::Value value;
        if (record.removeMember(name, &value)) {
            std::string text = "?"; // no text: nothing that this system wrote
            JsonText::ToText(value, text);
            taken += (taken.empty() ? "" : ", ") + name + ":" + text;
        }
    }
    return taken;
}

// Removes the file, not a link to it; where it has to stay, because it is a mount of its own or its folder may not
// change, it becomes one without records. 0 or the error number; a file that is not there is no error.
int RemoveFile(const std::string& path)
{
    struct Freed {
        void operator()(char* text) const noexcept { std::free(text); } // NOLINT(*-no-malloc): realpath's
    };
    const std::unique_ptr<char, Freed> file(::realpath(path.c_str(), nullptr));
    if (file == nullptr && errno == ENOENT) {
        return 0;
    }
    struct stat status = {};
    const bool isFile = file != nullptr && ::stat(file.get(), &status) == 0 && S_ISREG(status.st_mode);
    // One that may not be written stays, as when other records are in it.
    if (isFile && ::faccessat(AT_FDCWD, file.get(), W_OK, AT_EACCESS) == 0 && ::unlink(file.get()) == 0) {
        Base::SyncParentDirectory(file.get()); // else a power failure would bring back what the array has no more
        return 0;
    }
    return Base::RewriteFile(path, "{}", NEW_FILE_MODE);
}

} // namespace

namespace DeviceInfoRecord {

const std::array<Object, 4>& Objects()
{
    using namespace DeviceKey;
    static const std::array<Object, 4> OBJECTS = {{
        {HOST_ID, HOST_NAME, &DeviceMessage::hostId, &DeviceMessage::hostName,
         "The device need to init, hostID is nil!"},
        {HOST_GROUP_ID, HOST_GROUP_NAME, &DeviceMessage::hostGroupId, &DeviceMessage::hostGroupName,
         "The device need to init, hostGroupID is nil!"},
        {LUN_GROUP_ID, LUN_GROUP_NAME, &DeviceMessage::lunGroupId, &DeviceMessage::lunGroupName,
         "The device need to init, lunGroupID is nil!"},
        {MAP_VIEW_ID, MAP_VIEW_NAME, &DeviceMessage::mapViewId, &DeviceMessage::mapViewName,
         "The device need to init, mapViewID is nil!"},
    }};
    return OBJECTS;
}

const Object& ObjectOf(Kind kind)
{
    return Objects().at(static_cast<std::size_t>(kind));
}

bool Take(const Object& object, const Members& info, DeviceMessage& message)
{
    const auto id = info.find(object.idKey);
    const auto name = info.find(object.nameKey);
    if (id == info.end() || name == info.end()) {
        return false;
    }
    message.*object.id = id->second;
    message.*object.name = name->second;
    return true;
}

std::vector<std::string> KeysOfWhatIsOnTheArray()
{
    std::vector<std::string> keys;
    for (auto object = Objects().rbegin(); object != Objects().rend(); ++object) {
        keys.insert(keys.end(), {object->idKey, object->nameKey});
    }
    keys.insert(keys.end(),
                {DeviceKey::ISCSI_INITIATOR_NAME, DeviceKey::FC_INITIATOR_NAME, DeviceKey::DO_NOT_DELETE_HOST});
    return keys;
}

bool CanNameAFile(const std::string& key)
{
    constexpr std::size_t MOST_BYTES = 200;
    return !key.empty() && key.size() <= MOST_BYTES && key.find('/') == std::string::npos &&
           Base::Printable(key) == key;
}

std::string FileOf(std::string_view operation, const std::string& key)
{
    const std::string programPath = ProgramPath(operation);
    std::string path;
    try {
        const boost::filesystem::path program = boost::filesystem::system_complete(programPath);
        path = program.parent_path().parent_path().string() + "/conf/" + key + FILE_ENDING;
    } catch (const boost::filesystem::filesystem_error& error) {
        PS_LOG_AS(operation, 4) << error.what();
        // Without the key in its name: the file's top-level members keep the arrays apart.
        path = GetVendrixRootPath(LOG_MODULE, 0) + "/conf/deviceinfo.conf";
    }
    PS_LOG_AS(operation, 1) << "Config path is " << path;
    return path;
}

std::string LockFileBeside(const std::string& path)
{
    return path.substr(0, path.rfind('/') + 1) + ".device-info.lock";
}

void AppendLines(const std::string& path, std::string& content)
{
    const Base::Descriptor file = Base::OpenForReading(path);
    struct stat status = {};
    const bool isFile = file.IsOpen() && ::fstat(file.Get(), &status) == 0 && S_ISREG(status.st_mode);
    if (isFile) { // what is none has no lines
        std::string text;
        Base::ReadToEnd(file.Get(), std::numeric_limits<std::size_t>::max(), text); // as far as it can be read
        std::remove_copy(text.begin(), text.end(), std::back_inserter(content), '\n');
    }
    if (content.empty()) {
        content = "{}";
    }
}

bool Read(const Source& source, const std::string& key, Members& info)
{
    const std::string_view operation = "ReadInfoFromJson";
    PS_LOG_AS(operation, 1) << "begin read device info from Json .";
    const boost::lock_guard<boost::mutex> guard(g_infoFileMutext);
    std::string path = source.file(key);
    std::string content;
    source.read(path, content);
    PS_LOG_AS(operation, 1) << "config content:" << content;
    Json::Value parsed;
    if (!JsonText::Parse(content, parsed)) {
        PS_LOG_AS(operation, 4) << "failed to change json.";
        return false;
    }
    const Json::Value& root = parsed; // looking up in a const document adds nothing to it
    const Json::Value& record = root[key];
    for (const std::string& name : record.getMemberNames()) {
        const std::string value = record[name].asString();
        PS_LOG_AS(operation, 1) << "key:" << name << ",value:" << value;
        info.emplace(name, value);
    }
    PS_LOG_AS(operation, 1) << "read device info from Json finish.";
    return true;
}

bool IsComplete(const Source& source, const std::string& key)
{
    const std::string_view operation = "ReadDeviceInfo";
    // Without the lock, on purpose: it only reads, and a record that is not complete leads to provisioning, which is
    // safe.
    PS_LOG_AS(operation, 1) << "begin read device info from Json .";
    std::string path = source.file(key);
    std::string content;
    source.read(path, content);
    PS_LOG_AS(operation, 2) << "config content:" << content;
    Json::Value root;
    if (!JsonText::Parse(content, root)) {
        PS_LOG_AS(operation, 4) << "failed to change json.";
        return false;
    }
    const Json::Value record = root[key];
    if (record.getMemberNames().empty()) {
        PS_LOG_AS(operation, 4) << "The device conf is not exist.";
        return false;
    }
    // Presence counts, not content: an empty initiator name is one that was looked for.
    if (!record.isMember(DeviceKey::MAP_VIEW_ID) ||
        !(record.isMember(DeviceKey::ISCSI_INITIATOR_NAME) || record.isMember(DeviceKey::FC_INITIATOR_NAME))) {
        PS_LOG_AS(operation, 4) << "The conf file is not complete.";
        return false;
    }
    PS_LOG_AS(operation, 2) << "The conf file is exist and complete!";
    return true;
}

bool Merge(const Source& source, const std::string& key, const Members& info)
{
    const std::string_view operation = "WriteInfoToJson";
    PS_LOG_AS(operation, 1) << "begin write device info from Json .";
    const boost::lock_guard<boost::mutex> guard(g_infoFileMutext);
    std::string path = source.file(key);
    Json::Value root;
    if (!ReadDocument(source, path, root)) {
        PS_LOG_AS(operation, 4) << "Json to string failed."; // the parse failed; the words are the ones operators know
        return false;
    }
    Json::Value record = root[key];
    for (const auto& [name, value] : info) {
        record[name] = value;
    }
    root[key] = record;
    if (!WriteDocument(operation, path, root)) {
        return false;
    }
    PS_LOG_AS(operation, 1) << "write device info from Json finish.";
    return true;
}

bool Forget(const Source& source, std::string_view operation, std::string_view words, const std::string& key,
            const std::vector<std::string>& names)
{
    const boost::lock_guard<boost::mutex> guard(g_infoFileMutext);
    std::string path = source.file(key);
    Json::Value root;
    if (!ReadDocument(source, path, root)) {
        PS_LOG_AS(operation, 4) << "Json to string failed.";
        return false;
    }
    if (!root.isMember(key)) {
        return true;
    }
    const std::string forgotten = TakeOut(names, root[key]);
    if (forgotten.empty()) {
        return true;
    }
    PS_LOG_AS(operation, 2) << words << forgotten;
    return WriteDocument(operation, path, root);
}

bool Remove(const Source& source, const std::string& key, std::string& problem)
{
    const boost::lock_guard<boost::mutex> guard(g_infoFileMutext);
    std::string path = source.file(key);
    Json::Value root;
    if (!ReadDocument(source, path, root) || !(root.isObject() || root.isNull())) {
        problem = path + ": not a device record in JSON";
        return false;
    }
    root.removeMember(key);
    const int error = root.empty() ? RemoveFile(path) : Base::RewriteFile(path, JsonText::Write(root), NEW_FILE_MODE);
    if (error != 0) {
        problem = path + ": " + Base::ErrorText(error);
    }
    return error == 0;
}

} // namespace DeviceInfoRecord
