#include "cli/preparation/leftovers.h"

#include "cli/console/failure.h"
#include "common/result_codes.h"
#include "rest/zav_rest_api.h"

#include <algorithm>
#include <functional>

/// One that is being taken apart.
struct Leftovers::Removal {
    const std::string& id;
    const Members& members;                                               ///< as they were when its uses were looked at
    std::string& errorText;                                               ///< of the last request
    const std::function<void(int code, const std::string& what)> require; ///< throws Failure for any code but OK

    template <typename Remove>
    void TakeOut(const ObjectKind& kind, const Remove& remove) const
    {
        for (Member each : members) {
            if (*each.kind == kind) {
                require(remove(each.id), "take " + kind.Naming(each.id) + " out of");
            }
        }
    }
};

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
        throw Failure::OfRequest(ExitCodeOf(code), naming + " cannot be deleted", errorText, code);
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
    const Members members = MembersOf(*object.kind, object.id);
    for (const std::string& use : UsesOf(*object.kind, object.id, members)) {
        if (std::find(object.inUse.begin(), object.inUse.end(), use) == object.inUse.end()) {
            throw Failure(ExitCode::Foreign,
                          m_login.Device().url + ": " + entry.kind + " " + object.id + " stays: it " + use + " by now");
        }
    }
    std::string errorText;
    const std::string naming = entry.kind + " " + object.id;
    const auto require = [&](int code, const std::string& what) {
        if (code != ResultCode::OK) {
            throw Failure::OfRequest(ExitCodeOf(code), m_login.Device().url + ": cannot " + what + " " + naming,
                                     errorText, code);
        }
    };
    const Removal removal = {object.id, members, errorText, require};
    if (*object.kind == MAPPING_VIEW) {
        RemoveView(removal);
    } else if (*object.kind == HOST_GROUP) {
        RemoveHostGroup(removal);
    } else if (*object.kind == LUN_GROUP) {
        RemoveLunGroup(removal);
    } else {
        RemoveHost(removal);
    }
    OwnJournal::Drop(entry);
}

void Leftovers::RemoveView(const Removal& removal)
{
    removal.TakeOut(HOST_GROUP,
                    [&](auto& group) { return m_api->RemoveHostGroup(group, removal.id, removal.errorText); });
    removal.TakeOut(LUN_GROUP,
                    [&](auto& group) { return m_api->RemoveLunGroup(group, removal.id, removal.errorText); });
    removal.require(m_api->DeleteMapView(removal.id, removal.errorText), "delete");
}

void Leftovers::RemoveHostGroup(const Removal& removal)
{
    removal.TakeOut(HOST, [&](auto& host) { return m_api->RemoveHost(host, removal.id, removal.errorText); });
    removal.require(m_api->DeleteHostGroup(removal.id, removal.errorText), "delete");
}

void Leftovers::RemoveLunGroup(const Removal& removal)
{
    removal.TakeOut(LUN, [&](auto& lun) { return m_api->RemoveLunFromLunGroup(removal.id, lun, removal.errorText); });
    removal.TakeOut(SNAPSHOT, [&](auto& snapshot) {
        return m_api->RemoveSnapshotFromLunGroup(removal.id, snapshot, removal.errorText);
    });
    removal.require(m_api->DeleteLunGroup(removal.id, removal.errorText), "delete");
}

// Only this node's own is taken off it, whatever the array tells by then.
void Leftovers::RemoveHost(const Removal& removal)
{
    const Initiators own = NodeInitiators::Read().All();
    const std::vector<std::string> uses = UsesOfHostByOthers(removal.id, own);
    if (!uses.empty()) { // initiators of others are not this command's to move
        throw Failure(ExitCode::Foreign, UrlAnd(HOST, removal.id) + " stays: it " + uses.front());
    }
    for (const std::string& group : m_array.Associated(HOST, removal.id, HOST_GROUP)) {
        if (IsOwnGroup(group)) {
            removal.require(m_api->RemoveHost(removal.id, group, removal.errorText), "take out of host group " + group);
        }
    }
    for (const auto& [kind, id] : own) {
        const std::vector<std::string> there = m_array.Initiators(*kind, removal.id);
        if (std::find(there.begin(), there.end(), id) != there.end()) {
            removal.require(*kind == ISCSI_INITIATOR ? m_api->RemoveIscsiInitiator(id, removal.errorText)
                                                     : m_api->RemoveFCInitiator(id, removal.errorText),
                            "take " + kind->Naming(id) + " out of");
        }
    }
    removal.require(m_api->DeleteHost(removal.id, removal.errorText), "delete");
}
