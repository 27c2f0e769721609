#include "tests/framework/support/framework_test.h"

#include "common/framework/config_reader.h"

#include <array>
#include <cstdlib>
#include <sstream>

LogLine SplitLogLine(const std::string& line)
{
    constexpr std::size_t FIELDS = 8;
    std::array<std::string, FIELDS> fields;
    std::size_t start = 0;
    for (std::size_t index = 0; index + 1 < FIELDS; ++index) {
        const std::size_t end = line.find('|', start);
        if (end == std::string::npos) {
            ADD_FAILURE() << "not a log line: " << line;
            return {};
        }
        fields[index] = line.substr(start, end - start);
        start = end + 1;
    }
    return {fields[0], fields[1], fields[2], fields[3], fields[4], fields[5], fields[6], line.substr(start)};
}

FrameworkTest::FrameworkTest()
    : m_configPath(m_root.Path() + "/conf/test.ini")
{
    ::setenv("PRODUCT_STORAGE_CONFIG", m_configPath.c_str(), 1);
    Configure({});
}

FrameworkTest::~FrameworkTest()
{
    // What is logged between two tests must not make the directory anew.
    WriteConfig("[Log]\nFile =\n");
    ConfigReader::getInt("Log", "Level", true);
}

void FrameworkTest::Configure(const Settings& settings)
{
    Settings all = settings;
    all["Product"].emplace("Root", m_root.Path());
    all["Log"].emplace("File", "log/test.log");
    std::ostringstream text;
    for (const auto& [section, keys] : all) {
        text << "[" << section << "]\n";
        for (const auto& [key, value] : keys) {
            text << key << " = " << value << "\n";
        }
    }
    WriteConfig(text.str());
    ConfigReader::getInt("Log", "Level", true);
}

std::vector<LogLine> FrameworkTest::LogLines() const
{
    std::vector<LogLine> lines;
    std::istringstream text(ReadText(LogPath()));
    for (std::string line; std::getline(text, line);) {
        lines.push_back(SplitLogLine(line));
    }
    return lines;
}

std::vector<std::string> FrameworkTest::LogTexts(const std::string& level) const
{
    std::vector<std::string> texts;
    for (const LogLine& line : LogLines()) {
        if (line.level == level) {
            texts.push_back(line.text);
        }
    }
    return texts;
}
