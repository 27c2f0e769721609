#ifndef PRODUCT_STORAGE_FRAMEWORK_CONFIG_CONFIG_CACHE_H
#define PRODUCT_STORAGE_FRAMEWORK_CONFIG_CONFIG_CACHE_H

#include "framework/config/config_file.h"
#include "framework/config/config_interpreter.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Framework {

/// The configuration file's values, read again when the file has changed; an unchanged file costs a stat.
class ConfigCache {
public:
    /// The values of the file as it is now; what was last read well when it cannot be read. Each problem of a changed
    /// file is logged once.
    std::shared_ptr<const ConfigValues> Current();

    /// The same, but the file is not looked at again when that was done a moment ago.
    std::shared_ptr<const ConfigValues> Recent();

    /// Of the values that were read last in this process; 0 before the first. Costs a load.
    static std::uint64_t Generation() noexcept { return generation.load(std::memory_order_acquire); }

private:
    std::shared_ptr<const ConfigValues> Refresh(std::vector<std::string>& problems);
    bool IsFresh(const char* path, const FileState& state) const;                  // requires m_mutex
    void Read(const std::string& path, std::vector<std::string>& problems);        // requires m_mutex
    void Accept(const ConfigReading& reading, std::vector<std::string>& problems); // requires m_mutex
    void Publish(ConfigValues values);                                             // requires m_mutex

    std::mutex m_mutex;
    std::string m_path;                           // guarded by m_mutex
    FileState m_state;                            // guarded by m_mutex; of the file at m_path when it was last read
    std::string m_text;                           // guarded by m_mutex; what was read then
    bool m_isSettled = false;                     // guarded by m_mutex; m_state tells every later change
    std::int64_t m_lookedNanoseconds = 0;         // guarded by m_mutex; when m_state was last seen, by a steady clock
    std::shared_ptr<const ConfigValues> m_values; // guarded by m_mutex; null before the first read

    inline static std::atomic<std::uint64_t> generation = 0; // written under m_mutex of the process's only object
};

} // namespace Framework

#endif
