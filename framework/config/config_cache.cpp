#include "framework/config/config_cache.h"

#include "base/files.h"
#include "framework/support/log_line.h"

#include <ctime>

#include <cerrno>
#include <utility>

namespace Framework {

namespace {

// File times move in the kernel's ticks, so that two writes within one tick may look the same. Only a file that was
// left alone for longer than the longest tick is known by its state; a younger one is read again and compared.
constexpr std::int64_t SETTLED_NANOSECONDS = 50'000'000;

// How long a look at the file serves those that need not see each change at once.
constexpr std::int64_t MOMENT_NANOSECONDS = 10'000'000;

std::int64_t Nanoseconds(clockid_t clock)
{
    timespec now = {};
    ::clock_gettime(clock, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

void LogProblems(const std::vector<std::string>& problems)
{
    for (const std::string& problem : problems) {
        FRAMEWORK_LOG(Error) << problem;
    }
}

} // namespace

std::shared_ptr<const ConfigValues> ConfigCache::Current()
{
    std::vector<std::string> problems;
    std::shared_ptr<const ConfigValues> values = Refresh(problems);
    LogProblems(problems); // without the lock: the log reads the configuration
    return values;
}

std::shared_ptr<const ConfigValues> ConfigCache::Recent()
{
    {
        const char* const path = ConfigFilePath();
        const std::lock_guard<std::mutex> guard(m_mutex);
        const std::int64_t age = Nanoseconds(CLOCK_MONOTONIC_COARSE) - m_lookedNanoseconds;
        if (m_values != nullptr && path == m_path && age < MOMENT_NANOSECONDS) {
            return m_values;
        }
    }
    return Current();
}

std::shared_ptr<const ConfigValues> ConfigCache::Refresh(std::vector<std::string>& problems)
{
    const char* const path = ConfigFilePath();
    const std::int64_t lookedNanoseconds = Nanoseconds(CLOCK_MONOTONIC_COARSE);
    const FileState state = LookAtFile(path);
    const std::lock_guard<std::mutex> guard(m_mutex);
    if (!IsFresh(path, state)) {
        Read(path, problems);
    }
    m_lookedNanoseconds = lookedNanoseconds;
    return m_values;
}

bool ConfigCache::IsFresh(const char* path, const FileState& state) const
{
    return m_values != nullptr && m_isSettled && path == m_path && state == m_state;
}

void ConfigCache::Read(const std::string& path, std::vector<std::string>& problems)
{
    const std::int64_t now = Nanoseconds(CLOCK_REALTIME);
    std::string text;
    FileState state;
    ReadConfigText(path, text, state);
    const bool isSame = m_values != nullptr && path == m_path && state == m_state && text == m_text;
    m_isSettled = state.error != 0 || now - state.changedNanoseconds > SETTLED_NANOSECONDS;
    if (isSame) {
        return;
    }
    m_path = path;
    m_state = state;
    m_text.swap(text);
    if (state.error == 0 || state.error == ENOENT) {
        Accept(InterpretConfig(path, m_text), problems);
        return;
    }
    problems.push_back(path + " cannot be read: " + Base::ErrorText(state.error));
    if (m_values == nullptr) {
        Publish(InterpretConfig(path, {}).values);
    }
}

void ConfigCache::Accept(const ConfigReading& reading, std::vector<std::string>& problems)
{
    problems.insert(problems.end(), reading.problems.begin(), reading.problems.end());
    if (reading.isUsable || m_values == nullptr) {
        Publish(reading.values);
    }
}

void ConfigCache::Publish(ConfigValues values)
{
    values.generation = generation.load(std::memory_order_relaxed) + 1;
    m_values = std::make_shared<const ConfigValues>(std::move(values));
    generation.store(m_values->generation, std::memory_order_release);
}

} // namespace Framework
