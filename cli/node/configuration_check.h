#ifndef PRODUCT_STORAGE_CLI_NODE_CONFIGURATION_CHECK_H
#define PRODUCT_STORAGE_CLI_NODE_CONFIGURATION_CHECK_H

#include "common/framework/config_reader.h"

#include <string>
#include <vector>

/// What a program that goes by a configuration would stumble over, and what is allowed and may not be meant.
struct ConfigurationFindings {
    std::vector<std::string> problems;
    std::vector<std::string> warnings;
};

/// Looks at what the configuration names on this node: the file itself, certificates, key and folders. What is
/// malformed, ConfigReader::check tells; `settings` are from there.
ConfigurationFindings LookAtWhatIsNamed(const std::vector<ConfigReader::Setting>& settings);

#endif
