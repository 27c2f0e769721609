#ifndef PRODUCT_STORAGE_COMMON_ENVIRONMENT_H
#define PRODUCT_STORAGE_COMMON_ENVIRONMENT_H

#include "common/framework/product_messages.pb.h"
#include "common/records.h"

#include <string>

/// What an EnvironmentPath says of its array. Of each list the first entry counts.
namespace Environment {

/// The name of the first list that must have an entry and has none (management IPs, user names, encrypted passwords,
/// ports, protocols); null when every one has.
const char* MissingList(const EnvironmentPath& env);

/// "http" for protocol 1, else "https".
std::string ProtocolText(int protocol);

std::string ManagementUrl(const std::string& protocol, const std::string& address, const std::string& port);

/// Fills url, user, protocol and port. `env` must have no missing list.
void FillDeviceInfo(const EnvironmentPath& env, Zav::DeviceInfo& info);

} // namespace Environment

#endif
