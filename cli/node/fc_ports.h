#ifndef PRODUCT_STORAGE_CLI_NODE_FC_PORTS_H
#define PRODUCT_STORAGE_CLI_NODE_FC_PORTS_H

#include <string>
#include <vector>

/// A port of this node's FC adapters.
struct FcPort {
    std::string name;  ///< WWPN
    std::string state; ///< the kernel's word: "Online", "Linkdown"; empty where it does not say
};

namespace FcPorts {

/// The ports of these names, as they are now.
std::vector<FcPort> Look(const std::vector<std::string>& names);

/// Whether the port's link is up, which is not to say that an array sees it.
bool IsLinkUp(const std::string& name);

} // namespace FcPorts

#endif
