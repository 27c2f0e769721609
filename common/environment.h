#ifndef PRODUCT_STORAGE_COMMON_ENVIRONMENT_H
#define PRODUCT_STORAGE_COMMON_ENVIRONMENT_H

#include "common/framework/product_messages.pb.h"
#include "common/records.h"

#include <string>
#include <vector>

/// What an EnvironmentPath says of its array. Of each list the first entry counts.
namespace Environment {

/// Of the protocols that an environment names; whatever is not http means https.
constexpr int PROTOCOL_HTTPS = 0;
constexpr int PROTOCOL_HTTP = 1;

/// The name of the first list that must have an entry and has none (management IPs, user names, encrypted passwords,
/// ports, protocols); null when every one has.
const char* MissingList(const EnvironmentPath& env);

/// "http" for protocol 1, else "https".
std::string ProtocolText(int protocol);

/// The further management addresses: none that is empty or that is the first.
std::vector<std::string> OtherManagementIps(const EnvironmentPath& env);

/// Points `info` at another address of the same array.
void UseAddress(const std::string& address, Zav::DeviceInfo& info);

/// Sets protocol and port where the environment holds exactly one of each.
void FillSoleProtocolAndPort(const EnvironmentPath& env, Zav::DeviceInfo& info);

/// Fills url, user, protocol and port. `env` must have no missing list.
void FillDeviceInfo(const EnvironmentPath& env, Zav::DeviceInfo& info);

} // namespace Environment

#endif
