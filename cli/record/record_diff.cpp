#include "cli/record/record_diff.h"

#include "cli/array/array_objects.h"
#include "cli/record/device_record.h"
#include "cli/record/recorded_objects.h"
#include "rest/zav_rest_api.h"

#include <algorithm>
#include <set>
#include <utility>

namespace {

using Side = DiffLine::Side;

class Comparison {
public:
    explicit Comparison(const ArrayLogin& login)
        : m_api(login.Api())
        , m_array(*m_api, login.Device().url)
        , m_record(DeviceRecord(login.DeviceId()).Message())
    {
    }

    std::vector<DiffLine> Make()
    {
        const DeviceMessage& record = m_record;
        if (!record.hostGroupId.empty() && m_array.Find(HOST_GROUP, record.hostGroupId)) {
            m_hosts = m_array.Associated(HOST_GROUP, record.hostGroupId, HOST);
        }
        AddInitiators();
        AddObject(HOST, record.hostId, record.hostName);
        AddMembers(HOST, record.hostId, HOST_GROUP, record.hostGroupId);
        AddObject(HOST_GROUP, record.hostGroupId, record.hostGroupName);
        AddMembers(HOST_GROUP, record.hostGroupId, MAPPING_VIEW, record.mapViewId);
        AddObject(MAPPING_VIEW, record.mapViewId, record.mapViewName);
        AddMembers(LUN_GROUP, record.lunGroupId, MAPPING_VIEW, record.mapViewId);
        AddObject(LUN_GROUP, record.lunGroupId, record.lunGroupName);
        return std::move(m_lines);
    }

private:
    void Add(Side side, const std::string& text) { m_lines.push_back({side, text}); }

    void AddObject(const ObjectKind& kind, const std::string& id, const std::string& name)
    {
        if (id.empty()) {
            return;
        }
        const std::string recorded = kind.Naming(id) + " (" + name + ")";
        const auto object = m_array.Find(kind, id);
        Add(object && object->name == name ? Side::Both : Side::Record, recorded);
        if (object && object->name != name) {
            Add(Side::Array, kind.Naming(id) + " (" + object->name + ")");
        }
    }

    // What the record has in a container, and what the array has there.
    void AddMembers(const ObjectKind& member, const std::string& memberId, const ObjectKind& container,
                    const std::string& containerId)
    {
        if (containerId.empty()) {
            return;
        }
        const std::string place = " in " + container.Naming(containerId);
        std::vector<std::string> members;
        if (m_array.Find(container, containerId)) {
            members = m_array.Associated(container, containerId, member);
        }
        if (!memberId.empty()) {
            const bool isThere = std::find(members.begin(), members.end(), memberId) != members.end();
            Add(isThere ? Side::Both : Side::Record, member.Naming(memberId) + place);
        }
        for (const std::string& id : members) {
            if (id != memberId) {
                Add(Side::Array, member.Naming(id) + place);
            }
        }
    }

    void AddInitiators()
    {
        std::set<std::string> recorded = RecordedPorts(m_record);
        for (const std::string& port : recorded) {
            AddInitiator(FC_INITIATOR, port);
        }
        if (!m_record.iscsiInitiatorName.empty()) {
            AddInitiator(ISCSI_INITIATOR, m_record.iscsiInitiatorName);
            recorded.insert(m_record.iscsiInitiatorName);
        }
        if (m_record.hostId.empty() || !m_array.Find(HOST, m_record.hostId)) {
            return;
        }
        for (const ObjectKind* const kind : {&FC_INITIATOR, &ISCSI_INITIATOR}) {
            for (const std::string& id : m_array.Initiators(*kind, m_record.hostId)) {
                if (recorded.count(id) == 0) {
                    Add(Side::Array, kind->Naming(id) + " on host " + m_record.hostId);
                }
            }
        }
    }

    // On the recorded host, or on another of the recorded group, where the library left it.
    void AddInitiator(const ObjectKind& kind, const std::string& id)
    {
        const auto initiator = m_array.Find(kind, id);
        const std::string host = initiator ? initiator->parentId : "";
        const bool isRight = !host.empty() && (host == m_record.hostId ||
                                               std::find(m_hosts.begin(), m_hosts.end(), host) != m_hosts.end());
        if (isRight) {
            Add(Side::Both, kind.Naming(id) + " on host " + host);
            return;
        }
        Add(Side::Record, kind.Naming(id) + " on host " + m_record.hostId);
        if (initiator) {
            Add(Side::Array, kind.Naming(id) + (host.empty() ? " on no host" : " on host " + host));
        }
    }

    const boost::shared_ptr<ZavRestApi> m_api;
    ArrayObjects m_array;
    const DeviceMessage m_record;
    std::vector<std::string> m_hosts; // of the recorded group
    std::vector<DiffLine> m_lines;
};

} // namespace

std::vector<DiffLine> RecordAgainstArray(const ArrayLogin& login)
{
    return Comparison(login).Make();
}
