#include "cli/tidy.h"

#include "cli/failure.h"
#include "cli/node_initiators.h"
#include "cli/own_journal.h"
#include "common/result_codes.h"
#include "device/delete_resource.h"
#include "rest/zav_rest_api.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <utility>

namespace {

constexpr std::string_view GENERATED_PREFIX = "Vendrix_";
constexpr std::int64_t MAY_STILL_COME = 600; // seconds that a request may be on its way to the array or within it

/// A kind that this node makes, and where the record names its one.
struct MadeKind {
    const ObjectKind* kind;
    std::string DeviceMessage::*id;
    std::string DeviceMessage::*name;
};

// In the order in which they can be taken apart.
const std::array<MadeKind, 4> MADE_KINDS = {{
    {&MAPPING_VIEW, &DeviceMessage::mapViewId, &DeviceMessage::mapViewName},
    {&HOST_GROUP, &DeviceMessage::hostGroupId, &DeviceMessage::hostGroupName},
    {&LUN_GROUP, &DeviceMessage::lunGroupId, &DeviceMessage::lunGroupName},
    {&HOST, &DeviceMessage::hostId, &DeviceMessage::hostName},
}};

std::string HoldingOf(const ObjectKind& member, const std::string& id)
{
    return "holds " + std::string(member.words) + " " + id;
}

} // namespace

Leftovers::Leftovers(const ArrayLogin& login, DeviceMessage record, Gone gone)
    : m_login(login)
    , m_api(login.Api())
    , m_ownArray(std::make_unique<ArrayObjects>(*m_api, login.Device().url))
    , m_array(*m_ownArray)
    , m_record(std::move(record))
    , m_entries(OwnJournal::Standing(login.DeviceId()))
{
    LookFor(gone);
}

Leftovers::Leftovers(const ArrayLogin& login, DeviceMessage record, ArrayObjects& array)
    : m_login(login)
    , m_api(login.Api())
    , m_array(array)
    , m_record(std::move(record))
    , m_entries(OwnJournal::Standing(login.DeviceId()))
{
    LookFor(Gone::Kept);
}

void Leftovers::LookFor(Gone gone)
{
    for (const MadeKind& made : MADE_KINDS) {
        for (const OwnJournal::Entry& entry : m_entries) {
            if (entry.kind != made.kind->words || IsRecorded(*made.kind, entry.id, entry.name)) {
                continue;
            }
            std::string id = entry.id;
            if (id.empty()) { // nobody learned it
                const auto all = m_array.All(*made.kind);
                if (!all) {
                    continue; // the array does not list them: the entry stands until it does
                }
                const auto found = std::find_if(all->begin(), all->end(),
                                                [&entry](const ArrayObject& each) { return each.name == entry.name; });
                if (found == all->end() && std::time(nullptr) - entry.time < MAY_STILL_COME) {
                    continue;
                }
                id = found == all->end() ? "" : found->id;
            }
            const auto object = id.empty() ? std::nullopt : m_array.Find(*made.kind, id);
            if (object && object->name == entry.name) {
                m_objects.push_back({made.kind, id, entry.name, UsesOrDoubt(*made.kind, id)});
            } else if (gone == Gone::Forgotten) {
                OwnJournal::Drop(entry); // gone, or somebody else's since
            }
        }
    }
}

bool Leftovers::IsRecorded(const ObjectKind& kind, const std::string& id, const std::string& name) const
{
    return std::any_of(MADE_KINDS.begin(), MADE_KINDS.end(), [&](const MadeKind& made) {
        return *made.kind == kind && m_record.*made.name == name && (id.empty() || m_record.*made.id == id);
    });
}

bool Leftovers::Has(const Object& object) const
{
    return std::any_of(m_objects.begin(), m_objects.end(), [&object](const Object& each) {
        return *each.kind == *object.kind && each.id == object.id && each.name == object.name;
    });
}

