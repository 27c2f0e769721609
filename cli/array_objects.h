#ifndef PRODUCT_STORAGE_CLI_ARRAY_OBJECTS_H
#define PRODUCT_STORAGE_CLI_ARRAY_OBJECTS_H

#include <json/value.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

class ZavRestApi;

/// One kind of object on an array.
struct ObjectKind {
    std::string_view words;    ///< for people, and in the journal of what is made: "host group"
    std::string_view resource; ///< in the array's addresses: "hostgroup"
    std::string_view type;     ///< in its parameters: "14"
};

inline constexpr ObjectKind LUN = {"LUN", "lun", "11"};
inline constexpr ObjectKind HOST_GROUP = {"host group", "hostgroup", "14"};
inline constexpr ObjectKind HOST = {"host", "host", "21"};
inline constexpr ObjectKind SNAPSHOT = {"snapshot", "snapshot", "27"};
inline constexpr ObjectKind ISCSI_INITIATOR = {"iSCSI initiator", "iscsi_initiator", "222"};
inline constexpr ObjectKind FC_INITIATOR = {"FC initiator", "fc_initiator", "223"};
inline constexpr ObjectKind MAPPING_VIEW = {"mapping view", "mappingview", "245"};
inline constexpr ObjectKind LUN_GROUP = {"LUN group", "lungroup", "256"};

/// An object as the array tells of it; what it does not tell is empty.
struct ArrayObject {
    std::string id;
    std::string name;
    std::string parentId; ///< an initiator's host
};

/// What stands on an array, read by the library's client. Each operation throws Failure naming what could not be read
/// when no answer came that says either way. One thread at a time.
class ArrayObjects {
public:
    /// `api` must outlive it; `url` names the array in failures.
    ArrayObjects(ZavRestApi& api, std::string url)
        : m_api(api)
        , m_url(std::move(url))
    {
    }

    /// Nothing when the array refuses to tell of it, which is how it says that there is none.
    std::optional<ArrayObject> Find(const ObjectKind& kind, const std::string& id);

    /// The ids of the members of one kind; nothing when the array does not list them.
    std::optional<std::vector<std::string>> Members(const ObjectKind& container, const std::string& id,
                                                    const ObjectKind& member);

    /// Initiators of a host.
    std::optional<std::vector<std::string>> Initiators(const ObjectKind& kind, const std::string& hostId);

    /// All objects of a kind; nothing when the array does not list them.
    std::optional<std::vector<ArrayObject>> All(const ObjectKind& kind);

private:
    std::optional<Json::Value> Get(const std::string& resource);

    ZavRestApi& m_api;
    const std::string m_url;
};

#endif
