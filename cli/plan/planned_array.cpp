#include "cli/plan/planned_array.h"

#include <algorithm>

void PlannedArray::Add(const ObjectKind& kind, const ArrayObject& object)
{
    m_added[KeyOf(kind, object.id)] = object;
}

void PlannedArray::Join(const ObjectKind& container, const std::string& containerId, const ObjectKind& member,
                        const std::string& memberId)
{
    m_joined.emplace(KeyOf(container, containerId), KeyOf(member, memberId));
}

void PlannedArray::Place(const ObjectKind& kind, const std::string& initiator, const std::string& hostId)
{
    ArrayObject placed = Find(kind, initiator).value_or(ArrayObject{initiator, "", ""});
    placed.parentId = hostId;
    Add(kind, placed);
}

std::optional<ArrayObject> PlannedArray::Find(const ObjectKind& kind, const std::string& id)
{
    const auto added = m_added.find(KeyOf(kind, id));
    return added == m_added.end() ? ArrayObjects::Find(kind, id) : added->second;
}

std::vector<std::string> PlannedArray::Associated(const ObjectKind& kind, const std::string& id,
                                                  const ObjectKind& other)
{
    std::vector<std::string> ids;
    if (id != NEW) {
        ids = ArrayObjects::Associated(kind, id, other);
    }
    for (const auto& [container, member] : m_joined) {
        if (container == KeyOf(kind, id) && member.first == other.resource) {
            ids.push_back(member.second);
        } else if (member == KeyOf(kind, id) && container.first == other.resource) {
            ids.push_back(container.second);
        }
    }
    return ids;
}

std::vector<std::string> PlannedArray::Initiators(const ObjectKind& kind, const std::string& hostId)
{
    std::vector<std::string> ids;
    if (hostId != NEW) {
        ids = ArrayObjects::Initiators(kind, hostId);
    }
    for (const auto& [key, object] : m_added) {
        if (key.first == kind.resource && object.parentId == hostId) {
            ids.push_back(object.id);
        }
    }
    return ids;
}
