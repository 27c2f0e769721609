#include "cli/picture/node_look.h"

#include "cli/array/array_objects.h"
#include "cli/console/failure.h"
#include "cli/console/report.h"
#include "cli/node/fc_ports.h"
#include "cli/node/iscsi_sessions.h"
#include "cli/node/local_disks.h"
#include "cli/node/node_initiators.h"
#include "cli/preparation/leftovers.h"
#include "cli/record/device_record.h"
#include "cli/record/recorded_objects.h"
#include "rest/zav_rest_api.h"

#include <boost/algorithm/string/join.hpp>

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <string_view>
#include <utility>

namespace {

PictureItem ItemOf(const ObjectKind& kind, const std::string& id, const std::string& name = {})
{
    PictureItem item;
    item.kind = kind.words;
    item.id = id;
    item.name = name;
    return item;
}

bool Contains(const std::vector<std::string>& texts, const std::string& text)
{
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

/// One look; what it finds goes into the picture.
class Look {
public:
    explicit Look(const ArrayLogin& login)
        : m_login(login)
        , m_api(login.Api())
        , m_record(DeviceRecord(login.DeviceId()).Message())
        , m_objects(*m_api, login.Device().url)
    {
        try {
            m_sessions = IscsiSessions::Standing();
        } catch (const Failure& failure) {
            m_whySessionsAreUnknown = failure.what();
        }
        if (!m_record.hostGroupId.empty() && m_objects.Find(HOST_GROUP, m_record.hostGroupId)) {
            m_hostsOfGroup = m_objects.Associated(HOST_GROUP, m_record.hostGroupId, HOST);
        }
    }

    NodePicture Take()
    {
        PictureItem& root = m_picture.root;
        root.kind = "node";
        root.state = "on " + m_login.Device().url + " (" + m_login.DeviceId() + ")";
        AddInitiators(root);
        PictureItem* end = AddRecorded(root, HOST, m_record.hostId, m_record.hostName);
        AddInitiatorsOfHost(*end);
        end = AddRecorded(*end, HOST_GROUP, m_record.hostGroupId, m_record.hostGroupName);
        RequireMember(*end, HOST_GROUP, m_record.hostGroupId, HOST, m_record.hostId);
        AddOtherHosts(*end);
        end = AddRecorded(*end, MAPPING_VIEW, m_record.mapViewId, m_record.mapViewName);
        RequireMember(*end, MAPPING_VIEW, m_record.mapViewId, HOST_GROUP, m_record.hostGroupId);
        end = AddRecorded(*end, LUN_GROUP, m_record.lunGroupId, m_record.lunGroupName);
        RequireMember(*end, MAPPING_VIEW, m_record.mapViewId, LUN_GROUP, m_record.lunGroupId);
        AddLuns(*end);
        AddLeftovers(root);
        if (!m_isAnyInPlace && m_picture.faults.empty()) {
            m_picture.faults.emplace_back("this node has no initiator on the array");
        }
        if (!m_hasPath && !m_areSessionsMissed) {
            m_picture.faults.emplace_back(m_whySessionsAreUnknown.empty()
                                              ? "this node has no online FC port and no iSCSI session with the array"
                                              : "this node has no online FC port, and whether it has an iSCSI session "
                                                "is not known");
        }
        return std::move(m_picture);
    }

private:
    /// Where an initiator of this node's is.
    enum class Place { Unknown, Elsewhere, Ours };

    void Mark(PictureItem& item, Standing standing, const std::string& why)
    {
        item.standing = standing;
        item.why = why;
    }

    void Fault(PictureItem& item, Standing standing, const std::string& why)
    {
        Mark(item, standing, why);
        m_picture.faults.push_back(item.Naming() + ": " + why);
    }

    void AddInitiators(PictureItem& root)
    {
        for (const FcPort& port : FcPorts::Look(m_initiators.ports)) {
            AddFcPort(root.parts.emplace_back(ItemOf(FC_INITIATOR, port.name)), port.state);
        }
        if (!m_initiators.iqn.empty()) {
            PictureItem& item = root.parts.emplace_back(ItemOf(ISCSI_INITIATOR, m_initiators.iqn));
            LookAtInitiator(item, ISCSI_INITIATOR);
            AddSessions(item);
        }
        if (m_initiators.AreNone()) {
            PictureItem& item = root.parts.emplace_back();
            item.kind = "initiator";
            Fault(item, Standing::Missing, "no FC port, and no name in /etc/iscsi/initiatorname.iscsi");
        }
    }

    // `link` is the kernel's word for the port's state. What the array does not have, it cannot miss.
    void AddFcPort(PictureItem& item, const std::string& link)
    {
        const Place place = LookAtInitiator(item, FC_INITIATOR);
        const bool isOnline = place != Place::Unknown && ArraySeesOnline(*m_api, m_login.Device().url, item.id);
        if (!isOnline && place != Place::Unknown && item.standing == Standing::Sound) {
            Mark(item, Standing::Down, "the array does not see it online");
        }
        if (!link.empty()) {
            item.state = link + " here" + (item.state.empty() ? "" : ", " + item.state);
        }
        m_hasPath = m_hasPath || (place == Place::Ours && isOnline);
    }

    // Needed are the recorded ports, and the iSCSI name where it is recorded, or none of this node's ports is.
    bool IsNeeded(const std::string& initiator) const
    {
        const std::set<std::string> recorded = RecordedPorts(m_record);
        const auto isRecorded = [&recorded](const std::string& port) { return recorded.count(port) != 0; };
        return isRecorded(initiator) || initiator == m_record.iscsiInitiatorName ||
               (initiator == m_initiators.iqn &&
                std::none_of(m_initiators.ports.begin(), m_initiators.ports.end(), isRecorded));
    }

    Place LookAtInitiator(PictureItem& item, const ObjectKind& kind)
    {
        const bool isNeeded = IsNeeded(item.id);
        const auto lack = [&](const std::string& why) {
            if (isNeeded) {
                Fault(item, Standing::Missing, why);
            } else {
                item.state = why;
            }
        };
        const auto found = m_objects.Find(kind, item.id);
        if (!found) {
            lack("the array does not have it");
            return Place::Unknown;
        }
        if (found->parentId.empty()) {
            lack("it is on no host of the array");
        } else if (found->parentId != m_record.hostId && !Contains(m_hostsOfGroup, found->parentId)) {
            const std::string why = "it is on host " + found->parentId + ", which is not this node's";
            if (m_record.hostId.empty()) {
                Mark(item, Standing::Unrecorded, "it is on host " + found->parentId);
            } else if (isNeeded) {
                Fault(item, Standing::Foreign, why);
            } else {
                Mark(item, Standing::Unrecorded, why);
            }
        } else {
            item.state = "on host " + found->parentId;
            m_isAnyInPlace = true;
            return Place::Ours;
        }
        return Place::Elsewhere;
    }

    // One session is what init sees to; where none stands and iSCSI is what the node uses, each address lacks one.
    void AddSessions(PictureItem& initiator)
    {
        if (!m_whySessionsAreUnknown.empty()) {
            PictureItem& item = initiator.parts.emplace_back();
            item.kind = "sessions";
            m_areSessionsMissed = IsNeeded(initiator.id);
            if (m_areSessionsMissed) {
                Fault(item, Standing::Missing, m_whySessionsAreUnknown);
            } else {
                item.state = m_whySessionsAreUnknown;
            }
            return;
        }
        std::vector<PictureItem> without;
        for (const std::string& address : m_login.Device().storageIps) {
            bool hasSession = false;
            for (const IscsiSession& session : m_sessions) {
                if (session.IsAt(address)) {
                    hasSession = true;
                    PictureItem& item = initiator.parts.emplace_back();
                    item.kind = "session";
                    item.id = session.portal;
                    item.detail = session.target;
                    const std::string state = IscsiSessions::StateOf(session);
                    item.state = "up";
                    if (!state.empty() && state != "LOGGED_IN") {
                        item.state.clear();
                        Mark(item, Standing::Down, "the kernel has it as " + state);
                    } else {
                        m_hasPath = true;
                    }
                }
            }
            if (!hasSession) {
                PictureItem& item = without.emplace_back();
                item.kind = "portal";
                item.id = address;
                item.state = "no session";
            }
        }
        if (initiator.parts.empty() && IsNeeded(initiator.id)) {
            for (PictureItem& item : without) {
                item.state.clear();
                Mark(item, Standing::Missing, "no session stands with it");
            }
        }
        std::move(without.begin(), without.end(), std::back_inserter(initiator.parts));
    }

    PictureItem* AddRecorded(PictureItem& above, const ObjectKind& kind, const std::string& id, const std::string& name)
    {
        PictureItem& item = above.parts.emplace_back(ItemOf(kind, id, name));
        if (id.empty()) {
            m_missing.insert(kind.words);
            Fault(item, Standing::Missing, "none is recorded");
        } else if (const auto object = m_objects.Find(kind, id); !object) {
            m_missing.insert(kind.words);
            Fault(item, Standing::Missing, "the array has none of this id");
        } else if (object->name != name) {
            Fault(item, Standing::Foreign, "the array has it as \"" + object->name + "\"");
        }
        return &item;
    }

    void RequireMember(PictureItem& item, const ObjectKind& container, const std::string& containerId,
                       const ObjectKind& member, const std::string& memberId)
    {
        const bool isAnyMissing = m_missing.count(container.words) != 0 || m_missing.count(member.words) != 0;
        if (!isAnyMissing && item.standing == Standing::Sound &&
            !Contains(m_objects.Associated(container, containerId, member), memberId)) {
            Fault(item, Standing::Missing,
                  std::string(member.words) + " " + memberId + " is not in " + std::string(container.words) + " " +
                      containerId);
        }
    }

    void AddInitiatorsOfHost(PictureItem& host)
    {
        if (host.standing != Standing::Sound) {
            return;
        }
        for (const ObjectKind* const kind : {&FC_INITIATOR, &ISCSI_INITIATOR}) {
            for (const std::string& id : m_objects.Initiators(*kind, host.id)) {
                if (!m_initiators.Has(id)) {
                    AddStranger(host.parts.emplace_back(ItemOf(*kind, id)));
                }
            }
        }
    }

    // On this node's host: its own of former days, or another machine's, which sees this node's LUNs by it.
    void AddStranger(PictureItem& initiator)
    {
        if (initiator.id == m_record.iscsiInitiatorName || RecordedPorts(m_record).count(initiator.id) != 0) {
            Mark(initiator, Standing::Unrecorded, "this node had it once; it is another machine's by now, or nobody's");
        } else {
            Fault(initiator, Standing::Foreign, "it is on this node's host and not this node's");
        }
    }

    void AddOtherHosts(PictureItem& group)
    {
        for (const std::string& id : m_hostsOfGroup) {
            if (id != m_record.hostId) {
                Mark(group.parts.emplace_back(ItemOf(HOST, id)), Standing::Unrecorded, "in this node's host group");
            }
        }
    }

    void AddLuns(PictureItem& group)
    {
        if (group.id.empty() || group.standing != Standing::Sound) {
            return;
        }
        const std::map<std::string, std::vector<std::string>> disks = LocalDisks::ByWwn();
        for (const MappedLun& lun : m_objects.Luns(group.id)) {
            PictureItem& item = group.parts.emplace_back(ItemOf(LUN, lun.id, lun.name));
            const auto here = disks.find(LocalDisks::PlainWwn(lun.wwn));
            item.state = Report::Size(lun.capacity) +
                         (here == disks.end() ? "" : ", here as " + boost::join(here->second, ", "));
            item.detail = lun.wwn;
        }
        for (const std::string& id : m_objects.Associated(LUN_GROUP, group.id, SNAPSHOT)) {
            group.parts.push_back(ItemOf(SNAPSHOT, id));
        }
    }

    void AddLeftovers(PictureItem& root)
    {
        const Leftovers leftovers(m_login, m_record, Leftovers::Gone::Kept);
        for (const Leftovers::Object& object : leftovers.Objects()) {
            Mark(root.parts.emplace_back(ItemOf(*object.kind, object.id, object.name)), Standing::Unrecorded,
                 object.inUse.empty() ? "left by an earlier run: zavctl tidy takes it apart"
                                      : "left by an earlier run, and in use: it " + boost::join(object.inUse, ", ") +
                                            "; see zavctl tidy --dry-run");
        }
    }

    const ArrayLogin& m_login;
    const boost::shared_ptr<ZavRestApi> m_api;
    const DeviceMessage m_record;
    ArrayObjects m_objects;
    std::vector<IscsiSession> m_sessions;
    std::string m_whySessionsAreUnknown; // empty when they are known
    const NodeInitiators m_initiators = NodeInitiators::Read();
    std::vector<std::string> m_hostsOfGroup;
    std::set<std::string_view> m_missing; // the words of the recorded kinds that do not stand
    bool m_isAnyInPlace = false;          // of the initiators
    bool m_hasPath = false;
    bool m_areSessionsMissed = false; // a fault tells that nobody knows them
    NodePicture m_picture;
};

} // namespace

NodePicture LookAtNode(const ArrayLogin& login)
{
    return Look(login).Take();
}
