#ifndef PRODUCT_STORAGE_TESTS_FAKES_FAKE_LOG_H
#define PRODUCT_STORAGE_TESTS_FAKES_FAKE_LOG_H

#include <gmock/gmock.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

/// One captured log line.
struct LogLine {
    int level = 0;
    std::string module;
    unsigned long requestId = 0;
    std::string function;
    int line = 0;
    int code = -1; ///< the integer that was streamed first; -1 when none was
    std::string text;
};

void PrintTo(const LogLine& line, std::ostream* out);

/// Captures every line that is logged, of all levels and threads, in the order in which the lines were finished.
class FakeLog {
public:
    using Observer = std::function<void(const LogLine&)>;

    void Append(const LogLine& line);
    void Clear();

    /// Called with each line on the thread that logs it, once the line is captured: a place to hold that thread.
    void Observe(const Observer& observer);

    /// Blocks until `count` lines of this text were captured, those of before included.
    void Await(const std::string& text, int count = 1);

    std::vector<LogLine> Lines() const;

    /// The lines without those that only mark the entry into and the exit from an operation.
    std::vector<LogLine> Told() const;

private:
    mutable std::mutex m_lock;
    std::condition_variable m_appended;
    std::vector<LogLine> m_lines; // guarded by m_lock
    Observer m_observer;          // guarded by m_lock
};

/// Matches a line by level and whole text.
MATCHER_P2(IsLine, level, text, "is a line of level " + std::to_string(level) + " saying \"" + std::string(text) + "\"")
{
    return arg.level == level && arg.text == text && arg.code == 0;
}

/// The same with the operation that logs it.
MATCHER_P3(IsLineOf, function, level, text,
           "is a line of " + std::string(function) + " of level " + std::to_string(level) + " saying \"" +
               std::string(text) + "\"")
{
    return arg.function == function && arg.level == level && arg.text == text && arg.code == 0;
}

#endif
