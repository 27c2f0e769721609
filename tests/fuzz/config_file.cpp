#include "framework/config/config_interpreter.h"

#include "common/framework/config_reader.h"
#include "tests/fuzz/support/input.h"
#include "tests/fuzz/support/require.h"
#include "tests/support/files.h"

#include <algorithm>

using namespace Fuzz;
using namespace Framework;

namespace {

constexpr const char* FILE_NAME = "backupnode.ini";

void CheckNumber(const SettingSpec& spec, std::int64_t number)
{
    Require(number >= spec.minimum && number <= spec.maximum, "a number lies in its setting's range");
}

void CheckValue(const SettingSpec& spec, const SettingValue& value)
{
    if (spec.kind == SettingKind::Integer) {
        CheckNumber(spec, value.number);
    } else if (spec.kind == SettingKind::Flag) {
        Require(value.number == 0 || value.number == 1, "a flag is true or false");
    } else if (spec.kind == SettingKind::Path) {
        Require(value.text.empty() || value.text.front() == '/' || spec.setting == SettingId::ProductRoot,
                "a path is absolute");
    }
    for (const std::int64_t number : value.numbers) {
        CheckNumber(spec, number);
    }
    for (const std::string& path : value.paths) {
        Require(!path.empty() && path.front() == '/', "every path of a list is absolute");
    }
}

// The values as a file of their own.
std::string Write(const ConfigValues& values)
{
    std::string text;
    std::string_view section;
    for (const SettingSpec& spec : AllSettings()) {
        if (spec.section != section) {
            section = spec.section;
            text += "[" + std::string(section) + "]\n";
        }
        // The root has lost its final slashes, before which there may be nothing, or a blank.
        const char* const end = spec.setting == SettingId::ProductRoot ? "/\n" : "\n";
        text += std::string(spec.key) + "=" + values.Of(spec.setting).text + end;
    }
    return text;
}

void CheckReading(const std::string& path, const ConfigReading& reading)
{
    for (const SettingSpec& spec : AllSettings()) {
        const SettingValue& value = reading.values.Of(spec.setting);
        CheckValue(spec, value);
        Require(reading.isUsable || value.isDefault, "what is no configuration file changes nothing");
    }
    Require(reading.isUsable || reading.problems.size() == 1, "what is no configuration file is one problem");
    for (const std::string& problem : reading.problems) {
        Require(problem.compare(0, path.size(), path) == 0, "a problem names the file");
    }
    const ConfigReading again = InterpretConfig(path, Write(reading.values));
    Require(again.isUsable && again.problems.empty(), "what was read well can be written and read again");
    for (const SettingSpec& spec : AllSettings()) {
        const SettingValue& value = reading.values.Of(spec.setting);
        const SettingValue& same = again.values.Of(spec.setting);
        Require(value.text == same.text && value.number == same.number && value.numbers == same.numbers &&
                    value.paths == same.paths,
                "reading it again gives the same");
    }
}

} // namespace

// The content of a configuration file. It is never the one that this process works by: it could name any log file.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const TemporaryFolder FOLDER;
    const std::string text = Input(data, size).TakeRest();
    const std::string path = FOLDER.File(FILE_NAME);
    const ConfigReading reading = InterpretConfig(path, text);
    CheckReading(path, reading);

    FOLDER.Write(FILE_NAME, text);
    ::setenv("PRODUCT_STORAGE_CONFIG", path.c_str(), 1);
    std::vector<ConfigReader::Setting> settings;
    const std::vector<std::string> problems = ConfigReader::check(settings);
    Require(settings.size() == SETTING_COUNT, "the check tells every setting");
    for (const std::string& problem : reading.problems) {
        Require(std::find(problems.begin(), problems.end(), problem) != problems.end(),
                "the check tells every problem");
    }
    return 0;
}
