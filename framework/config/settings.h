#ifndef PRODUCT_STORAGE_FRAMEWORK_CONFIG_SETTINGS_H
#define PRODUCT_STORAGE_FRAMEWORK_CONFIG_SETTINGS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Framework {

/// Every setting of the configuration file.
enum class SettingId {
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
    HttpConnectTimeoutSeconds,
    SecurityKeyFile,
    ShellPath,
    ShellTimeoutSeconds,
    ProductRoot,
    CertTrustStore,
    CertAlertDir,
};

inline constexpr std::size_t SETTING_COUNT = static_cast<std::size_t>(SettingId::CertAlertDir) + 1;

enum class SettingKind {
    Integer,     ///< a whole number from `minimum` to `maximum`
    Flag,        ///< true or false
    IntegerList, ///< whole numbers from `minimum` to `maximum`, separated by commas; may be empty
    Path,        ///< a path; a relative one is meant from the product's root; may be empty
    PathList,    ///< paths separated by colons; may be empty
};

struct SettingSpec {
    SettingId setting;
    std::string_view section;
    std::string_view key;
    SettingKind kind;
    std::string_view defaultText; ///< as one would write it into the file
    std::int64_t minimum;
    std::int64_t maximum;
    std::string_view meaning;
};

/// All settings, at the index of their enumerator. This table is what reads and checks the file; the shipped file and
/// docs/configuration.md are tested against it.
const std::array<SettingSpec, SETTING_COUNT>& AllSettings();

const SettingSpec& SpecOf(SettingId setting);

/// The setting that the file calls so; null when there is none.
const SettingSpec* FindSetting(std::string_view section, std::string_view key);

bool IsSection(std::string_view section);

} // namespace Framework

#endif
