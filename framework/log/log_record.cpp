#include "framework/log/log_record.h"

#include <spdlog/fmt/fmt.h>

#include <ctime>

#include <array>
#include <iterator>

namespace Framework {

namespace {

struct Escaping {
    bool backslash; ///< so that the text can be read back
    bool bar;       ///< in a field that a bar ends
};

constexpr Escaping FIELD = {true, true};
constexpr Escaping TEXT = {true, false};
constexpr Escaping FOR_PERSON = {false, false};

bool IsControl(char character)
{
    return static_cast<unsigned char>(character) < 0x20 || character == 0x7f;
}

void AppendEscaped(std::string& line, std::string_view text, const Escaping& escaping)
{
    for (const char character : text) {
        if (character == '\n') {
            line += "\\n";
        } else if (character == '\r') {
            line += "\\r";
        } else if (character == '\t') {
            line += "\\t";
        } else if (IsControl(character) || (escaping.bar && character == '|')) {
            fmt::format_to(std::back_inserter(line), "\\x{:02x}", static_cast<unsigned char>(character));
        } else if (escaping.backslash && character == '\\') {
            line += "\\\\";
        } else {
            line += character;
        }
    }
}

void AppendTime(std::string& line)
{
    timespec now = {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    std::tm parts = {};
    ::gmtime_r(&now.tv_sec, &parts);
    fmt::format_to(std::back_inserter(line), "{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:06}Z", parts.tm_year + 1900,
                   parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec, now.tv_nsec / 1000);
}

std::string_view LevelWord(int level)
{
    constexpr std::array<std::string_view, 5> WORDS = {"periodic", "info", "notice", "warning", "error"};
    if (level < 0) {
        return WORDS.front();
    }
    const auto index = static_cast<std::size_t>(level);
    return index < WORDS.size() ? WORDS[index] : WORDS.back();
}

} // namespace

std::string FormatForFile(const LogRecord& record)
{
    constexpr std::size_t USUAL_FIELDS_SIZE = 96;
    std::string line;
    line.reserve(USUAL_FIELDS_SIZE + record.text.size());
    AppendTime(line);
    fmt::format_to(std::back_inserter(line), "|{}|", record.level);
    AppendEscaped(line, record.moduleName, FIELD);
    fmt::format_to(std::back_inserter(line), "|{}|", record.requestId);
    AppendEscaped(line, record.functionName, FIELD);
    fmt::format_to(std::back_inserter(line), "|{}|{}|", record.line, record.code);
    AppendEscaped(line, record.text, TEXT);
    return line;
}

std::string FormatForPerson(const LogRecord& record)
{
    std::string line(LevelWord(record.level));
    line += ": ";
    AppendEscaped(line, record.text, FOR_PERSON);
    line += " (";
    AppendEscaped(line, record.functionName, FOR_PERSON);
    line += ')';
    return line;
}

} // namespace Framework
