#include "common/environment.h"

namespace {

constexpr int PROTOCOL_HTTP = 1;

} // namespace

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

std::string ManagementUrl(const std::string& protocol, const std::string& address, const std::string& port)
{
    return protocol + "://" + address + ":" + port;
}

void FillDeviceInfo(const EnvironmentPath& env, Zav::DeviceInfo& info)
{
    info.user = env.user_names(0);
    info.protocol = ProtocolText(env.protocols(0));
    info.port = std::to_string(env.ports(0));
    info.url = ManagementUrl(info.protocol, env.management_ips(0), info.port);
}

} // namespace Environment
