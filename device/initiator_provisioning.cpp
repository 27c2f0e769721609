#include "device/device_operate.h"

#include "common/device_keys.h"
#include "common/log.h"
#include "common/result_codes.h"
#include "device/log_module.h"
#include "rest/zav_rest_api.h"

#include <exception>

namespace {

// Lines whose level is not a failure's own are level 1 here, failures of the SAN library included, on purpose: a
// protocol that does not work out is no error as long as the other one does.

// Each step has its own copy of the name that was given: a host that one of them finds on the array must not lend its
// name to one that another makes. The caller still learns the name that was found last.
void TakeFoundName(const std::string& given, const std::string& name, std::string& hostName)
{
    if (name != given) {
        hostName = name;
    }
}

} // namespace

/// In which words and by which handler an initiator of one protocol is attached to a host.
struct DeviceOperate::InitiatorKind {
    std::string_view operation;
    HANDLERTYPE type = HANDLER_ISCSI_INITIATOR;
    const char* createFailed = nullptr;
    bool tellsCause = false;       ///< the cause follows `createFailed` in the same line, else in one of its own
    const char* created = nullptr; ///< after the parent's line; null for none
    const char* beginAdd = nullptr;
    bool joinsGroup = false; ///< the node's host joins the group as soon as the initiator goes to it
};

/// Which host an initiator goes to that has none yet.
struct DeviceOperate::HostChoice {
    std::string& hostId;            ///< the host to use; receives the one that is created
    std::string& hostName;          ///< the name to create it with; receives that of a host found on the array
    std::set<std::string>& hostIds; ///< of the later host group
    const boost::shared_ptr<ZavRestApi>& api;
    bool create = false;
};

// The one place that decides which host an initiator goes to, and which ids the later host group gets of it:
//  - one that has a host already stays there. That host joins the group, and is recorded as not ours to delete;
//  - one without goes to the node's host, made here first when it is to be (`create`). That host joins the group at
//    once with iSCSI; with FC when all port names are through (SetInitiatorInfo), because a node whose ports are all
//    offline is reached by iSCSI, perhaps as another host. One that was made for such ports joins all the same.
// False when the host could not be made. `goesTo` is empty for an initiator that stays where it is.
bool DeviceOperate::PlaceInitiator(const InitiatorKind& kind, const std::string& key, CDeviceManager* manager,
                                   const HostChoice& host, const std::string& parentId, std::string& goesTo)
{
    goesTo.clear();
    m_deviceMessage.doNotDeleteHost = DeviceWord::DELETE_HOST;
    if (!parentId.empty()) {
        host.hostIds.insert(parentId);
        UpdateConfigFile(key, host.api, parentId, host.hostName);
        return true;
    }
    PS_LOG_AS(kind.operation, 1) << "HOSTNAME: " << host.hostName;
    if (host.create && !SetHostInfo(key, manager, host.hostName, host.hostId)) {
        PS_LOG_AS(kind.operation, 1) << "set host failed. device id is :" << key;
        return false;
    }
    if (kind.joinsGroup && !host.hostId.empty()) {
        host.hostIds.insert(host.hostId);
    }
    goesTo = host.hostId;
    return true;
}

