#ifndef PRODUCT_STORAGE_CLI_NODE_NODE_FACTS_H
#define PRODUCT_STORAGE_CLI_NODE_NODE_FACTS_H

#include "cli/node/fc_ports.h"

#include <string>
#include <vector>

/// What this node is without any array. What it does not have, or does not tell, is empty. No secret is in it.
struct NodeFacts {
    std::string hostName;
    std::string iqn;
    std::vector<FcPort> fcPorts;
    std::string iscsiadmVersion;
    std::string iscsidVersion;
    std::string productRoot;
    std::string configuration;
    std::string recordFolder;
    std::vector<std::string> records; ///< the files in it
    std::string log;
    std::string keyFile;
    std::string keyState; ///< "usable", or why it is not

    /// As they are now. Changes nothing.
    static NodeFacts Read();
};

#endif
