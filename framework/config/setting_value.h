#ifndef PRODUCT_STORAGE_FRAMEWORK_CONFIG_SETTING_VALUE_H
#define PRODUCT_STORAGE_FRAMEWORK_CONFIG_SETTING_VALUE_H

#include "framework/config/settings.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Framework {

/// One setting's value.
struct SettingValue {
    std::string text;                  ///< as in the file; paths are absolute here
    std::int64_t number = 0;           ///< of an Integer; 1 or 0 for a Flag
    std::vector<std::int64_t> numbers; ///< of an IntegerList
    std::vector<std::string> paths;    ///< of a PathList
    bool isDefault = true;             ///< nothing in the file names it, or what it says is malformed
};

/// Reads `text` as a value of `spec`, with relative paths meant from `root`. False, with what is wrong in `problem` and
/// `value` undefined, when it is malformed.
bool ParseSetting(const SettingSpec& spec, const std::string& text, const std::string& root, SettingValue& value,
                  std::string& problem);

} // namespace Framework

#endif
