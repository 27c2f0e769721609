#include "cli/preparation/host_adoption.h"

#include "cli/array/array_objects.h"
#include "cli/console/failure.h"
#include "cli/node/node_initiators.h"
#include "cli/record/device_record.h"
#include "cli/record/own_journal.h"
#include "cli/record/recorded_objects.h"
#include "rest/zav_rest_api.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string>

namespace {

/// The hosts that the library would have this node use.
class HostsToUse {
public:
    HostsToUse(const ArrayLogin& login, ArrayObjects& objects)
        : m_login(login)
        , m_objects(objects)
    {
    }

    void Require(bool adopts)
    {
        std::set<std::string> seen;
        bool isAnyFree = false;
        for (const NodeInitiators::Name& name : m_node.All()) {
            const auto found = m_objects.Find(*name.kind, name.id);
            if (!found || found->parentId.empty()) {
                isAnyFree = true;
            } else if (seen.insert(found->parentId).second) {
                RequireHostOf(name, found->parentId, adopts);
            }
        }
        if (isAnyFree && seen.count(m_record.hostId) == 0 && IsRecordUsed()) {
            RequireRecordedHost(StrangerOn(m_record.hostId));
        }
    }

private:
    // The first initiator of a host that is not this node's. On the host that is recorded, a name that is recorded was
    // this node's once.
    std::optional<std::string> StrangerOn(const std::string& hostId)
    {
        const std::set<std::string> formerPorts = RecordedPorts(m_record);
        for (const ObjectKind& kind : {ISCSI_INITIATOR, FC_INITIATOR}) {
            for (const std::string& each : m_objects.Initiators(kind, hostId)) {
                const bool wasOurs =
                    hostId == m_record.hostId && (each == m_record.iscsiInitiatorName || formerPorts.count(each) != 0);
                if (!m_node.Has(each) && !wasOurs) {
                    return kind.Naming(each);
                }
            }
        }
        return std::nullopt;
    }

    void RequireHostOf(const NodeInitiators::Name& name, const std::string& hostId, bool adopts)
    {
        if (!adopts) {
            RequireOwnHost(name, hostId);
        }
        const std::optional<std::string> stranger = StrangerOn(hostId);
        if (hostId == m_record.hostId) {
            RequireRecordedHost(stranger);
        } else if (stranger) {
            Refuse(name.kind->Naming(name.id) + " is on host " + hostId + ", which holds " + *stranger +
                   " as well, which is not this node's");
        }
    }

    void RequireOwnHost(const NodeInitiators::Name& name, const std::string& hostId)
    {
        const auto host = m_objects.Find(HOST, hostId);
        if (host && !OwnJournal::Names(HOST, m_login.DeviceId(), host->id, host->name)) {
            Refuse("this node's " + name.kind->Naming(name.id) + " is on host " + host->id + " (" + host->name +
                   "), which was not made here");
        }
    }

    void RequireRecordedHost(const std::optional<std::string>& stranger) const
    {
        if (stranger) {
            Refuse(HOST.Naming(m_record.hostId) + " (" + m_record.hostName +
                   "), which is recorded for this node, holds " + *stranger + ", which is not this node's");
        }
    }

    // An initiator that is on no host goes to the recorded one, unless all is made anew.
    bool IsRecordUsed()
    {
        const auto objects = RecordedObjects(m_record);
        return !m_record.hostId.empty() &&
               std::all_of(objects.begin(), objects.end(), [this](const RecordedObject& object) {
                   const auto found = object.id.empty() ? std::nullopt : m_objects.Find(*object.kind, object.id);
                   return object.id.empty() || (found && found->name == object.name);
               });
    }

    [[noreturn]] void Refuse(const std::string& why) const
    {
        throw Failure(ExitCode::Foreign, m_login.Device().url + ": " + why + "; nothing was changed");
    }

    const ArrayLogin& m_login;
    ArrayObjects& m_objects;
    const NodeInitiators m_node = NodeInitiators::Read();
    const DeviceMessage m_record = DeviceRecord(m_login.DeviceId()).Message();
};

} // namespace

void RequireHostToUse(const ArrayLogin& login, bool adopts)
{
    const boost::shared_ptr<ZavRestApi> api = login.Api();
    ArrayObjects objects(*api, login.Device().url);
    HostsToUse(login, objects).Require(adopts);
}
