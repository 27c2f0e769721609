#include "cli/preparation/mapping_chain.h"

#include "cli/console/failure.h"
#include "cli/console/report.h"
#include "cli/node/node_initiators.h"
#include "cli/record/recorded_objects.h"
#include "common/framework/san_manager.h"
#include "common/result_codes.h"
#include "common/secret_session.h"
#include "device/device_set_operator.h"
#include "rest/zav_rest_api.h"

#include <boost/algorithm/string/join.hpp>

#include <algorithm>
#include <exception>
#include <memory>
#include <set>

namespace {

struct ManagerReleaser {
    void operator()(CDeviceManager* manager) const { CDeviceManager::releaseInstance(manager); }
};

template <typename Handler>
Handler& HandlerOf(CDeviceManager& manager, HANDLERTYPE type)
{
    CHandler* const handler = manager.GetHandler(type);
    if (handler == nullptr) {
        throw std::runtime_error("the SAN library has no handler for it");
    }
    return dynamic_cast<Handler&>(*handler);
}

template <typename Handler, typename Record>
void PutOntoHost(CDeviceManager& manager, HANDLERTYPE type, const std::string& id, const std::string& hostId)
{
    auto& handler = HandlerOf<Handler>(manager, type);
    Record record;
    record.id = id;
    record = handler.Create(record); // fetches one that the array knows
    if (record.parentId.empty()) {
        handler.AddToHost(record, hostId);
    }
}

/// By the SAN library, on the session that stands.
class ArrayMender : public ChainMender {
public:
    explicit ArrayMender(boost::shared_ptr<ZavRestApi> api)
        : m_api(std::move(api))
    {
    }

    void Mend(const std::string& link, const Join& join) override
    {
        DeviceSetOperator& devices = *DeviceSetOperator::GetDeviceSetOperator();
        const std::unique_ptr<CDeviceManager, ManagerReleaser> manager(devices.GetDeviceManager());
        CDeviceManager* connected = manager.get();
        SecretSession session;
        if (!m_api->GetSession(session) || !devices.InitDeviceManager(session, &connected)) {
            throw std::runtime_error("the SAN library takes no connection");
        }
        join(*connected);
        Report::Step("mended: " + link);
    }

private:
    const boost::shared_ptr<ZavRestApi> m_api;
};

// A node without a name of its own has no initiator, and nothing that a host could be made for.
std::string WhyThereIsNone()
{
    return !NodeInitiators::Read().AreNone()
               ? ""
               : ", for this node has no FC port, and no name in /etc/iscsi/initiatorname.iscsi";
}

} // namespace

MappingChain::MappingChain(const ArrayLogin& login, DeviceMessage record)
    : m_login(login)
    , m_api(login.Api())
    , m_ownObjects(std::make_unique<ArrayObjects>(*m_api, login.Device().url))
    , m_ownMender(std::make_unique<ArrayMender>(m_api))
    , m_objects(*m_ownObjects)
    , m_mender(*m_ownMender)
    , m_record(std::move(record))
{
}

MappingChain::MappingChain(const ArrayLogin& login, DeviceMessage record, ArrayObjects& objects, ChainMender& mender)
    : m_login(login)
    , m_objects(objects)
    , m_mender(mender)
    , m_record(std::move(record))
{
}

void MappingChain::MendOrFail()
{
    CheckObject(HOST, m_record.hostId, m_record.hostName);
    CheckObject(HOST_GROUP, m_record.hostGroupId, m_record.hostGroupName);
    CheckObject(LUN_GROUP, m_record.lunGroupId, m_record.lunGroupName);
    CheckObject(MAPPING_VIEW, m_record.mapViewId, m_record.mapViewName);
    if (m_broken.empty()) {
        CheckMember(HOST_GROUP, m_record.hostGroupId, HOST, m_record.hostId, [this](CDeviceManager& manager) {
            RequireOwnHost();
            HandlerOf<CHostGroupHandler>(manager, HANDLER_HOST_GROUP).AddHost(m_record.hostId, m_record.hostGroupId);
        });
        CheckMember(MAPPING_VIEW, m_record.mapViewId, HOST_GROUP, m_record.hostGroupId,
                    [this](CDeviceManager& manager) {
                        HandlerOf<CMappingViewHandler>(manager, HANDLER_MAPPING_VIEW)
                            .AddHostGroup(m_record.mapViewId, m_record.hostGroupId);
                    });
        CheckMember(MAPPING_VIEW, m_record.mapViewId, LUN_GROUP, m_record.lunGroupId, [this](CDeviceManager& manager) {
            HandlerOf<CMappingViewHandler>(manager, HANDLER_MAPPING_VIEW)
                .AddLunGroup(m_record.mapViewId, m_record.lunGroupId);
        });
        CheckInitiators();
    }
    if (!m_broken.empty()) {
        throw Failure(ExitCode::Drift,
                      m_login.Device().url + ": this node is not rightly prepared: " + boost::join(m_broken, "; "));
    }
}

