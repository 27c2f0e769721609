#ifndef PRODUCT_STORAGE_FRAMEWORK_CONFIG_SETTINGS_H
#define PRODUCT_STORAGE_FRAMEWORK_CONFIG_SETTINGS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Framework {

/// Every setting of the configuration file.
enum class Setting {
    DosRequestInterval,
    DosRequestCount,
    TestNetTimeOut,
    NotRetryErrorCodes,
    LogFile,
    LogLevel,
    LogConsole,
    LogMaxFileBytes,
    LogMaxFiles,
    HttpVerifyPeer,
    HttpCaFile,
    HttpMaxBodyBytes,
    SecurityKeyFile,
    ShellPath,
    ShellTimeoutSeconds,
    ProductRoot,
    CertTrustStore,
    CertAlertDir,
};

inline constexpr std::size_t SETTING_COUNT = static_cast<std::size_t>(Setting::CertAlertDir) + 1;

enum class SettingKind {
    Integer,     ///< a whole number from `minimum` to `maximum`
    Flag,        ///< true or false
    IntegerList, ///< whole numbers from `minimum` to `maximum`, separated by commas; may be empty
    Path,        ///< a path; a relative one is meant from the product's root; may be empty
    PathList,    ///< paths separated by colons; may be empty
};

struct SettingSpec {
    Setting setting;
    std::string_view section;
    std::string_view key;
    SettingKind kind;
    std::string_view defaultText; ///< as one would write it into the file
    std::int64_t minimum;
    std::int64_t maximum;
    std::string_view meaning;
};

/// One setting's value.
struct SettingValue {
    std::string text;                  ///< as in the file; paths are absolute here
    std::int64_t number = 0;           ///< of an Integer; 1 or 0 for a Flag
    std::vector<std::int64_t> numbers; ///< of an IntegerList
    std::vector<std::string> paths;    ///< of a PathList
    bool isDefault = true;             ///< nothing in the file names it, or what it says is malformed
};

/// All settings, at the index of their enumerator. This table is what reads and checks the file; the shipped file and
/// docs/configuration.md are tested against it.
const std::array<SettingSpec, SETTING_COUNT>& AllSettings();

const SettingSpec& SpecOf(Setting setting);

/// The setting that the file calls so; null when there is none.
const SettingSpec* FindSetting(std::string_view section, std::string_view key);

bool IsSection(std::string_view section);

/// Reads `text` as a value of `spec`, with relative paths meant from `root`. False, with what is wrong in `problem` and
/// `value` undefined, when it is malformed.
bool ParseSetting(const SettingSpec& spec, const std::string& text, const std::string& root, SettingValue& value,
                  std::string& problem);

} // namespace Framework

#endif
