#include "common/framework/config_reader.h"

#include "base/files.h"
#include "framework/config/config_file.h"
#include "framework/config/config_interpreter.h"
#include "framework/config/current_config.h"
#include "framework/support/log_line.h"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <limits>

using namespace Framework;

namespace {

std::vector<std::string> ReadStrictly(ConfigValues& values)
{
    const std::string path = ConfigFilePath();
    std::string text;
    FileState state;
    ReadConfigText(path, text, state);
    ConfigReading reading = InterpretConfig(path, text);
    values = reading.values;
    if (state.error != 0 && state.error != ENOENT) {
        reading.problems = {path + " cannot be read: " + Base::ErrorText(state.error)};
    }
    // A program would find out when it connects, and fail then: nothing else is trusted in the file's place.
    for (const SettingId setting : {SettingId::HttpCaFile, SettingId::CertTrustStore}) {
        const std::string& named = values.Of(setting).text;
        const int error = named.empty() ? 0 : LookAtFile(named.c_str()).error;
        if (error != 0) {
            const SettingSpec& spec = SpecOf(setting);
            reading.problems.push_back(path + ": [" + std::string(spec.section) + "] " + std::string(spec.key) +
                                       " names " + named + ": " + Base::ErrorText(error));
        }
    }
    return reading.problems;
}

} // namespace

int ConfigReader::getInt(const std::string& section, const std::string& key, bool quietDefault)
{
    const SettingSpec* const spec = FindSetting(section, key);
    if (spec == nullptr || spec->kind != SettingKind::Integer) {
        FRAMEWORK_LOG(Error) << "[" << section << "] " << key << " is no whole number of the configuration.";
        return 0;
    }
    try {
        const auto values = Config::Current();
        const SettingValue& value = values->Of(spec->setting);
        if (value.isDefault && !quietDefault) {
            FRAMEWORK_LOG(Notice) << "[" << section << "] " << key << " has its default, " << value.number << ".";
        }
        return static_cast<int>(std::min<std::int64_t>(value.number, std::numeric_limits<int>::max()));
    } catch (const std::exception&) {
        return 0; // out of memory
    }
}

std::set<int> ConfigReader::getNerovaxDiskArrayNotRetryErrorCode()
{
    std::set<int> codes;
    try {
        const auto values = Config::Current();
        for (const std::int64_t code : values->Of(Framework::SettingId::NotRetryErrorCodes).numbers) {
            codes.insert(static_cast<int>(code));
        }
    } catch (const std::exception&) {
        codes.clear(); // out of memory
    }
    return codes;
}

std::string ConfigReader::getFile()
{
    return ConfigFilePath();
}

std::vector<std::string> ConfigReader::check(std::vector<Setting>& settings)
{
    ConfigValues values;
    std::vector<std::string> problems = ReadStrictly(values);
    settings.clear();
    for (const SettingSpec& spec : AllSettings()) {
        const SettingValue& value = values.Of(spec.setting);
        settings.push_back({std::string(spec.section), std::string(spec.key), value.text, value.isDefault});
    }
    return problems;
}
