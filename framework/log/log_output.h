#ifndef PRODUCT_STORAGE_FRAMEWORK_LOG_LOG_OUTPUT_H
#define PRODUCT_STORAGE_FRAMEWORK_LOG_LOG_OUTPUT_H

#include "framework/config/config_values.h"
#include "framework/config/current_config.h"
#include "framework/log/listeners.h"
#include "framework/log/log_file.h"
#include "framework/log/log_record.h"
#include "framework/support/immortal.h"

#include <atomic>
#include <cstdint>
#include <ctime>
#include <memory>
#include <mutex>
#include <string>

namespace Framework {

/// Where the lines of the log go: the file and the console that the configuration names.
///
/// Any thread may call; there is one object, which lives as long as the process. Nothing is thrown.
class LogOutput {
public:
    static LogOutput& Instance() noexcept { return Immortal<LogOutput>(); }

    LogOutput();

    /// Whether a line of `level` goes anywhere. Looks at the configuration when another of its readers saw it change,
    /// and once in each second, then at the file too, which another program may have renamed; otherwise it costs a few
    /// loads.
    static bool Wants(int level) noexcept
    {
        if (Config::Generation() != generation.load(std::memory_order_relaxed) || IsLookDue()) {
            Instance().Look();
        }
        return level >= threshold.load(std::memory_order_relaxed) || Listeners::Want(level);
    }

    void Write(const LogRecord& record) noexcept;

private:
    // True for one of the threads that ask in the same second. Any other second will do: the clock may be set back.
    static bool IsLookDue() noexcept
    {
        const std::time_t now = std::time(nullptr); // of all clocks the cheapest
        return now != lookSecond.load(std::memory_order_relaxed) &&
               now != lookSecond.exchange(now, std::memory_order_relaxed);
    }

    void Look() noexcept;
    void Apply(const ConfigValues& values);                                    // requires m_mutex
    void LeaveRenamedFile();                                                   // requires m_mutex
    void OpenFile();                                                           // requires m_mutex
    void BeginNewFile(std::size_t lineBytes);                                  // requires m_mutex
    void WriteToFile(const std::string& line);                                 // requires m_mutex
    void WriteToConsole(const LogRecord& record, const std::string& fileLine); // requires m_mutex
    void LoseFile(const std::string& reason);                                  // requires m_mutex

    static constexpr int NO_LEVEL = 1000; ///< above every level: nothing goes there

    // What each line asks for, most of all one that goes nowhere. They are the one object's, and outside of it because
    // that takes one load less.
    inline static std::atomic<int> threshold = 0;            // the least level that goes anywhere
    inline static std::atomic<std::uint64_t> generation = 0; // of the configuration that is in force; 0 is none yet
    inline static std::atomic<std::time_t> lookSecond = -1;  // in which the configuration was last looked at

    const int m_personLevel; // least level for the console in a person's form; NO_LEVEL is none
    std::mutex m_mutex;
    int m_fileLevel = NO_LEVEL;           // guarded by m_mutex
    bool m_isConsoleOn = false;           // guarded by m_mutex
    std::string m_path;                   // guarded by m_mutex; empty for no file
    std::size_t m_maxBytes = 0;           // guarded by m_mutex
    std::size_t m_maxFiles = 0;           // guarded by m_mutex
    std::int64_t m_nextOpenSeconds = 0;   // guarded by m_mutex; monotonic clock; when a lost file is tried again
    std::int64_t m_nextRenameSeconds = 0; // guarded by m_mutex; the same for one that could not be renamed
    bool m_isLossSaid = false;            // guarded by m_mutex
    bool m_isGrowthSaid = false;          // guarded by m_mutex
    std::unique_ptr<LogFile> m_file;      // guarded by m_mutex; null while there is none
};

} // namespace Framework

#endif
