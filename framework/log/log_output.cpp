#include "framework/log/log_output.h"

#include "base/file_lock.h"
#include "base/files.h"
#include "base/printable_text.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>

namespace Framework {

namespace {

constexpr std::int64_t RETRY_SECONDS = 10;

// Moves in steps of a few milliseconds, and costs no system call.
std::int64_t MonotonicSeconds() noexcept
{
    timespec now = {};
    ::clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return now.tv_sec;
}

// The level that the environment asks the console for; `none` when it asks for nothing that is a number.
int PersonLevel(int none)
{
    const char* const text = std::getenv("PRODUCT_STORAGE_LOG_CONSOLE");
    int level = none;
    if (text != nullptr && std::from_chars(text, text + std::strlen(text), level).ec != std::errc()) {
        return none;
    }
    return level;
}

void WriteToStandardError(std::string line)
{
    line = Base::Printable(line); // a terminal may stand behind it, and texts of the array in it
    line += '\n';
    Base::WriteWithoutSigpipe(STDERR_FILENO, line); // it may be a pipe, and the program's signals are not the log's
}

} // namespace

LogOutput::LogOutput()
    : m_personLevel(PersonLevel(NO_LEVEL))
{
}

void LogOutput::Look() noexcept
{
    try {
        // Without the lock: a problem of the file is logged in here, by way of this very object.
        const auto values = Config::Current();
        const std::lock_guard<std::mutex> guard(m_mutex);
        if (values->generation > generation.load(std::memory_order_relaxed)) {
            Apply(*values);
        }
        LeaveRenamedFile();
    } catch (const std::exception&) {
        return; // out of memory: what was in force stays so
    }
}

void LogOutput::Apply(const ConfigValues& values)
{
    const std::string& path = values.Of(SettingId::LogFile).text;
    const auto maxBytes = static_cast<std::size_t>(values.Of(SettingId::LogMaxFileBytes).number);
    const auto maxFiles = static_cast<std::size_t>(values.Of(SettingId::LogMaxFiles).number);
    if (path != m_path || maxBytes != m_maxBytes || maxFiles != m_maxFiles) {
        m_path = path;
        m_maxBytes = maxBytes;
        m_maxFiles = maxFiles;
        m_file.reset();
        m_isLossSaid = false;
        m_isGrowthSaid = false;
        m_nextOpenSeconds = 0;
        m_nextRenameSeconds = 0;
    }
    m_isConsoleOn = values.Of(SettingId::LogConsole).number != 0;
    const auto level = static_cast<int>(values.Of(SettingId::LogLevel).number);
    const bool isForm = m_personLevel == NO_LEVEL && m_isConsoleOn;
    m_fileLevel = m_path.empty() && !isForm ? NO_LEVEL : level;
    threshold.store(std::min(m_fileLevel, m_personLevel), std::memory_order_relaxed);
    generation.store(values.generation, std::memory_order_relaxed);
}

// Of several programs that share the file, one renames it when it is full; the others follow to the new one.
void LogOutput::LeaveRenamedFile()
{
    if (m_file != nullptr && m_file->LookAt(m_path) == LogFile::Named::AnotherFile) {
        m_file.reset();
        m_nextOpenSeconds = 0;
    }
}

void LogOutput::Write(const LogRecord& record) noexcept
{
    try {
        Listeners::Tell(record);
        if (generation.load(std::memory_order_relaxed) == 0) {
            Look(); // another thread reads the configuration for the first time; where lines go is not known before
        }
        if (record.level < threshold.load(std::memory_order_relaxed)) {
            return; // nobody else wants it
        }
        std::string line = FormatForFile(record);
        const std::lock_guard<std::mutex> guard(m_mutex);
        WriteToConsole(record, line);
        if (!m_path.empty() && record.level >= m_fileLevel) {
            line += '\n';
            WriteToFile(line);
        }
    } catch (const std::exception&) {
        return; // out of memory: the line is lost
    }
}

void LogOutput::WriteToConsole(const LogRecord& record, const std::string& fileLine)
{
    if (m_personLevel != NO_LEVEL) {
        if (record.level >= m_personLevel) {
            WriteToStandardError(FormatForPerson(record));
        }
    } else if (m_isConsoleOn && record.level >= m_fileLevel) {
        WriteToStandardError(fileLine);
    }
}

void LogOutput::WriteToFile(const std::string& line)
{
    if (m_file == nullptr) {
        OpenFile();
    }
    if (m_file == nullptr) {
        return;
    }
    if (m_file->WouldExceed(m_maxBytes, line.size())) {
        BeginNewFile(line.size());
    }
    try {
        m_file->Append(line);
        m_isLossSaid = false;
    } catch (const std::exception& error) {
        LoseFile(error.what());
    }
}

void LogOutput::OpenFile()
{
    const std::int64_t now = MonotonicSeconds();
    if (now < m_nextOpenSeconds) {
        return;
    }
    m_nextOpenSeconds = now + RETRY_SECONDS;
    try {
        m_file = std::make_unique<LogFile>(m_path);
    } catch (const std::exception& error) {
        LoseFile(error.what());
    }
}

// One of the programs that share the file renames it. While one does so, and where that cannot be, the lines go on into
// the file that is there: no line waits for another program, and none is lost.
void LogOutput::BeginNewFile(std::size_t lineBytes)
{
    const std::int64_t now = MonotonicSeconds();
    if (now < m_nextRenameSeconds) {
        return;
    }
    try {
        Base::MakeParentDirectory(m_path); // it may have been taken away with all that is in it
        Base::FileLock lock(m_path + ".lock");
        if (!lock.TryLock()) {
            return;
        }
        if (m_file->LookAt(m_path) == LogFile::Named::ThisFile && m_file->WouldExceed(m_maxBytes, lineBytes)) {
            SetLogFileAside(m_path, m_maxFiles);
        }
        m_file = std::make_unique<LogFile>(m_path);
        m_isGrowthSaid = false;
    } catch (const std::exception& error) {
        m_nextRenameSeconds = now + RETRY_SECONDS;
        if (!m_isGrowthSaid) {
            m_isGrowthSaid = true;
            WriteToStandardError("The log file " + m_path + " grows beyond its limit: " + error.what());
        }
    }
}

// The lines are lost until one can be written again; that is said once.
void LogOutput::LoseFile(const std::string& reason)
{
    m_file.reset();
    if (!m_isLossSaid) {
        m_isLossSaid = true;
        WriteToStandardError("The log file " + m_path + " cannot be written, lines are lost: " + reason);
    }
}

} // namespace Framework
