#ifndef PRODUCT_STORAGE_FRAMEWORK_PUBLIC_NODE_KEY_H
#define PRODUCT_STORAGE_FRAMEWORK_PUBLIC_NODE_KEY_H

#include "common/framework/export.h"

#include <string>

namespace OpenFramework {

/// The key of this node, [Security] KeyFile, as an encryption would find it now.
struct NodeKey {
    enum class State {
        Missing, ///< an encryption would make it
        Usable,
        Refused ///< the file is there, or cannot be looked at, and is not used
    };

    State state = State::Missing;
    std::string path;
    std::string problem; ///< why it is refused, or missing; names the file
};

/// Looks at the key, and changes nothing. For a program that wants a person's consent before a key is made, or tells
/// what is wrong with the one that is there. Any thread. Throws std::bad_alloc.
PRODUCT_FRAMEWORK_API NodeKey LookAtNodeKey();

} // namespace OpenFramework

#endif