void MappingChain::CheckObject(const ObjectKind& kind, const std::string& id, const std::string& name)
{
    if (id.empty()) {
        Break("no " + std::string(kind.words) + " is recorded" + (kind == HOST ? WhyThereIsNone() : ""));
        return;
    }
    const auto object = m_objects.Find(kind, id);
    if (!object) {
        Break(kind.Naming(id) + " (" + name + ") does not stand");
    } else if (object->name != name) {
        Break(kind.Naming(id) + " is called \"" + object->name + "\" and not " + name);
    }
}

void MappingChain::CheckMember(const ObjectKind& container, const std::string& containerId, const ObjectKind& member,
                               const std::string& memberId, const ChainMender::Join& join)
{
    const std::string link = member.Naming(memberId) + " in " + container.Naming(containerId);
    const std::vector<std::string> members = m_objects.Associated(container, containerId, member);
    if (std::find(members.begin(), members.end(), memberId) == members.end()) {
        Mend(link, join);
    }
}

// Whoever else has initiators on the host would see this node's LUNs.
void MappingChain::RequireOwnHost()
{
    std::set<std::string> own = RecordedPorts(m_record);
    own.insert(m_record.iscsiInitiatorName);
    for (const ObjectKind& kind : {ISCSI_INITIATOR, FC_INITIATOR}) {
        for (const std::string& each : m_objects.Initiators(kind, m_record.hostId)) {
            if (own.count(each) == 0) {
                throw std::runtime_error("the host holds " + kind.Naming(each) + " as well, which is not this node's");
            }
        }
    }
}

void MappingChain::CheckInitiators()
{
    const std::set<std::string> recordedPorts = RecordedPorts(m_record);
    const auto [ports, iqn] = NodeInitiators::Read();
    bool isAnyRecorded = false;
    for (const std::string& port : ports) {
        if (recordedPorts.count(port) != 0) {
            isAnyRecorded = true;
            CheckInitiator(FC_INITIATOR, port);
        }
    }
    // Where nothing of this node is recorded, it is seen whether the array has its name all the same.
    if (!iqn.empty() && (!isAnyRecorded || iqn == m_record.iscsiInitiatorName)) {
        CheckInitiator(ISCSI_INITIATOR, iqn);
    }
    TellWhatIsNotOurs(recordedPorts, ports, iqn);
    if (m_initiatorsInPlace == 0 && m_broken.empty()) {
        Break("this node has no initiator on the array" + WhyThereIsNone());
    }
}

// A port or name that this node had once may be another machine's by now: it is neither missed nor put anywhere.
void MappingChain::TellWhatIsNotOurs(const std::set<std::string>& recordedPorts, const std::vector<std::string>& ports,
                                     const std::string& iqn)
{
    for (const std::string& port : recordedPorts) {
        if (std::find(ports.begin(), ports.end(), port) == ports.end()) {
            Report::Tell("recorded, and not this node's any more: " + FC_INITIATOR.Naming(port));
        }
    }
    if (!m_record.iscsiInitiatorName.empty() && m_record.iscsiInitiatorName != iqn) {
        Report::Tell("recorded, and not this node's any more: " + ISCSI_INITIATOR.Naming(m_record.iscsiInitiatorName));
    }
}

void MappingChain::CheckInitiator(const ObjectKind& kind, const std::string& id)
{
    const auto initiator = m_objects.Find(kind, id);
    if (initiator && !initiator->parentId.empty()) {
        if (initiator->parentId == m_record.hostId || IsInGroup(initiator->parentId)) {
            ++m_initiatorsInPlace;
        } else {
            Break(kind.Naming(id) + " belongs to host " + initiator->parentId + ", which is not in host group " +
                  m_record.hostGroupId);
        }
        return;
    }
    Mend(kind.Naming(id) + " on host " + m_record.hostId, [&](CDeviceManager& manager) {
        if (kind == ISCSI_INITIATOR) {
            PutOntoHost<CIscsiInitiatorHandler, IscsiInitiatorMO>(manager, HANDLER_ISCSI_INITIATOR, id,
                                                                  m_record.hostId);
        } else {
            PutOntoHost<CFCInitiatorHandler, FCInitiatorMO>(manager, HANDLER_FC_INITIATOR, id, m_record.hostId);
        }
        ++m_initiatorsInPlace;
    });
}

bool MappingChain::IsInGroup(const std::string& hostId)
{
    const std::vector<std::string> members = m_objects.Associated(HOST_GROUP, m_record.hostGroupId, HOST);
    return std::find(members.begin(), members.end(), hostId) != members.end();
}

void MappingChain::Mend(const std::string& link, const ChainMender::Join& join)
{
    try {
        m_mender.Mend(link, join);
    } catch (const std::exception& error) {
        Break(link + " is missing and cannot be made: " + error.what());
    }
}
