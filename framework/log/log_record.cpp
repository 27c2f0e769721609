#include "framework/log/log_record.h"

#include <spdlog/fmt/fmt.h>

#include <ctime>

#include <algorithm>
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

bool IsPlain(char character, const Escaping& escaping)
{
    return !IsControl(character) && !(escaping.bar && character == '|') && !(escaping.backslash && character == '\\');
}

void AppendEscaped(std::string& line, std::string_view text, const Escaping& escaping)
{
    while (!text.empty()) {
        const auto* const end = std::find_if_not(text.begin(), text.end(),
                                                 [&escaping](char character) { return IsPlain(character, escaping); });
        const auto plain = static_cast<std::size_t>(end - text.begin());
        line.append(text.data(), plain);
        text.remove_prefix(plain);
        if (text.empty()) {
            return;
        }
        const char character = text.front();
        text.remove_prefix(1);
        if (character == '\n') {
            line += "\\n";
        } else if (character == '\r') {
            line += "\\r";
        } else if (character == '\t') {
            line += "\\t";
        } else if (character == '\\') {
            line += "\\\\";
        } else {
            fmt::format_to(std::back_inserter(line), "\\x{:02x}", static_cast<unsigned char>(character));
        }
    }
}

/// The text of a second, up to its fraction. Nothing is freed at its thread's end, when lines may still come.
struct SecondText {
    std::time_t second = -1;
    std::array<char, 32> text = {};
    std::size_t size = 0;
};

// Lines come by the dozen in one second: its text is made once for each thread.
void AppendTime(std::string& line)
{
    thread_local SecondText last;
    timespec now = {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    if (now.tv_sec != last.second) {
        std::tm parts = {};
        ::gmtime_r(&now.tv_sec, &parts);
        const auto written = fmt::format_to_n(
            last.text.data(), last.text.size(), "{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.", parts.tm_year + 1900,
            parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec);
        last.size = std::min(written.size, last.text.size());
        last.second = now.tv_sec;
    }
    line.append(last.text.data(), last.size);
    std::array<char, 7> fraction = {'0', '0', '0', '0', '0', '0', 'Z'};
    auto microseconds = now.tv_nsec / 1000;
    for (std::size_t i = 6; i-- > 0; microseconds /= 10) {
        fraction.at(i) = static_cast<char>('0' + microseconds % 10);
    }
    line.append(fraction.data(), fraction.size());
}

template <typename Number>
void AppendNumber(std::string& line, Number number)
{
    const fmt::format_int text(number);
    line.append(text.data(), text.size());
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
    line += '|';
    AppendNumber(line, record.level);
    line += '|';
    AppendEscaped(line, record.moduleName, FIELD);
    line += '|';
    AppendNumber(line, record.requestId);
    line += '|';
    AppendEscaped(line, record.functionName, FIELD);
    line += '|';
    AppendNumber(line, record.line);
    line += '|';
    AppendNumber(line, record.code);
    line += '|';
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
