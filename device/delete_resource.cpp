#include "device/delete_resource.h"

#include "common/log.h"
#include "common/result_codes.h"
#include "device/log_module.h"
#include "rest/zav_rest_api.h"

#include <algorithm>
#include <array>
#include <initializer_list>

namespace {

bool IsOneOf(int code, std::initializer_list<int> codes)
{
    return std::find(codes.begin(), codes.end(), code) != codes.end();
}

// Logs the failure of one call and passes its code on.
int Fail(std::string_view operation, std::string_view message, int code)
{
    PS_LOG_AS(operation, 4) << message << code;
    return code;
}

} // namespace

DeleteResource::~DeleteResource() = default;

int DeleteResource::DeleteCreatedResource(const DeviceMessage& message, const Zav::SessionInfo& /*session*/,
                                          const boost::shared_ptr<ZavRestApi>& api)
{
    using Step = int (DeleteResource::*)(const DeviceMessage&, const boost::shared_ptr<ZavRestApi>&, std::string&);
    struct NamedStep {
        Step step;
        const char* failure;
        bool isWanted;
    };
    const std::array<NamedStep, 6> steps = {{
        {&DeleteResource::CheckAndDeleteMapView, "CheckAndDeleteMapView failed! Reason: ", true},
        {&DeleteResource::CheckAndDeleteHostGroup, "CheckAndDeleteHostGroup failed! Reason: ", true},
        {&DeleteResource::CheckAndDeleteHost, "CheckAndDeleteHost failed! Reason: ", m_deleteHost},
        {&DeleteResource::RemoveLunFromLunGroup, "RemoveLunFromLunGroup failed! Reason: ", true},
        {&DeleteResource::RemoveSnapshotFromLunGroup, "RemoveSnapshotFromLunGroup failed! Reason: ", true},
        // The host step's text, on purpose: whoever watches for it wants to hear of either.
        {&DeleteResource::CheckAndDeleteLunGroup, "CheckAndDeleteHost failed! Reason: ", true},
    }};

    PS_LOG(1) << "Begin to enter DeleteCreatedResource!";
    std::string errorText;
    for (const NamedStep& named : steps) {
        const int result = named.isWanted ? (this->*named.step)(message, api, errorText) : ResultCode::OK;
        if (result != ResultCode::OK) {
            PS_LOG(4) << named.failure << errorText;
            return result;
        }
    }
    PS_LOG(1) << "End DeleteCreatedResource!";
    return ResultCode::OK;
}

int DeleteResource::CheckAndDeleteMapView(const DeviceMessage& message, const boost::shared_ptr<ZavRestApi>& api,
                                          std::string& errorText)
{
    PS_TRACE_WORDS("Enter CheckAndDeleteMapView!", "End CheckAndDeleteMapView!");
    int result = message.mapViewId.empty() ? ArrayCode::MAP_VIEW_GONE // what has no id was never made
                                           : api->CheckMapView(message.mapViewId, message.mapViewName, errorText);
    if (IsGoneOrAnothers(result, ArrayCode::MAP_VIEW_GONE)) {
        PS_LOG(4) << "The mapview has not exist";
        return ResultCode::OK;
    }
    if (result != ResultCode::OK) {
        return Fail(__func__, "CheckMapView failed! errorNum: ", result);
    }
    // A group without an id was never made, or never recorded: there is none to part from the view by.
    result = message.hostGroupId.empty() ? ResultCode::OK
                                         : api->RemoveHostGroup(message.hostGroupId, message.mapViewId, errorText);
    if (!IsOneOf(result, {ResultCode::OK, ArrayCode::HOST_GROUP_GONE})) {
        return Fail(__func__, "RemoveHostGroup failed errorNum: ", result);
    }
    result = message.lunGroupId.empty() ? ResultCode::OK
                                        : api->RemoveLunGroup(message.lunGroupId, message.mapViewId, errorText);
    if (!IsOneOf(result, {ResultCode::OK, ArrayCode::LUN_GROUP_GONE})) {
        return Fail(__func__, "RemoveLunGroup failed errorNum: ", result);
    }
    result = api->DeleteMapView(message.mapViewId, errorText);
    if (!IsOneOf(result, {ResultCode::OK, ArrayCode::MAP_VIEW_GONE})) {
        return Fail(__func__, "DeleteMapView failed! errorNum: ", result);
    }
    return ResultCode::OK;
}

