#include "common/environment.h"

namespace Environment {

const char* MissingList(const EnvironmentPath& env)
{
    if (env.management_ips().empty()) {
        return "management IP";
    }
    if (env.user_names().empty()) {
        return "user name";
    }
    if (env.encrypted_passwords().empty()) {
        return "encrypted password";
    }
    if (env.ports().empty()) {
        return "port";
    }
    return env.protocols().empty() ? "protocol" : nullptr;
}

std::string ProtocolText(int protocol)
{
    return protocol == PROTOCOL_HTTP ? "http" : "https";
}

std::vector<std::string> OtherManagementIps(const EnvironmentPath& env)
{
    const auto& own = env.management_ips();
    std::vector<std::string> others;
    for (const std::string& address : env.all_management_ips()) {
        if (!address.empty() && (own.empty() || address != own.Get(0))) {
            others.push_back(address);
        }
    }
    return others;
}

void UseAddress(const std::string& address, Zav::DeviceInfo& info)
{
    info.url = info.protocol + "://" + address + ":" + info.port;
}

void FillSoleProtocolAndPort(const EnvironmentPath& env, Zav::DeviceInfo& info)
{
    if (env.protocols_size() == 1) {
        info.protocol = ProtocolText(env.protocols(0));
    }
    if (env.ports_size() == 1) {
        info.port = std::to_string(env.ports(0));
    }
}

void FillDeviceInfo(const EnvironmentPath& env, Zav::DeviceInfo& info)
{
    info.user = env.user_names(0);
    info.protocol = ProtocolText(env.protocols(0));
    info.port = std::to_string(env.ports(0));
    UseAddress(env.management_ips(0), info);
}

} // namespace Environment
