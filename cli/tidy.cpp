#include "cli/tidy.h"

#include "cli/failure.h"
#include "cli/own_journal.h"
#include "common/result_codes.h"
#include "rest/zav_rest_api.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

constexpr std::string_view GENERATED_PREFIX = "Vendrix_";

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

bool IsKind(const ObjectKind& one, const ObjectKind& other)
{
    return one.resource == other.resource;
}

} // namespace

Leftovers::Leftovers(const ArrayLogin& login, DeviceMessage record)
    : m_login(login)
    , m_api(login.Api())
    , m_record(std::move(record))
    , m_array(*m_api, login.Device().url)
{
    const std::vector<OwnJournal::Entry> entries = OwnJournal::Standing(login.DeviceId());
    for (const MadeKind& made : MADE_KINDS) {
        for (const OwnJournal::Entry& entry : entries) {
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
                id = found == all->end() ? "" : found->id;
            }
            const auto object = id.empty() ? std::nullopt : m_array.Find(*made.kind, id);
            if (object && object->name == entry.name) {
                m_objects.push_back({made.kind, id, entry.name, UsesOf(*made.kind, id)});
            } else {
                OwnJournal::Drop(entry); // gone, or somebody else's since
            }
        }
    }
}

bool Leftovers::IsRecorded(const ObjectKind& kind, const std::string& id, const std::string& name) const
{
    return std::any_of(MADE_KINDS.begin(), MADE_KINDS.end(), [&](const MadeKind& made) {
        return IsKind(*made.kind, kind) && m_record.*made.name == name && (id.empty() || m_record.*made.id == id);
    });
}

std::vector<std::string> Leftovers::UsesOfMembers(const ObjectKind& container, const std::string& id,
                                                  const ObjectKind& member, const char* words)
{
    std::vector<std::string> uses;
    const auto members = m_array.Members(container, id, member);
    if (!members) {
        return {"what it holds, the array does not tell"};
    }
    for (const std::string& each : *members) {
        uses.push_back(std::string(words) + " " + each);
    }
    return uses;
}

// LUNs that somebody mapped by it, hosts of others, and initiators are signs that it is not idle.
std::vector<std::string> Leftovers::UsesOf(const ObjectKind& kind, const std::string& id)
{
    std::vector<std::string> uses;
    const auto add = [&uses](const std::vector<std::string>& more) {
        uses.insert(uses.end(), more.begin(), more.end());
    };
    if (IsKind(kind, LUN_GROUP)) {
        add(UsesOfMembers(LUN_GROUP, id, LUN, "holds LUN"));
        add(UsesOfMembers(LUN_GROUP, id, SNAPSHOT, "holds snapshot"));
    } else if (IsKind(kind, HOST_GROUP)) {
        add(UsesOfMembers(HOST_GROUP, id, HOST, "holds host"));
        uses.erase(std::remove(uses.begin(), uses.end(), "holds host " + m_record.hostId), uses.end());
    } else if (IsKind(kind, MAPPING_VIEW)) {
        for (const std::string& group :
             m_array.Members(MAPPING_VIEW, id, LUN_GROUP).value_or(std::vector<std::string>())) {
            if (group != m_record.lunGroupId) {
                add(UsesOf(LUN_GROUP, group));
            }
        }
        for (const std::string& group :
             m_array.Members(MAPPING_VIEW, id, HOST_GROUP).value_or(std::vector<std::string>())) {
            if (group != m_record.hostGroupId) {
                add(UsesOf(HOST_GROUP, group));
            }
        }
    } else {
        for (const ObjectKind& initiator : {ISCSI_INITIATOR, FC_INITIATOR}) {
            for (const std::string& each : m_array.Initiators(initiator, id).value_or(std::vector<std::string>())) {
                uses.push_back("has " + std::string(initiator.words) + " " + each);
            }
        }
    }
    return uses;
}

std::vector<Leftovers::Object> Leftovers::OfOthers()
{
    std::vector<Object> others;
    for (const MadeKind& made : MADE_KINDS) {
        for (const ArrayObject& each : m_array.All(*made.kind).value_or(std::vector<ArrayObject>())) {
            const bool isOurs = std::any_of(m_objects.begin(), m_objects.end(), [&](const Object& object) {
                return IsKind(*object.kind, *made.kind) && object.id == each.id;
            });
            if (each.name.rfind(GENERATED_PREFIX, 0) == 0 && !isOurs && !IsRecorded(*made.kind, each.id, each.name)) {
                others.push_back({made.kind, each.id, each.name, {}});
            }
        }
    }
    return others;
}

void Leftovers::Remove(const Object& object)
{
    std::string errorText;
    const auto require = [&](int code, const std::string& what) {
        if (code != ResultCode::OK) {
            throw Failure(ExitCode::Failed, m_login.Device().url + ": cannot " + what + ": " +
                                                (errorText.empty() ? "code " + std::to_string(code) : errorText));
        }
    };
    const std::string naming = std::string(object.kind->words) + " " + object.id;
    const auto members = [&](const ObjectKind& member) {
        return m_array.Members(*object.kind, object.id, member).value_or(std::vector<std::string>());
    };
    if (IsKind(*object.kind, MAPPING_VIEW)) {
        for (const std::string& group : members(HOST_GROUP)) {
            require(m_api->RemoveHostGroup(group, object.id, errorText),
                    "take host group " + group + " out of " + naming);
        }
        for (const std::string& group : members(LUN_GROUP)) {
            require(m_api->RemoveLunGroup(group, object.id, errorText),
                    "take LUN group " + group + " out of " + naming);
        }
        require(m_api->DeleteMapView(object.id, errorText), "delete " + naming);
    } else if (IsKind(*object.kind, HOST_GROUP)) {
        for (const std::string& host : members(HOST)) {
            require(m_api->RemoveHost(host, object.id, errorText), "take host " + host + " out of " + naming);
        }
        require(m_api->DeleteHostGroup(object.id, errorText), "delete " + naming);
    } else if (IsKind(*object.kind, LUN_GROUP)) {
        for (std::string& lun : members(LUN)) {
            require(m_api->RemoveLunFromLunGroup(object.id, lun, errorText), "take LUN " + lun + " out of " + naming);
        }
        for (std::string& snapshot : members(SNAPSHOT)) {
            require(m_api->RemoveSnapshotFromLunGroup(object.id, snapshot, errorText),
                    "take snapshot " + snapshot + " out of " + naming);
        }
        require(m_api->DeleteLunGroup(object.id, errorText), "delete " + naming);
    } else {
        // Its initiators stay where they are: the array refuses to delete a host that has any.
        require(m_api->DeleteHost(object.id, errorText), "delete " + naming);
    }
    OwnJournal::Drop({m_login.DeviceId(), std::string(object.kind->words), object.name, object.id});
}
