#include "cli/log_tail.h"

#include "base/printable_text.h"
#include "common/framework/config_reader.h"
#include "common/framework/log_proxy.h"

#include <unistd.h>

#include <fstream>
#include <iostream>
#include <vector>

namespace {

// The fields of a line: time, level, module, request id, function, line, code, and the text, which may hold any
// character.
constexpr std::size_t LEVEL = 1;
constexpr std::size_t REQUEST_ID = 3;
constexpr std::size_t FUNCTION = 4;
constexpr std::size_t TEXT = 7;

std::vector<std::string> Fields(const std::string& line)
{
    std::vector<std::string> fields;
    std::size_t start = 0;
    while (fields.size() < TEXT) {
        const std::size_t end = line.find('|', start);
        if (end == std::string::npos) {
            return {};
        }
        fields.push_back(line.substr(start, end - start));
        start = end + 1;
    }
    fields.push_back(line.substr(start));
    return fields;
}

std::string LogFile()
{
    std::vector<ConfigReader::Setting> settings;
    ConfigReader::check(settings);
    for (const ConfigReader::Setting& setting : settings) {
        if (setting.section == "Log" && setting.key == "File") {
            return setting.value;
        }
    }
    return {};
}

} // namespace

LogTail::LogTail(bool isShownAlready)
    : m_isShownAlready(isShownAlready)
    , m_requestId(std::to_string(getpid()))
    , m_path(LogFile())
{
    TSP_RequestID.set(static_cast<unsigned long>(getpid())); // tells this process's lines from a service's
    std::ifstream file(m_path, std::ios::ate);
    m_offset = file ? std::streamoff(file.tellg()) : 0;
}

void LogTail::PrintFailures()
{
    if (m_isShownAlready) {
        return;
    }
    std::ifstream file(m_path, std::ios::ate);
    if (!file) {
        return;
    }
    if (file.tellg() < m_offset) {
        m_offset = 0; // the file was rotated
    }
    file.seekg(m_offset);
    for (std::string line; std::getline(file, line) && !file.eof();) { // one without an end is still being written
        m_offset += static_cast<std::streamoff>(line.size()) + 1;
        const std::vector<std::string> fields = Fields(line);
        if (fields.size() > TEXT && fields[REQUEST_ID] == m_requestId && fields[LEVEL] >= "3") {
            std::cerr << "zavctl:   " << Base::Printable(fields[TEXT]) << " (" << fields[FUNCTION] << ")" << std::endl;
        }
    }
}
