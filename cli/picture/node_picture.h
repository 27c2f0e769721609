#ifndef PRODUCT_STORAGE_CLI_PICTURE_NODE_PICTURE_H
#define PRODUCT_STORAGE_CLI_PICTURE_NODE_PICTURE_H

#include <string>
#include <vector>

/// How a piece of the picture stands.
enum class Standing {
    Sound,
    Missing,    ///< recorded or needed, and not there
    Foreign,    ///< there, and somebody else's
    Unrecorded, ///< there and harmless, but no record names it
    Down,       ///< there, and out of service
};

/// "missing"; empty for what is sound.
const char* WordOf(Standing standing) noexcept;

/// A piece of how a node hangs on its array, with what hangs on it in turn. Texts of an array may hold any character.
struct PictureItem {
    std::string kind; ///< for scripts, too: "mapping view"
    std::string id;
    std::string name;
    std::string state;  ///< for people: "10.00 GiB, here as sdb"
    std::string detail; ///< what only a wide picture has room for: a WWN
    Standing standing = Standing::Sound;
    std::string why; ///< of a standing that is not sound
    std::vector<PictureItem> parts;

    /// "mapping view 1 (its name)".
    std::string Naming() const;
};

/// A node on one array.
struct NodePicture {
    PictureItem root;
    std::vector<std::string> faults; ///< why the node is not rightly prepared; none when it is
};

#endif
