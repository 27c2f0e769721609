#include "cli/leftovers.h"

#include "cli/failure.h"
#include "common/result_codes.h"
#include "device/delete_resource.h"
#include "rest/zav_rest_api.h"

#include <algorithm>

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
            throw Failure(ExitCodeOf(code),
                          m_login.Device().url + ": cannot " + what + " " + naming + ReasonOf(errorText, code));
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
