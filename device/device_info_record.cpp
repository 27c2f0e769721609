#include "device/device_info_record.h"

#include "common/json_text.h"
#include "common/log.h"
#include "device/device_operate.h"

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>
#include <boost/thread/lock_guard.hpp>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>

namespace {

const std::string LOG_MODULE = "DeviceSetOperator";

// 0 or the error's number.
int WriteAll(int descriptor, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = write(descriptor, text.data(), text.size());
        if (written == -1 && errno != EINTR) {
            return errno;
        }
        text.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
    return 0;
}

int ReplaceContent(const std::string& path, std::string_view text)
{
    constexpr mode_t MODE = 0666; // less the process's mask
    const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, MODE);
    if (descriptor == -1) {
        return errno;
    }
    const int error = WriteAll(descriptor, text);
    if (close(descriptor) == -1 && error == 0) {
        return errno;
    }
    return error;
}

} // namespace

namespace DeviceInfoRecord {

std::string ProgramPath(std::string_view operation)
{
    std::array<char, 1023> buffer = {};
    const ssize_t length = readlink("/proc/self/exe", buffer.data(), buffer.size());
    std::string path(buffer.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
    PS_LOG_AS(operation, 1) << "Program path is " << path;
    return path;
}

std::string FileFor(const std::string& programPath, const std::string& key)
{
    const boost::filesystem::path program = boost::filesystem::system_complete(programPath);
    return program.parent_path().parent_path().string() + "/conf/" + key + "-info.conf";
}

void ReadLines(const std::string& path, std::string& content)
{
    content.clear();
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        content += line;
    }
    if (content.empty()) {
        content = "{}";
    }
}

bool Read(const Source& source, const std::string& key, std::map<std::string, std::string>& info)
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

bool Forget(const Source& source, std::string_view operation, std::string_view words, const std::string& key,
            const std::vector<std::string>& names)
{
    const boost::lock_guard<boost::mutex> guard(g_infoFileMutext);
    std::string path = source.file(key);
    std::string content;
    source.read(path, content);
    Json::Value root;
    if (!JsonText::Parse(content, root)) {
        PS_LOG_AS(operation, 4) << "Json to string failed.";
        return false;
    }
    if (!root.isMember(key)) {
        return true;
    }
    Json::Value& record = root[key];
    std::string forgotten;
    for (const std::string& name : names) {
        Json::Value value;
        if (record.removeMember(name, &value)) {
            std::string text = "?"; // no text: nothing that this system wrote
            JsonText::ToText(value, text);
            forgotten += (forgotten.empty() ? "" : ", ") + name + ":" + text;
        }
    }
    if (forgotten.empty()) {
        return true;
    }
    PS_LOG_AS(operation, 2) << words << forgotten;
    return WriteText(operation, path, JsonText::Write(root));
}

bool WriteText(std::string_view operation, const std::string& path, const std::string& text)
{
    const int error = ReplaceContent(path, text);
    if (error != 0) {
        PS_LOG_AS(operation, 4) << "Config file write failed.";
        PS_LOG_AS(operation, 4) << "errno " << error << " (" << std::strerror(error) << ") at " << path;
    }
    return error == 0;
}

} // namespace DeviceInfoRecord