int DeleteResource::CheckAndDeleteHostGroup(const DeviceMessage& message, const boost::shared_ptr<ZavRestApi>& api,
                                            std::string& errorText)
{
    PS_TRACE_WORDS("Enter CheckAndDeleteHostGroup!", "End CheckAndDeleteHostGroup!");
    int result = message.hostGroupId.empty()
                     ? ArrayCode::HOST_GROUP_GONE
                     : api->CheckHostGroup(message.hostGroupId, message.hostGroupName, errorText);
    if (IsGoneOrAnothers(result, ArrayCode::HOST_GROUP_GONE)) {
        PS_LOG(1) << "The HostGroup has not exist!";
        return ResultCode::OK;
    }
    if (result != ResultCode::OK) {
        return Fail(__func__, "CheckHostGroup failed errorNum: ", result);
    }
    std::vector<std::string> hostIds;
    result = api->GetAllHostIDFromHostGroup(message.hostGroupId, hostIds, errorText);
    if (result != ResultCode::OK) {
        return Fail(__func__, "RemoveHost failed errorNum: ", result); // the removal's text, on purpose
    }
    for (const std::string& hostId : hostIds) {
        result = api->RemoveHost(hostId, message.hostGroupId, errorText);
        if (!IsOneOf(result, {ResultCode::OK, ArrayCode::HOST_NOT_IN_HOST_GROUP, ArrayCode::HOST_GONE})) {
            return Fail(__func__, "RemoveHost failed errorNum: ", result);
        }
        PS_LOG(1) << "RemoveHost result: " << result;
    }
    result = api->DeleteHostGroup(message.hostGroupId, errorText);
    if (!IsOneOf(result, {ResultCode::OK, ArrayCode::HOST_GROUP_GONE})) {
        return Fail(__func__, "DeleteHostGroup failed errorNum: ", result);
    }
    return ResultCode::OK;
}

int DeleteResource::CheckAndDeleteHost(const DeviceMessage& message, const boost::shared_ptr<ZavRestApi>& api,
                                       std::string& errorText)
{
    PS_TRACE_WORDS("Enter CheckAndDeleteHost!", "End CheckAndDeleteHost!");
    bool isAddedToHostGroup = false;
    int result = message.hostId.empty()
                     ? ArrayCode::HOST_GONE
                     : api->CheckHost(message.hostId, message.hostName, errorText, isAddedToHostGroup);
    if (isAddedToHostGroup) {
        PS_LOG(2) << "ISADD2HOSTGROUP: TRUE, NO NEED TO DELET HOST"; // so spelt
        return ResultCode::OK;
    }
    if (IsGoneOrAnothers(result, ArrayCode::HOST_GONE)) {
        PS_LOG(1) << "The Host has not exist!";
        return ResultCode::OK;
    }
    if (result != ResultCode::OK) {
        return Fail(__func__, "CheckHost failed errorNum: ", result);
    }
    result = DeleteHost(message.hostId, api);
    if (!IsOneOf(result, {ResultCode::OK, ArrayCode::HOST_GONE})) {
        return Fail(__func__, "DeleteHostGroup failed errorNum: ", result); // the host group's text, on purpose
    }
    return ResultCode::OK;
}

int DeleteResource::DeleteHost(const std::string& hostId, const boost::shared_ptr<ZavRestApi>& api)
{
    PS_LOG(1) << "Enter DeleteHost!";
    if (hostId.empty()) { // for which the array would list every initiator that it knows
        PS_LOG(1) << "The Host has not exist!";
        return ResultCode::OK;
    }
    std::string errorText;
    std::vector<std::string> initiators;
    int result = api->GetIscsiInitiator(initiators, hostId, errorText);
    if (result != ResultCode::OK) {
        PS_LOG(4) << "GetIscsiInitiator failed! reason: " << errorText;
        return result;
    }
    for (const std::string& initiator : initiators) {
        result = api->RemoveIscsiInitiator(initiator, errorText);
        if (result != ResultCode::OK) {
            PS_LOG(4) << "RemoveIscsiInitiator failed! reason:" << errorText;
            return result;
        }
    }
    initiators.clear();
    result = api->GetFCInitiator(initiators, hostId, errorText);
    if (result != ResultCode::OK) {
        PS_LOG(4) << "GetFCInitiator failed! reason: " << errorText;
        return result;
    }
    for (const std::string& initiator : initiators) {
        result = api->RemoveFCInitiator(initiator, errorText);
        if (result != ResultCode::OK) {
            PS_LOG(4) << "RemoveFCInitiator failed! reason:" << errorText;
            return result;
        }
    }
    result = api->DeleteHost(hostId, errorText);
    if (result != ResultCode::OK) {
        PS_LOG(4) << "DeleteHost failed! reason: " << errorText;
    } else {
        PS_LOG(1) << "End DeleteHost!";
    }
    return result;
}

int DeleteResource::CheckAndDeleteLunGroup(const DeviceMessage& message, const boost::shared_ptr<ZavRestApi>& api,
                                           std::string& errorText)
{
    PS_TRACE_WORDS("Enter CheckAndDeleteLunGroup!", "End CheckAndDeleteLunGroup!");
    int result = message.lunGroupId.empty() ? ArrayCode::LUN_GROUP_GONE
                                            : api->CheckLunGroup(message.lunGroupId, message.lunGroupName, errorText);
    if (IsGoneOrAnothers(result, ArrayCode::LUN_GROUP_GONE)) {
        PS_LOG(1) << "The LUN_GROUP has not exist!";
        return ResultCode::OK;
    }
    if (result != ResultCode::OK) {
        return Fail(__func__, "CheckLunGroup failed errorNum: ", result);
    }
    result = api->DeleteLunGroup(message.lunGroupId, errorText);
    if (!IsOneOf(result, {ResultCode::OK, ArrayCode::LUN_GROUP_GONE})) {
        return Fail(__func__, "DeleteLunGroup failed errorNum: ", result);
    }
    return ResultCode::OK;
}
