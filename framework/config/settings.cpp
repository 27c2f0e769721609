#include "framework/config/settings.h"

#include <algorithm>
#include <limits>

namespace Framework {

namespace {

constexpr std::int64_t MAX_INT = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t MIN_INT = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t MEBIBYTE = 1024 * 1024;

// The numbers of a setting that is no number.
#define NO_RANGE 0, 0

constexpr std::array<SettingSpec, SETTING_COUNT> SETTINGS = {{
    {SettingId::DosRequestInterval, "BackupNode", "DosRequestInterval", SettingKind::Integer, "1", 0, MAX_INT,
     "seconds that must pass after a request to an array for the next one to start a new burst"},
    {SettingId::DosRequestCount, "BackupNode", "DosRequestCount", SettingKind::Integer, "100", 0, MAX_INT,
     "requests that one burst may have before one is delayed and begins the next"},
    {SettingId::TestNetTimeOut, "BackupNode", "TestNetTimeOut", SettingKind::Integer, "3", 1, 3600,
     "seconds to wait for an iSCSI portal to accept a connection"},
    {SettingId::NotRetryErrorCodes, "BackupNode", "NotRetryErrorCodes", SettingKind::IntegerList, "", MIN_INT, MAX_INT,
     "array error codes of a login after which no other management address is tried"},
    {SettingId::LogFile, "Log", "File", SettingKind::Path, "log/ProductStorage.log", NO_RANGE,
     "the log file; empty for none"},
    {SettingId::LogLevel, "Log", "Level", SettingKind::Integer, "1", 0, 4, "the least level of a line that is written"},
    {SettingId::LogConsole, "Log", "Console", SettingKind::Flag, "false", NO_RANGE,
     "whether each line of the log goes to standard error, too"},
    {SettingId::LogMaxFileBytes, "Log", "MaxFileBytes", SettingKind::Integer, "16777216", 4096, 1024 * MEBIBYTE,
     "bytes after which the log file is renamed and a new one begun"},
    {SettingId::LogMaxFiles, "Log", "MaxFiles", SettingKind::Integer, "5", 0, 1000, "renamed log files that are kept"},
    {SettingId::HttpVerifyPeer, "Http", "VerifyPeer", SettingKind::Flag, "true", NO_RANGE,
     "whether an https server must show a trusted certificate for its address"},
    {SettingId::HttpCaFile, "Http", "CaFile", SettingKind::Path, "", NO_RANGE,
     "PEM file of the certificates that are trusted; empty for the system's"},
    {SettingId::HttpMaxBodyBytes, "Http", "MaxBodyBytes", SettingKind::Integer, "67108864", 1024, 4096 * MEBIBYTE,
     "bytes that the body of an answer may have, after decompression"},
    {SettingId::HttpConnectTimeoutSeconds, "Http", "ConnectTimeoutSeconds", SettingKind::Integer, "10", 1, 3600,
     "seconds in which a connection, with its TLS handshake, must have come about"},
    {SettingId::SecurityKeyFile, "Security", "KeyFile", SettingKind::Path, "conf/product.key", NO_RANGE,
     "the key that stored credentials are encrypted with"},
    {SettingId::ShellPath, "Shell", "Path", SettingKind::PathList, "", NO_RANGE,
     "folders, separated by colons, that are searched for commands before all others"},
    {SettingId::ShellTimeoutSeconds, "Shell", "TimeoutSeconds", SettingKind::Integer, "180", 1, 86400,
     "seconds that a command may run"},
    {SettingId::ProductRoot, "Product", "Root", SettingKind::Path, "", NO_RANGE,
     "the product's root directory; empty for the one above the executable's"},
    {SettingId::CertTrustStore, "Cert", "TrustStore", SettingKind::Path, "", NO_RANGE,
     "PEM file, or directory of certificates by hash, that arrays' certificates are verified against; empty for "
     "[Http] CaFile"},
    {SettingId::CertAlertDir, "Cert", "AlertDir", SettingKind::Path, "conf/alerts", NO_RANGE,
     "directory of the certificate alerts"},
}};

#undef NO_RANGE

constexpr bool IsInEnumOrder()
{
    for (std::size_t index = 0; index < SETTING_COUNT; ++index) {
        if (static_cast<std::size_t>(SETTINGS[index].setting) != index) {
            return false;
        }
    }
    return true;
}
static_assert(IsInEnumOrder());

} // namespace

const std::array<SettingSpec, SETTING_COUNT>& AllSettings()
{
    return SETTINGS;
}

const SettingSpec& SpecOf(SettingId setting)
{
    return SETTINGS[static_cast<std::size_t>(setting)];
}

const SettingSpec* FindSetting(std::string_view section, std::string_view key)
{
    const auto found = std::find_if(SETTINGS.begin(), SETTINGS.end(), [&](const SettingSpec& spec) {
        return spec.section == section && spec.key == key;
    });
    return found == SETTINGS.end() ? nullptr : &*found;
}

bool IsSection(std::string_view section)
{
    return std::any_of(SETTINGS.begin(), SETTINGS.end(),
                       [&](const SettingSpec& spec) { return spec.section == section; });
}

} // namespace Framework
