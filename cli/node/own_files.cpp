#include "cli/node/own_files.h"

#include "common/framework/config_reader.h"
#include "device/device_info_record.h"
#include "device/device_set_operator.h"

#include <boost/algorithm/string/erase.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem.hpp>

#include <algorithm>

namespace fs = boost::filesystem;

namespace OwnFiles {

std::string RecordFolder()
{
    return fs::path(DeviceSetOperator::GetDeviceSetOperator()->GetDeviceInfoCfgFile("x")).parent_path().string();
}

std::vector<std::string> RecordsIn(const std::string& folder)
{
    std::vector<std::string> records;
    boost::system::error_code error;
    for (fs::directory_iterator each(folder, error), end; !error && each != end; each.increment(error)) {
        if (boost::ends_with(each->path().filename().string(), DeviceInfoRecord::FILE_ENDING)) {
            records.push_back(each->path().string());
        }
    }
    std::sort(records.begin(), records.end());
    return records;
}

std::string DeviceIdOf(const std::string& recordPath)
{
    return boost::erase_last_copy(fs::path(recordPath).filename().string(), DeviceInfoRecord::FILE_ENDING);
}

std::string SettingText(const std::string& section, const std::string& key)
{
    std::vector<ConfigReader::Setting> settings;
    ConfigReader::check(settings);
    const auto found = std::find_if(settings.begin(), settings.end(), [&](const ConfigReader::Setting& each) {
        return each.section == section && each.key == key;
    });
    return found == settings.end() ? "" : found->value;
}

} // namespace OwnFiles
