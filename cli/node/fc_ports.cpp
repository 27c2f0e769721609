#include "cli/node/fc_ports.h"

#include "cli/node/node_initiators.h"
#include "common/framework/shell_runner.h"

#include <algorithm>

namespace FcPorts {

// The states come in the order of the names, or not at all.
std::vector<FcPort> Look(const std::vector<std::string>& names)
{
    std::vector<std::string> states;
    std::vector<std::string> errors;
    if (names.empty() || runShellCmdWithOutput(severity_level::Info, "zavctl", 0,
                                               "cat /sys/class/fc_host/host*/port_state", {}, states, errors) != 0) {
        states.clear();
    }
    std::vector<FcPort> ports;
    for (std::size_t i = 0; i < names.size(); ++i) {
        ports.push_back({names[i], states.size() == names.size() ? states[i] : ""});
    }
    return ports;
}

bool IsLinkUp(const std::string& name)
{
    const std::vector<FcPort> ports = Look(NodeInitiators::Read().ports);
    return std::any_of(ports.begin(), ports.end(),
                       [&name](const FcPort& port) { return port.name == name && port.state == "Online"; });
}

} // namespace FcPorts