// Creates or fetches the initiator and sees to it that it belongs to a host.
template <typename Record>
bool DeviceOperate::AttachInitiator(const InitiatorKind& kind, const std::string& key, CDeviceManager* manager,
                                    const HostChoice& host, Record& initiator)
{
    CHandler* handler = nullptr;
    if (!GetHandler(manager, &handler, kind.type)) {
        PS_LOG_AS(kind.operation, 1) << "get handler failed.";
        return false;
    }
    try {
        initiator = dynamic_cast<CInitiatorHandler<Record>&>(*handler).Create(initiator);
    } catch (const std::exception& error) {
        PS_LOG_AS(kind.operation, 1) << kind.createFailed << (kind.tellsCause ? error.what() : "");
        if (!kind.tellsCause) {
            PS_LOG_AS(kind.operation, 1) << "oLib ex:" << error.what();
        }
        return false;
    }
    PS_LOG_AS(kind.operation, 2) << "the array knows initiator " << initiator.id;
    PS_LOG_AS(kind.operation, 1) << "initiator parent id is:" << initiator.parentId;
    if (kind.created != nullptr) {
        PS_LOG_AS(kind.operation, 1) << kind.created;
    }
    std::string hostId;
    if (!PlaceInitiator(kind, key, manager, host, initiator.parentId, hostId)) {
        return false;
    }
    if (!initiator.parentId.empty()) {
        return true;
    }
    PS_LOG_AS(kind.operation, 1) << kind.beginAdd;
    try {
        dynamic_cast<CInitiatorHandler<Record>&>(*handler).AddToHost(initiator, hostId);
    } catch (const std::exception& error) {
        PS_LOG_AS(kind.operation, 1) << "add init to host failed. oLib ex:" << error.what();
        return false;
    }
    return true;
}

bool DeviceOperate::SetInitiatorInfo(std::string key, CDeviceManager* manager,
                                     const std::vector<std::string>& targetIps, std::string& hostId,
                                     std::string& hostName, std::set<std::string>& hostIds, bool createHost,
                                     const boost::shared_ptr<ZavRestApi>& api)
{
    PS_LOG(1) << "begin create initiator.";
    if (manager == nullptr) {
        PS_LOG(4) << "devicemanager point is null.";
        return false;
    }
    const std::string givenHostId = hostId;
    const std::string givenName = hostName;
    bool result = SetFCInitorInfo(key, manager, hostId, hostName, hostIds, createHost, api);
    const bool hasMadeHost = hostId != givenHostId;
    if (!hostId.empty() && (result || hasMadeHost)) {
        hostIds.insert(hostId); // see PlaceInitiator
    }
    if (result) {
        PS_LOG(1) << "using FC initiator.";
    } else {
        // A host that the FC attempt made is used, not doubled.
        std::string name = givenName;
        result = SetIscsiInitorInfo(key, manager, targetIps, hostId, name, hostIds, createHost && !hasMadeHost, api);
        TakeFoundName(givenName, name, hostName);
        PS_LOG(1) << "create " << key << " iscsi initor result is :" << result;
    }
    PS_LOG(1) << "create initiator finished.";
    return result;
}

bool DeviceOperate::SetIscsiInitorInfo(std::string key, CDeviceManager* manager,
                                       const std::vector<std::string>& targetIps, std::string& hostId,
                                       std::string& hostName, std::set<std::string>& hostIds, bool createHost,
                                       const boost::shared_ptr<ZavRestApi>& api)
{
    PS_LOG(1) << "begin check iscsi initiator.";
    if (manager == nullptr) {
        PS_LOG(4) << "devicemanager point is null.";
        return false;
    }
    std::string iqn;
    if (!GetIscsiInitor(iqn)) {
        PS_LOG(4) << "get IQN failed.";
        return false;
    }
    PS_LOG(1) << "get IQN successed.";
    IscsiInitiatorMO initiator;
    initiator.id = iqn;
    InitiatorKind kind;
    kind.operation = __func__;
    kind.type = HANDLER_ISCSI_INITIATOR;
    kind.createFailed = "create Iscsi initiator failed. oLib ex:";
    kind.tellsCause = true;
    kind.beginAdd = "begin add initiator.";
    kind.joinsGroup = true;
    HostChoice host = {hostId, hostName, hostIds, api};
    host.create = createHost;
    if (!AttachInitiator(kind, key, manager, host, initiator)) {
        return false;
    }
    std::string loginName = iqn;
    const bool result = SetIscsiInitorInfoInner(key, manager, targetIps, iqn, initiator, loginName);
    PS_LOG(1) << "create iscsi initiator finish.";
    return result;
}

