#include "device/device_info_record.h"

#include "common/json_text.h"
#include "common/log.h"
#include "device/device_operate.h"

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>
#include <boost/thread/lock_guard.hpp>

#include <unistd.h>

#include <array>
#include <fstream>

namespace {

const std::string LOG_MODULE = "DeviceSetOperator";

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

} // namespace DeviceInfoRecord
