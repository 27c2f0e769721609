#ifndef ZAVSIM_ARRAY_STATE_H
#define ZAVSIM_ARRAY_STATE_H

#include "simulator/array/kinds.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace ZavSim {

/// Orders decimal ids by their value: the shorter text first.
struct IdLess {
    bool operator()(const std::string& left, const std::string& right) const noexcept
    {
        return left.size() != right.size() ? left.size() < right.size() : left < right;
    }
};

using IdSet = std::set<std::string, IdLess>;

struct Object {
    std::string name;
    std::string parent; ///< a snapshot's LUN; empty for the other kinds
};

using ObjectMap = std::map<std::string, Object, IdLess>;

/// A canonical decimal number ("0", "17", not "017" or "+17").
std::optional<std::uint64_t> ParseNumber(const std::string& text);

/// What is on the array, without rules: operations.h decides what may be done. LUNs are numbers from 0 up to the count;
/// only those that were deleted cost memory.
///
/// One thread at a time. Copies are independent.
class State {
public:
    explicit State(std::uint64_t lunCount)
        : m_lunCount(lunCount)
    {
    }

    bool Has(Kind kind, const std::string& id) const;

    /// The object; null when there is none. Not for LUNs, which have no record here.
    const Object* Find(Kind kind, const std::string& id) const;
    const ObjectMap& ObjectsOf(Kind kind) const;
    bool IsNameTaken(Kind kind, const std::string& name) const;

    /// An id that no object of the kind ever had; with SetIdReuse(true) the lowest that none has now.
    std::string NextId(Kind kind);
    void SetIdReuse(bool reusesIds) noexcept { m_reusesIds = reusesIds; }
    void Add(Kind kind, const std::string& id, const Object& object);

    /// Also ends all of its associations; with a LUN go its snapshots. Nothing happens when it does not exist.
    void Remove(Kind kind, const std::string& id);

    bool IsLinked(Kind container, const std::string& containerId, Kind member, const std::string& memberId) const;
    void Link(Kind container, const std::string& containerId, Kind member, const std::string& memberId);
    void Unlink(Kind container, const std::string& containerId, Kind member, const std::string& memberId);
    const IdSet& MembersOf(Kind container, const std::string& containerId, Kind member) const;
    const IdSet& ContainersOf(Kind member, const std::string& memberId, Kind container) const;

    std::uint64_t LunCount() const noexcept { return m_lunCount - m_deletedLuns.size(); }

    /// The LUNs at places begin … end - 1 of the list of those that exist, in ascending order.
    std::vector<std::uint64_t> LunsAt(std::uint64_t begin, std::uint64_t end) const;
    const std::set<std::uint64_t>& DeletedLuns() const noexcept { return m_deletedLuns; }

    /// FC port names seen on the fabric, registered or not, in lower case.
    const std::set<std::string>& OnlinePorts() const noexcept { return m_onlinePorts; }
    void SetPortOnline(const std::string& wwn, bool online);
    void SetOnlinePorts(const std::set<std::string>& wwns) { m_onlinePorts = wwns; }

    const std::map<Kind, std::uint64_t>& LastIds() const noexcept { return m_lastIds; }
    void SetLastId(Kind kind, std::uint64_t id) { m_lastIds[kind] = id; }

private:
    using Pair = std::pair<Kind, Kind>;
    using Links = std::map<std::string, IdSet, IdLess>;

    void UnlinkAll(Kind kind, const std::string& id);

    std::uint64_t LowestFreeId(Kind kind) const;

    std::uint64_t m_lunCount;
    bool m_reusesIds = false;
    std::set<std::uint64_t> m_deletedLuns;
    std::map<Kind, ObjectMap> m_objects;
    std::map<Kind, std::set<std::string>> m_names;
    std::map<Kind, std::uint64_t> m_lastIds;
    std::map<Pair, Links> m_members;    ///< (container, member): container id -> member ids
    std::map<Pair, Links> m_containers; ///< (container, member): member id -> container ids
    std::set<std::string> m_onlinePorts;
};

} // namespace ZavSim

#endif