bool Leftovers::IsMine(const ObjectKind& kind, const std::string& id) const
{
    return std::any_of(m_entries.begin(), m_entries.end(),
                       [&](const OwnJournal::Entry& entry) { return entry.kind == kind.words && entry.id == id; }) ||
           std::any_of(m_objects.begin(), m_objects.end(), // whose ids the journal may not know
                       [&](const Object& object) { return *object.kind == kind && object.id == id; });
}

bool Leftovers::IsOwnGroup(const std::string& hostGroupId) const
{
    return hostGroupId == m_record.hostGroupId || IsMine(HOST_GROUP, hostGroupId);
}

// What cannot be seen counts as use.
std::vector<std::string> Leftovers::UsesOrDoubt(const ObjectKind& kind, const std::string& id)
{
    try {
        return UsesOf(kind, id);
    } catch (const Failure& failure) {
        return {failure.what()};
    }
}

// What an object holds that somebody else put there: LUNs, hosts, initiators.
void Leftovers::AddHeld(const ObjectKind& kind, const std::string& id, std::vector<std::string>& uses)
{
    const auto add = [&uses](const ObjectKind& member, const std::vector<std::string>& ids,
                             const std::string& own = {}) {
        for (const std::string& each : ids) {
            if (each != own) {
                uses.push_back(HoldingOf(member, each));
            }
        }
    };
    if (kind == LUN_GROUP) {
        add(LUN, m_array.Associated(kind, id, LUN));
        add(SNAPSHOT, m_array.Associated(kind, id, SNAPSHOT));
    } else if (kind == HOST_GROUP) {
        add(HOST, m_array.Associated(kind, id, HOST), m_record.hostId);
    } else if (kind == HOST) {
        add(ISCSI_INITIATOR, m_array.Initiators(ISCSI_INITIATOR, id));
        add(FC_INITIATOR, m_array.Initiators(FC_INITIATOR, id));
        for (const std::string& group : m_array.Associated(HOST, id, HOST_GROUP)) {
            if (!IsOwnGroup(group)) {
                uses.push_back("is in host group " + group + ", which this node did not make");
            }
        }
    }
}

