#ifndef PRODUCT_STORAGE_FRAMEWORK_CONFIG_CONFIG_INTERPRETER_H
#define PRODUCT_STORAGE_FRAMEWORK_CONFIG_CONFIG_INTERPRETER_H

#include "framework/config/config_values.h"

#include <string>
#include <vector>

namespace Framework {

/// What one reading of a configuration file gave.
struct ConfigReading {
    ConfigValues values;               ///< defaults where the file says nothing or something malformed
    std::vector<std::string> problems; ///< each names the file, the place and what is wrong
    bool isUsable = true;              ///< false: the text is no configuration file; all values are defaults
};

/// Interprets `text`, the content of the file at `path`.
ConfigReading InterpretConfig(const std::string& path, const std::string& text);

} // namespace Framework

#endif
