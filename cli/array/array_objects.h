#ifndef PRODUCT_STORAGE_CLI_ARRAY_ARRAY_OBJECTS_H
#define PRODUCT_STORAGE_CLI_ARRAY_ARRAY_OBJECTS_H

#include "common/result_codes.h"
#include "rest/object_types.h"

#include <json/value.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class ZavRestApi;

/// One kind of object on an array.
struct ObjectKind {
    std::string_view words;    ///< for people, and in the journal of what is made: "host group"
    std::string_view resource; ///< in the array's addresses: "hostgroup"
    std::string_view type;     ///< in its parameters
    int goneCode;              ///< how the array says that there is none of the id; 0: by any refusal

    bool operator==(const ObjectKind& other) const { return resource == other.resource; }

    /// "host group 7".
    std::string Naming(const std::string& id) const { return std::string(words) + " " + id; }
};

inline constexpr ObjectKind LUN = {"LUN", "lun", ObjectType::LUN, 0};
inline constexpr ObjectKind HOST_GROUP = {"host group", "hostgroup", ObjectType::HOST_GROUP,
                                          ArrayCode::HOST_GROUP_GONE};
inline constexpr ObjectKind HOST = {"host", "host", ObjectType::HOST, ArrayCode::HOST_GONE};
inline constexpr ObjectKind SNAPSHOT = {"snapshot", "snapshot", ObjectType::SNAPSHOT, 0};
inline constexpr ObjectKind ISCSI_INITIATOR = {"iSCSI initiator", "iscsi_initiator", ObjectType::ISCSI_INITIATOR, 0};
inline constexpr ObjectKind FC_INITIATOR = {"FC initiator", "fc_initiator", ObjectType::FC_INITIATOR, 0};
inline constexpr ObjectKind MAPPING_VIEW = {"mapping view", "mappingview", ObjectType::MAP_VIEW,
                                            ArrayCode::MAP_VIEW_GONE};
inline constexpr ObjectKind LUN_GROUP = {"LUN group", "lungroup", ObjectType::LUN_GROUP, ArrayCode::LUN_GROUP_GONE};

/// An object as the array tells of it; what it does not tell is empty.
struct ArrayObject {
    std::string id;
    std::string name;
    std::string parentId; ///< an initiator's host
};

/// A LUN as the array tells of it within a group.
struct MappedLun {
    std::string id;
    std::string name;
    std::string wwn;            ///< hexadecimal digits
    std::uint64_t capacity = 0; ///< bytes
};

/// Whether the array sees this node's FC port online. Throws Failure naming the port when no answer came that says
/// either way; `url` names the array in it.
bool ArraySeesOnline(ZavRestApi& api, const std::string& url, const std::string& wwpn);

/// What stands on an array, read by the library's client. Each operation throws Failure naming what could not be read
/// when no answer came that says either way. A derived class may see more than stands there. One thread at a time.
class ArrayObjects {
public:
    /// `api` must outlive it; `url` names the array in failures.
    ArrayObjects(ZavRestApi& api, std::string url)
        : m_api(api)
        , m_url(std::move(url))
    {
    }

    ArrayObjects(const ArrayObjects&) = delete;
    ArrayObjects& operator=(const ArrayObjects&) = delete;
    virtual ~ArrayObjects() = default;

    /// Takes a page of a list, and gives false when it has enough.
    using PageTaker = std::function<bool(const std::vector<ArrayObject>&)>;

    /// Nothing when the array says that there is none of the id.
    virtual std::optional<ArrayObject> Find(const ObjectKind& kind, const std::string& id);

    /// The ids of the objects of kind `other` that an object holds, or that hold it.
    virtual std::vector<std::string> Associated(const ObjectKind& kind, const std::string& id, const ObjectKind& other);

    /// The LUNs of a LUN group.
    std::vector<MappedLun> Luns(const std::string& lunGroupId);

    /// The ids of the initiators of one kind that are on a host.
    virtual std::vector<std::string> Initiators(const ObjectKind& kind, const std::string& hostId);

    /// All objects of a kind; nothing when the array does not list them.
    std::optional<std::vector<ArrayObject>> All(const ObjectKind& kind);

    /// The same for whom a list that is refused is not an empty one: throws Failure, Refused, naming it and why.
    std::vector<ArrayObject> Listed(const ObjectKind& kind);

    /// Hands them on page by page, until `take` has enough and gives false. Where the array does not list them, as
    /// Listed.
    void EachPage(const ObjectKind& kind, const PageTaker& take);

private:
    struct Answer {
        int code; ///< 0, or why the array refused for good
        Json::Value data;
        std::string errorText;
    };
    Answer Get(const std::string& resource);
    [[noreturn]] void Fail(const std::string& resource, const Answer& answer) const;
    [[noreturn]] void FailOfList(const ObjectKind& kind, const Answer& answer) const;
    [[noreturn]] void FailOfContent(const std::string& resource, const std::string& problem) const;
    ArrayObject ToObject(const std::string& resource, const Json::Value& data) const;
    Json::Value List(const std::string& resource);
    std::vector<std::string> Ids(const std::string& resource);
    Answer ReadPages(const ObjectKind& kind, const PageTaker& take);

    ZavRestApi& m_api;
    const std::string m_url;
};

#endif
