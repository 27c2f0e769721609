#include "simulator/array/state.h"

#include <algorithm>
#include <charconv>

namespace ZavSim {

namespace {

const IdSet NO_IDS;
const ObjectMap NO_OBJECTS;

template <typename Links>
void Drop(Links& links, const std::string& from, const std::string& id)
{
    const auto found = links.find(from);
    if (found == links.end()) {
        return;
    }
    found->second.erase(id);
    if (found->second.empty()) {
        links.erase(found);
    }
}

template <typename LinkTable, typename Pair>
const IdSet& LookUp(const LinkTable& table, const Pair& pair, const std::string& id)
{
    const auto links = table.find(pair);
    if (links == table.end()) {
        return NO_IDS;
    }
    const auto found = links->second.find(id);
    return found == links->second.end() ? NO_IDS : found->second;
}

} // namespace

std::optional<std::uint64_t> ParseNumber(const std::string& text)
{
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || (text.size() > 1 && text.front() == '0')) {
        return std::nullopt;
    }
    return number;
}

bool State::Has(Kind kind, const std::string& id) const
{
    if (kind != Kind::Lun) {
        return Find(kind, id) != nullptr;
    }
    const auto number = ParseNumber(id);
    return number && *number < m_lunCount && m_deletedLuns.count(*number) == 0;
}

const Object* State::Find(Kind kind, const std::string& id) const
{
    const ObjectMap& objects = ObjectsOf(kind);
    const auto found = objects.find(id);
    return found == objects.end() ? nullptr : &found->second;
}

const ObjectMap& State::ObjectsOf(Kind kind) const
{
    const auto found = m_objects.find(kind);
    return found == m_objects.end() ? NO_OBJECTS : found->second;
}

bool State::IsNameTaken(Kind kind, const std::string& name) const
{
    const auto found = m_names.find(kind);
    return found != m_names.end() && found->second.count(name) != 0;
}

std::string State::NextId(Kind kind)
{
    std::uint64_t& last = m_lastIds[kind];
    const std::uint64_t next = m_reusesIds ? LowestFreeId(kind) : last + 1;
    last = std::max(last, next);
    return std::to_string(next);
}

std::uint64_t State::LowestFreeId(Kind kind) const
{
    std::uint64_t id = 1;
    for (const auto& object : ObjectsOf(kind)) { // in the order of their ids
        if (object.first != std::to_string(id)) {
            break;
        }
        ++id;
    }
    return id;
}

void State::Add(Kind kind, const std::string& id, const Object& object)
{
    m_objects[kind].emplace(id, object);
    if (!object.name.empty()) {
        m_names[kind].insert(object.name);
    }
}

void State::Remove(Kind kind, const std::string& id)
{
    if (!Has(kind, id)) {
        return;
    }
    UnlinkAll(kind, id);
    if (kind == Kind::Lun) {
        m_deletedLuns.insert(*ParseNumber(id));
        std::vector<std::string> snapshots;
        for (const auto& [snapshotId, snapshot] : ObjectsOf(Kind::Snapshot)) {
            if (snapshot.parent == id) {
                snapshots.push_back(snapshotId);
            }
        }
        for (const std::string& snapshotId : snapshots) {
            Remove(Kind::Snapshot, snapshotId);
        }
        return;
    }
    m_names[kind].erase(Find(kind, id)->name);
    m_objects[kind].erase(id);
}

bool State::IsLinked(Kind container, const std::string& containerId, Kind member, const std::string& memberId) const
{
    return MembersOf(container, containerId, member).count(memberId) != 0;
}

void State::Link(Kind container, const std::string& containerId, Kind member, const std::string& memberId)
{
    m_members[{container, member}][containerId].insert(memberId);
    m_containers[{container, member}][memberId].insert(containerId);
}

void State::Unlink(Kind container, const std::string& containerId, Kind member, const std::string& memberId)
{
    Drop(m_members[{container, member}], containerId, memberId);
    Drop(m_containers[{container, member}], memberId, containerId);
}

const IdSet& State::MembersOf(Kind container, const std::string& containerId, Kind member) const
{
    return LookUp(m_members, Pair(container, member), containerId);
}

const IdSet& State::ContainersOf(Kind member, const std::string& memberId, Kind container) const
{
    return LookUp(m_containers, Pair(container, member), memberId);
}

std::vector<std::uint64_t> State::LunsAt(std::uint64_t begin, std::uint64_t end) const
{
    std::vector<std::uint64_t> luns;
    if (begin >= end || begin >= LunCount()) {
        return luns;
    }
    // Each deleted number at or below the wanted one moves it up by one place.
    std::uint64_t id = begin;
    auto deleted = m_deletedLuns.begin();
    for (; deleted != m_deletedLuns.end() && *deleted <= id; ++deleted) {
        ++id;
    }
    for (std::uint64_t place = begin; place < end && id < m_lunCount; ++id) {
        if (deleted != m_deletedLuns.end() && *deleted == id) {
            ++deleted;
            continue;
        }
        luns.push_back(id);
        ++place;
    }
    return luns;
}

void State::SetPortOnline(const std::string& wwn, bool online)
{
    if (online) {
        m_onlinePorts.insert(wwn);
    } else {
        m_onlinePorts.erase(wwn);
    }
}

void State::UnlinkAll(Kind kind, const std::string& id)
{
    for (const AssociationRule& rule : AllAssociationRules()) {
        // Copies, because Unlink changes the sets that these operations refer to.
        if (rule.container == kind) {
            const IdSet members = MembersOf(kind, id, rule.member);
            for (const std::string& member : members) {
                Unlink(kind, id, rule.member, member);
            }
        }
        if (rule.member == kind) {
            const IdSet containers = ContainersOf(kind, id, rule.container);
            for (const std::string& container : containers) {
                Unlink(rule.container, container, kind, id);
            }
        }
    }
}

} // namespace ZavSim