bool DeviceOperate::SetIscsiInitorInfoInner(std::string key, CDeviceManager* manager,
                                            const std::vector<std::string>& targetIps, const std::string& /*iqn*/,
                                            IscsiInitiatorMO& initiator, std::string& loginName)
{
    PS_TRACE();
    if (manager == nullptr) {
        PS_LOG(4) << "devicemanager point is null.";
        return false;
    }
    std::map<std::string, std::string> info = {{DeviceKey::ISCSI_INITIATOR_NAME, initiator.id}};
    WriteInfoToJson(key, info);
    m_deviceMessage.iscsiInitiatorName = initiator.id;
    if (targetIps.empty()) {
        return true;
    }
    for (const std::string& targetIp : targetIps) {
        DevChAPInfo chap;
        const int code = LoginIscsiTarget(loginName, targetIp, key, chap);
        if (code == ResultCode::OK) {
            PS_LOG(2) << "login iscsi target success! target ip is" << targetIp;
            return true;
        }
        PS_LOG(4) << "login iscsi target failed, errornum is:" << code;
    }
    PS_LOG(4) << "login iscsi target failed!";
    return false;
}

bool DeviceOperate::SetFCInitorInfo(std::string key, CDeviceManager* manager, std::string& hostId,
                                    std::string& hostName, std::set<std::string>& hostIds, bool createHost,
                                    const boost::shared_ptr<ZavRestApi>& api)
{
    PS_LOG(1) << "set fc initiator.";
    if (manager == nullptr) {
        PS_LOG(4) << "devicemanager point is null.";
        return false;
    }
    std::vector<std::string> wwpns;
    if (!GetFCInitor(wwpns)) {
        PS_LOG(1) << "get WWPN failed.";
        return false;
    }
    PS_LOG(1) << "get WWPN COUNT is:" << wwpns.size();
    const std::string givenName = hostName;
    std::string recordedNames;
    bool isAnyOnline = false;
    for (const std::string& wwpn : wwpns) {
        std::string name = givenName;
        const bool isOnDevice = CreateFCInitorOnDev(manager, wwpn, hostId, key, name, hostIds, createHost, api);
        TakeFoundName(givenName, name, hostName);
        if (!isOnDevice) {
            PS_LOG(1) << "create initor failed";
            return false;
        }
        std::string errorText;
        isAnyOnline = api->IsOnlineFCInitiator(wwpn, errorText) == ResultCode::OK || isAnyOnline;
        recordedNames += ";" + wwpn;
    }
    if (!isAnyOnline) {
        PS_LOG(2) << "no FC port is online.";
        return false; // nothing is recorded: the node does not reach the array by FC
    }
    std::map<std::string, std::string> info = {{DeviceKey::FC_INITIATOR_NAME, recordedNames}};
    WriteInfoToJson(key, info);
    m_deviceMessage.fcInitiatorName = recordedNames;
    PS_LOG(1) << "set fc initiator finish.";
    return true;
}

bool DeviceOperate::CreateFCInitorOnDev(CDeviceManager* manager, const std::string& wwpn, std::string& hostId,
                                        std::string key, std::string& hostName, std::set<std::string>& hostIds,
                                        bool createHost, const boost::shared_ptr<ZavRestApi>& api)
{
    PS_LOG(1) << "begin create FC initiator.";
    FCInitiatorMO initiator;
    initiator.id = wwpn;
    InitiatorKind kind;
    kind.operation = __func__;
    kind.type = HANDLER_FC_INITIATOR;
    kind.createFailed = "create FC initiator failed.";
    kind.created = "create fc initiator finish.";
    kind.beginAdd = "begin add initiator to host.";
    HostChoice host = {hostId, hostName, hostIds, api};
    host.create = createHost && hostId.empty(); // several port names share the host that is made for the first
    return AttachInitiator(kind, key, manager, host, initiator);
}
