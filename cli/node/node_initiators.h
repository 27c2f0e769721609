#ifndef PRODUCT_STORAGE_CLI_NODE_NODE_INITIATORS_H
#define PRODUCT_STORAGE_CLI_NODE_NODE_INITIATORS_H

#include "cli/array/array_objects.h"

#include <string>
#include <vector>

/// The names by which arrays know this node.
struct NodeInitiators {
    /// One of them, by its kind.
    struct Name {
        const ObjectKind* kind;
        std::string id;
    };

    std::vector<std::string> ports; ///< WWPNs of its FC ports
    std::string iqn;                ///< empty: it has none

    /// As they are now.
    static NodeInitiators Read();

    bool AreNone() const noexcept { return ports.empty() && iqn.empty(); }
    bool Has(const std::string& id) const;

    /// FC ports first.
    std::vector<Name> All() const;
};

#endif