std::vector<std::string> Leftovers::UsesOfHostByOthers(const std::string& hostId)
{
    const std::vector<NodeInitiators::Name> own = NodeInitiators::Read().All();
    std::vector<std::string> uses;
    AddHeld(HOST, hostId, uses);
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
void Leftovers::AddHeldByGroups(const std::string& viewId, std::vector<std::string>& uses)
{
    for (const std::string& group : m_array.Associated(MAPPING_VIEW, viewId, LUN_GROUP)) {
        if (!IsUsedByRecordedView(LUN_GROUP, group, viewId)) {
            AddHeld(LUN_GROUP, group, uses);
        }
    }
    for (const std::string& group : m_array.Associated(MAPPING_VIEW, viewId, HOST_GROUP)) {
        if (!IsUsedByRecordedView(HOST_GROUP, group, viewId)) {
            AddHeld(HOST_GROUP, group, uses);
        }
    }
}

// All that it holds, and all that it is in, whoever made that.
std::vector<std::string> Leftovers::TiesOf(const ObjectKind& kind, const std::string& id)
{
    std::vector<std::string> ties;
    const auto add = [&](const ObjectKind& other, const std::vector<std::string>& ids, const char* verb) {
        for (const std::string& each : ids) {
            ties.push_back(verb + std::string(other.words) + " " + each);
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

// Signs that it is not idle. A group is in use as well when a view is that holds it: by taking this node's host out of
// it, or LUNs, what that view maps would be lost.
std::vector<std::string> Leftovers::UsesOf(const ObjectKind& kind, const std::string& id)
{
    std::vector<std::string> uses;
    if (kind == MAPPING_VIEW) {
        AddHeldByGroups(id, uses);
        return uses;
    }
    AddHeld(kind, id, uses);
    if (kind == HOST) {
        return uses;
    }
    for (const std::string& view : m_array.Associated(kind, id, MAPPING_VIEW)) {
        if (view == m_record.mapViewId) {
            uses.push_back("is in mapping view " + view + ", which is recorded");
        } else if (IsMine(MAPPING_VIEW, view)) {
            AddHeldByGroups(view, uses);
        } else {
            uses.push_back("is in mapping view " + view + ", which the journal does not name");
        }
    }
    return uses;
}

std::vector<Leftovers::Object> Leftovers::OfOthers()
{
    std::vector<Object> others;
    for (const MadeKind& made : MADE_KINDS) {
        for (const ArrayObject& each : m_array.Listed(*made.kind)) {
            const Object object = {made.kind, each.id, each.name, {}};
            if (each.name.rfind(GENERATED_PREFIX, 0) == 0 && !Has(object) &&
                !IsRecorded(*made.kind, each.id, each.name)) {
                others.push_back(object);
            }
        }
    }
    return others;
}

// `by` tells what ties it to this node.
void Leftovers::AddTied(const ObjectKind& kind, const std::string& id, const std::string& by, std::vector<Object>& tied)
{
    const bool isKnown = std::any_of(tied.begin(), tied.end(),
                                     [&](const Object& object) { return *object.kind == kind && object.id == id; });
    const auto object = isKnown ? std::nullopt : m_array.Find(kind, id);
    if (object && !IsMine(kind, id) && !IsRecorded(kind, id, object->name)) {
        tied.push_back({&kind, id, object->name, {by}});
    }
}

std::vector<Leftovers::Object> Leftovers::OfThisNodesInitiators()
{
    std::vector<Object> tied;
    for (const auto& [kind, initiator] : NodeInitiators::Read().All()) {
        const auto found = m_array.Find(*kind, initiator);
        if (!found || found->parentId.empty()) {
            continue;
        }
        const std::string& host = found->parentId;
        AddTied(HOST, host, HoldingOf(*kind, initiator), tied);
        for (const std::string& hostGroup : m_array.Associated(HOST, host, HOST_GROUP)) {
            AddTied(HOST_GROUP, hostGroup, HoldingOf(HOST, host), tied);
            for (const std::string& view : m_array.Associated(HOST_GROUP, hostGroup, MAPPING_VIEW)) {
                AddTied(MAPPING_VIEW, view, HoldingOf(HOST_GROUP, hostGroup), tied);
                for (const std::string& lunGroup : m_array.Associated(MAPPING_VIEW, view, LUN_GROUP)) {
                    AddTied(LUN_GROUP, lunGroup, "is in mapping view " + view, tied);
                }
            }
        }
    }
    return tied;
}

std::string Leftovers::UrlAnd(const ObjectKind& kind, const std::string& id) const
{
    return m_login.Device().url + ": " + std::string(kind.words) + " " + id;
}

Leftovers::Object Leftovers::OneOfOthers(const ObjectKind& kind, const std::string& id)
{
    const std::string naming = UrlAnd(kind, id);
    const auto object = m_array.Find(kind, id);
    if (!object || object->id != id) { // an array may read "07" as 7
        throw Failure(ExitCode::NotFound, m_login.Device().url + ": there is no " + std::string(kind.words) + " " + id);
    }
    if (IsRecorded(kind, id, object->name)) {
        throw Failure(ExitCode::Foreign, naming + " (" + object->name + ") is this node's record's: it is in use here");
    }
    if (object->name.rfind(GENERATED_PREFIX, 0) != 0) {
        throw Failure(ExitCode::Foreign, naming + " (" + object->name + ") bears no name that this product makes");
    }
    return {&kind, id, object->name, TiesOf(kind, id)};
}

// The array refuses to delete what somebody has put to use meanwhile.
void Leftovers::RemoveIdleOneOfOthers(const Object& object)
{
    const std::string naming = UrlAnd(*object.kind, object.id);
    const auto standing = m_array.Find(*object.kind, object.id);
    if (!standing || standing->name != object.name || IsRecorded(*object.kind, object.id, object.name)) {
        throw Failure(ExitCode::Foreign, naming + " (" + object.name + ") is not what it was; it stays");
    }
    const std::vector<std::string> ties = TiesOf(*object.kind, object.id);
    if (!ties.empty()) {
        throw Failure(ExitCode::Foreign, naming + " stays: it " + ties.front() + " by now");
    }
    std::string errorText;
    const int code = *object.kind == MAPPING_VIEW ? m_api->DeleteMapView(object.id, errorText)
                     : *object.kind == HOST_GROUP ? m_api->DeleteHostGroup(object.id, errorText)
                     : *object.kind == LUN_GROUP  ? m_api->DeleteLunGroup(object.id, errorText)
                                                  : m_api->DeleteHost(object.id, errorText);
    if (code != ResultCode::OK) {
        throw Failure(ExitCodeOf(code), naming + " cannot be deleted" + ReasonOf(errorText, code));
    }
}

void Leftovers::Remove(const Object& object)
{
    const OwnJournal::Entry entry = {m_login.DeviceId(), std::string(object.kind->words), object.name, object.id};
    const auto standing = m_array.Find(*object.kind, object.id);
    if (!standing || standing->name != object.name) { // somebody may have been asked in between
        OwnJournal::Drop(entry);
        return;
    }
    for (const std::string& use : UsesOf(*object.kind, object.id)) {
        if (std::find(object.inUse.begin(), object.inUse.end(), use) == object.inUse.end()) {
            throw Failure(ExitCode::Foreign,
                          m_login.Device().url + ": " + entry.kind + " " + object.id + " stays: it " + use + " by now");
        }
    }
    std::string errorText;
    const std::string naming = entry.kind + " " + object.id;
    const auto require = [&](int code, const std::string& what) {
        if (code != ResultCode::OK) {
            throw Failure(ExitCodeOf(code), m_login.Device().url + ": cannot " + what + " " + naming + ": " +
                                                (errorText.empty() ? "code " + std::to_string(code) : errorText));
        }
    };
    const auto takeOut = [&](const ObjectKind& member, const auto& remove) {
        for (std::string& each : m_array.Associated(*object.kind, object.id, member)) {
            require(remove(each), "take " + std::string(member.words) + " " + each + " out of");
        }
    };
    if (*object.kind == MAPPING_VIEW) {
        takeOut(HOST_GROUP, [&](auto& group) { return m_api->RemoveHostGroup(group, object.id, errorText); });
        takeOut(LUN_GROUP, [&](auto& group) { return m_api->RemoveLunGroup(group, object.id, errorText); });
        require(m_api->DeleteMapView(object.id, errorText), "delete");
    } else if (*object.kind == HOST_GROUP) {
        takeOut(HOST, [&](auto& host) { return m_api->RemoveHost(host, object.id, errorText); });
        require(m_api->DeleteHostGroup(object.id, errorText), "delete");
    } else if (*object.kind == LUN_GROUP) {
        takeOut(LUN, [&](auto& lun) { return m_api->RemoveLunFromLunGroup(object.id, lun, errorText); });
        takeOut(SNAPSHOT, [&](auto& each) { return m_api->RemoveSnapshotFromLunGroup(object.id, each, errorText); });
        require(m_api->DeleteLunGroup(object.id, errorText), "delete");
    } else {
        const std::vector<std::string> uses = UsesOfHostByOthers(object.id);
        if (!uses.empty()) { // initiators of others are not this command's to move
            throw Failure(ExitCode::Foreign, m_login.Device().url + ": " + naming + " stays: it " + uses.front());
        }
        for (std::string& group : m_array.Associated(HOST, object.id, HOST_GROUP)) {
            require(m_api->RemoveHost(object.id, group, errorText), "take out of host group " + group);
        }
        require(DeleteResource().DeleteHost(object.id, m_api), "delete"); // behind its initiators
    }
    OwnJournal::Drop(entry);
}
