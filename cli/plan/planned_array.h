#ifndef PRODUCT_STORAGE_CLI_PLAN_PLANNED_ARRAY_H
#define PRODUCT_STORAGE_CLI_PLAN_PLANNED_ARRAY_H

#include "cli/array/array_objects.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// An array as it would be with what is planned in its place: what is asked of it is read from the array, and what was
/// added here stands beside it. Nothing is changed on the array.
class PlannedArray : public ArrayObjects {
public:
    /// In place of an id and of a name that nobody knows before the object is made. One object of a kind is planned at
    /// the most, but for initiators, which have ids of their own.
    static constexpr const char* NEW = "(new)";

    using ArrayObjects::ArrayObjects;

    /// The object is there from now on.
    void Add(const ObjectKind& kind, const ArrayObject& object);

    /// `container` holds `member` from now on.
    void Join(const ObjectKind& container, const std::string& containerId, const ObjectKind& member,
              const std::string& memberId);

    /// The initiator is on that host from now on.
    void Place(const ObjectKind& kind, const std::string& initiator, const std::string& hostId);

    std::optional<ArrayObject> Find(const ObjectKind& kind, const std::string& id) override;
    std::vector<std::string> Associated(const ObjectKind& kind, const std::string& id,
                                        const ObjectKind& other) override;
    std::vector<std::string> Initiators(const ObjectKind& kind, const std::string& hostId) override;

private:
    using Key = std::pair<std::string_view, std::string>; // a kind's resource, and an id

    static Key KeyOf(const ObjectKind& kind, const std::string& id) { return {kind.resource, id}; }

    std::map<Key, ArrayObject> m_added;     // and initiators that were placed
    std::set<std::pair<Key, Key>> m_joined; // container and member
};

#endif
