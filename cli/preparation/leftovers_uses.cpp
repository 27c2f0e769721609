#include "cli/preparation/leftovers.h"

#include "cli/console/failure.h"

#include <algorithm>

std::string Leftovers::HoldingOf(const ObjectKind& member, const std::string& id)
{
    return "holds " + member.Naming(id);
}

bool Leftovers::IsOwnGroup(const std::string& hostGroupId) const
{
    return hostGroupId == m_record.hostGroupId || IsMine(HOST_GROUP, hostGroupId);
}

// What cannot be seen counts as use.
std::vector<std::string> Leftovers::UsesOrDoubt(const ObjectKind& kind, const std::string& id)
{
    try {
        return UsesOf(kind, id, MembersOf(kind, id));
    } catch (const Failure& failure) {
        return {failure.what()};
    }
}

// What a group or a view holds, whoever put it there.
Leftovers::Members Leftovers::MembersOf(const ObjectKind& kind, const std::string& id)
{
    Members members;
    const auto add = [&](const ObjectKind& member) {
        for (const std::string& each : m_array.Associated(kind, id, member)) {
            members.push_back({&member, each});
        }
    };
    if (kind == MAPPING_VIEW) {
        add(LUN_GROUP);
        add(HOST_GROUP);
    } else if (kind == HOST_GROUP) {
        add(HOST);
    } else if (kind == LUN_GROUP) {
        add(LUN);
        add(SNAPSHOT);
    }
    return members;
}

// The members of a group that somebody else put there.
void Leftovers::AddHeld(const Members& members, std::vector<std::string>& uses) const
{
    for (const Member& each : members) {
        if (!(*each.kind == HOST && each.id == m_record.hostId)) {
            uses.push_back(HoldingOf(*each.kind, each.id));
        }
    }
}

void Leftovers::AddUsesOfHost(const std::string& hostId, std::vector<std::string>& uses)
{
    for (const ObjectKind& kind : {ISCSI_INITIATOR, FC_INITIATOR}) {
        for (const std::string& each : m_array.Initiators(kind, hostId)) {
            uses.push_back(HoldingOf(kind, each));
        }
    }
    for (const std::string& group : m_array.Associated(HOST, hostId, HOST_GROUP)) {
        if (!IsOwnGroup(group)) {
            uses.push_back("is in host group " + group + ", which this node did not make");
        }
    }
}

std::vector<std::string> Leftovers::UsesOfHostByOthers(const std::string& hostId, const Initiators& own)
{
    std::vector<std::string> uses;
    AddUsesOfHost(hostId, uses);
    const auto isOwn = [&own](const std::string& use) {
        return std::any_of(own.begin(), own.end(),
                           [&use](const NodeInitiators::Name& name) { return use == HoldingOf(*name.kind, name.id); });
    };
    uses.erase(std::remove_if(uses.begin(), uses.end(), isOwn), uses.end());
    return uses;
}

// The recorded group of a kind that another view holds as well.
bool Leftovers::IsUsedByRecordedView(const ObjectKind& kind, const std::string& group, const std::string& otherViewId)
{
    if (group != (kind == LUN_GROUP ? m_record.lunGroupId : m_record.hostGroupId) || m_record.mapViewId.empty() ||
        m_record.mapViewId == otherViewId) {
        return false;
    }
    const auto view = m_array.Find(MAPPING_VIEW, m_record.mapViewId);
    if (!view || view->name != m_record.mapViewName) {
        return false;
    }
    const std::vector<std::string> groups = m_array.Associated(MAPPING_VIEW, m_record.mapViewId, kind);
    return std::find(groups.begin(), groups.end(), group) != groups.end();
}

// A recorded group goes on to be used by the recorded view, where that stands and holds it.
void Leftovers::AddHeldByGroups(const std::string& viewId, const Members& groups, std::vector<std::string>& uses)
{
    for (const Member& group : groups) {
        if (!IsUsedByRecordedView(*group.kind, group.id, viewId)) {
            AddHeld(MembersOf(*group.kind, group.id), uses);
        }
    }
}

// All that it holds, and all that it is in, whoever made that.
std::vector<std::string> Leftovers::TiesOf(const ObjectKind& kind, const std::string& id)
{
    std::vector<std::string> ties;
    const auto add = [&](const ObjectKind& other, const std::vector<std::string>& ids, const char* verb) {
        for (const std::string& each : ids) {
            ties.push_back(verb + other.Naming(each));
        }
    };
    const auto addAssociated = [&](const ObjectKind& other, const char* verb) {
        add(other, m_array.Associated(kind, id, other), verb);
    };
    if (kind == MAPPING_VIEW) {
        addAssociated(HOST_GROUP, "holds ");
        addAssociated(LUN_GROUP, "holds ");
    } else if (kind == HOST_GROUP) {
        addAssociated(HOST, "holds ");
        addAssociated(MAPPING_VIEW, "is in ");
    } else if (kind == LUN_GROUP) {
        addAssociated(LUN, "holds ");
        addAssociated(SNAPSHOT, "holds ");
        addAssociated(MAPPING_VIEW, "is in ");
    } else {
        add(ISCSI_INITIATOR, m_array.Initiators(ISCSI_INITIATOR, id), "holds ");
        add(FC_INITIATOR, m_array.Initiators(FC_INITIATOR, id), "holds ");
        addAssociated(HOST_GROUP, "is in ");
    }
    return ties;
}

// Signs that it is not idle, with the members that MembersOf gave. A group is in use as well when a view is that holds
// it: by taking this node's host out of it, or LUNs, what that view maps would be lost.
std::vector<std::string> Leftovers::UsesOf(const ObjectKind& kind, const std::string& id, const Members& members)
{
    std::vector<std::string> uses;
    if (kind == MAPPING_VIEW) {
        AddHeldByGroups(id, members, uses);
        return uses;
    }
    if (kind == HOST) {
        AddUsesOfHost(id, uses);
        return uses;
    }
    AddHeld(members, uses);
    for (const std::string& view : m_array.Associated(kind, id, MAPPING_VIEW)) {
        if (view == m_record.mapViewId) {
            uses.push_back("is in mapping view " + view + ", which is recorded");
        } else if (IsMine(MAPPING_VIEW, view)) {
            AddHeldByGroups(view, MembersOf(MAPPING_VIEW, view), uses);
        } else {
            uses.push_back("is in mapping view " + view + ", which the journal does not name");
        }
    }
    return uses;
}
