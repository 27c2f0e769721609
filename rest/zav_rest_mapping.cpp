#include "rest/zav_rest_api.h"

#include "common/json_text.h"
#include "common/log.h"
#include "common/result_codes.h"
#include "rest/answer_json.h"
#include "rest/object_types.h"
#include "rest/zav_rest_call.h"

namespace {

const std::string LOG_MODULE = "ZavRestApi";

using Query = std::vector<std::pair<std::string, std::string>>;

const std::string RUNNING_STATUS_ONLINE = "27";

std::string RemoveAssociateBody(const std::string& mapViewId, const std::string& memberType,
                                const std::string& memberId)
{
    Json::Value body;
    body["TYPE"] = ObjectType::MAP_VIEW;
    body["ID"] = mapViewId;
    body["ASSOCIATEOBJTYPE"] = memberType;
    body["ASSOCIATEOBJID"] = memberId;
    return JsonText::Write(body);
}

std::string InitiatorBody(const std::string& type, const std::string& initiatorId)
{
    Json::Value body;
    body["TYPE"] = type;
    body["ID"] = initiatorId;
    return JsonText::Write(body);
}

Query GroupMembers(const std::string& memberType, const std::string& lunGroupId)
{
    return {{"TYPE", memberType}, {"ASSOCIATEOBJTYPE", ObjectType::LUN_GROUP}, {"ASSOCIATEOBJID", lunGroupId}};
}

Query GroupMember(const std::string& lunGroupId, const std::string& memberType, const std::string& memberId)
{
    return {{"ID", lunGroupId}, {"ASSOCIATEOBJTYPE", memberType}, {"ASSOCIATEOBJID", memberId}};
}

} // namespace

/// How a check tells that the array's object bears another name.
struct ZavRestApi::Mismatch {
    std::string_view message;
    std::string_view currentName; ///< between the expected and the array's name behind the message; empty: neither
};

/// A removal that counts as done when the array answers that its object or association is gone already.
struct ZavRestApi::Removal {
    Call call;
    int goneCode;
    std::string_view goneMessage;
};

// ---- checks

int ZavRestApi::CheckLunGroup(const std::string& lunGroupId, const std::string& lunGroupName, std::string& errorText)
{
    PS_TRACE();
    Json::Value data;
    return CheckName({__func__, "GET", "lungroup/" + lunGroupId}, lunGroupName,
                     {"The lungroupID is not match the lungroupName!", {}}, data, errorText);
}

int ZavRestApi::CheckHost(const std::string& hostId, const std::string& hostName, std::string& errorText,
                          bool& isAddedToHostGroup)
{
    PS_TRACE();
    Json::Value data;
    const int result = CheckName({__func__, "GET", "host/" + hostId}, hostName,
                                 {"The hostID is not match the hostName!", "current host Name:"}, data, errorText);
    if (result != ResultCode::OK) {
        return result;
    }
    std::string isAdded;
    if (!AnswerJson::FindText(data, "ISADD2HOSTGROUP", isAdded)) {
        PS_LOG(2) << "The response param error.";
        return ResultCode::FAILED;
    }
    if (isAdded == "true") {
        PS_LOG(2) << "ISADD2HOSTGROUP: true";
        isAddedToHostGroup = true;
    }
    return ResultCode::OK;
}

int ZavRestApi::CheckHostGroup(const std::string& hostGroupId, const std::string& hostGroupName, std::string& errorText)
{
    PS_TRACE();
    Json::Value data;
    return CheckName({__func__, "GET", "hostgroup/" + hostGroupId}, hostGroupName,
                     {"The hostgroupID is not match the hostgroupName!", "current hostgroup name:"}, data, errorText);
}

int ZavRestApi::CheckMapView(const std::string& mapViewId, const std::string& mapViewName, std::string& errorText)
{
    PS_TRACE();
    Json::Value data;
    return CheckName({__func__, "GET", "mappingview/" + mapViewId}, mapViewName,
                     {"The mapViewID is not match the mapViewName!", "current name:"}, data, errorText);
}

int ZavRestApi::CheckName(const Call& call, const std::string& expectedName, const Mismatch& mismatch,
                          Json::Value& data, std::string& errorText)
{
    const int result = Perform(call, data, errorText);
    if (result != ResultCode::OK) {
        return result;
    }
    std::string name;
    if (!AnswerJson::FindText(data, "NAME", name)) {
        PS_LOG_AS(call.operation, 4) << "The response param error.";
        return ResultCode::FAILED;
    }
    if (name != expectedName) {
        const std::string names =
            mismatch.currentName.empty() ? "" : expectedName + std::string(mismatch.currentName) + name;
        PS_LOG_AS(call.operation, 4) << mismatch.message << names;
        return ResultCode::NAME_MISMATCH;
    }
    return ResultCode::OK;
}

int ZavRestApi::IsOnlineFCInitiator(const std::string& wwn, std::string& errorText)
{
    PS_TRACE();
    std::string status;
    const int result = ReadText({__func__, "GET", "fc_initiator/" + wwn}, "RUNNINGSTATUS", status, errorText);
    if (result == ResultCode::OK && status != RUNNING_STATUS_ONLINE) {
        PS_LOG(4) << "the fc initiator is not online. runingstatus is " << status;
        return ResultCode::FAILED;
    }
    return result;
}

// ---- listings

int ZavRestApi::GetLunIdByLunGroup(const std::string& lunGroupId, std::vector<std::string>& lunIds,
                                   std::string& errorText)
{
    PS_TRACE();
    return ListGroupMembers({__func__, "GET", "lun/associate", GroupMembers(ObjectType::LUN, lunGroupId)}, lunGroupId,
                            lunIds, errorText);
}

int ZavRestApi::GetSnapshotIdByLunGroup(const std::string& lunGroupId, std::vector<std::string>& snapshotIds,
                                        std::string& errorText)
{
    PS_TRACE();
    return ListGroupMembers({__func__, "GET", "snapshot/associate", GroupMembers(ObjectType::SNAPSHOT, lunGroupId)},
                            lunGroupId, snapshotIds, errorText);
}

int ZavRestApi::ListGroupMembers(const Call& call, const std::string& lunGroupId, std::vector<std::string>& ids,
                                 std::string& errorText)
{
    Json::Value data;
    const int result = Perform(call, data, errorText);
    if (result != ResultCode::OK) {
        return result;
    }
    if (!data.isArray()) {
        // "LUN" is said of snapshots too, on purpose: one text to look for in either case.
        PS_LOG_AS(call.operation, 1) << "The LunGroup(" << lunGroupId << ") has no LUN.";
        return ResultCode::OK;
    }
    for (const Json::Value& element : data) {
        std::string id;
        if (!AnswerJson::FindText(element, "ID", id)) {
            PS_LOG_AS(call.operation, 4) << "The response param error.";
            return ResultCode::FAILED;
        }
        ids.push_back(id);
    }
    return ResultCode::OK;
}

int ZavRestApi::GetIscsiInitiator(std::vector<std::string>& initiatorIds, const std::string& hostId,
                                  std::string& errorText)
{
    PS_TRACE();
    Call call = {__func__, "GET", "iscsi_initiator", {{"PARENTID", hostId}}};
    call.failedText = "GetIscsiInitiator failed!";
    return ReadList(
        call, [&initiatorIds](const Json::Value& element) { AnswerJson::AppendText(element, "ID", initiatorIds); },
        errorText);
}

int ZavRestApi::GetFCInitiator(std::vector<std::string>& initiatorIds, const std::string& hostId,
                               std::string& errorText)
{
    PS_TRACE();
    Call call = {__func__, "GET", "fc_initiator", {{"PARENTID", hostId}}};
    call.failedText = "GetFCInitiator failed!";
    return ReadList(
        call, [&initiatorIds](const Json::Value& element) { AnswerJson::AppendText(element, "ID", initiatorIds); },
        errorText);
}

int ZavRestApi::GetAllHostIDFromHostGroup(const std::string& hostGroupId, std::vector<std::string>& hostIds,
                                          std::string& errorText)
{
    PS_TRACE();
    Call call = {__func__, "GET", "host/associate"};
    call.query = {
        {"ASSOCIATEOBJID", hostGroupId}, {"ASSOCIATEOBJTYPE", ObjectType::HOST_GROUP}, {"TYPE", ObjectType::HOST}};
    call.failedText = "Get all all host id from host group failed."; // the doubled word is part of the message
    const auto append = [&hostIds, &hostGroupId, &call](const Json::Value& element) {
        if (AnswerJson::AppendText(element, "ID", hostIds)) {
            PS_LOG_AS(call.operation, 1) << " HOST ID: " << hostIds.back() << ", GROUP ID: " << hostGroupId;
        }
    };
    return ReadList(call, append, errorText);
}

// ---- removal

int ZavRestApi::RemoveHostGroup(const std::string& hostGroupId, const std::string& mapViewId, std::string& errorText)
{
    PS_TRACE();
    Call call = {__func__, "PUT", "mappingview/REMOVE_ASSOCIATE"};
    call.body = RemoveAssociateBody(mapViewId, ObjectType::HOST_GROUP, hostGroupId);
    call.parseCookie = true;
    return Remove({call, ArrayCode::HOST_GROUP_NOT_IN_MAP_VIEW, "The HostGroup has not been in the mapView!"},
                  errorText);
}

int ZavRestApi::RemoveLunGroup(const std::string& lunGroupId, const std::string& mapViewId, std::string& errorText)
{
    PS_TRACE();
    Call call = {__func__, "PUT", "mappingview/REMOVE_ASSOCIATE"};
    call.body = RemoveAssociateBody(mapViewId, ObjectType::LUN_GROUP, lunGroupId);
    call.parseCookie = true;
    return Remove({call, ArrayCode::LUN_GROUP_NOT_IN_MAP_VIEW, "The LunGroup has not been in the mapView!"}, errorText);
}

int ZavRestApi::RemoveHost(const std::string& hostId, const std::string& hostGroupId, std::string& errorText)
{
    PS_TRACE();
    Call call = {__func__, "DELETE", "host/associate"};
    call.query = {{"ASSOCIATEOBJID", hostId},
                  {"ASSOCIATEOBJTYPE", ObjectType::HOST},
                  {"ID", hostGroupId},
                  {"TYPE", ObjectType::HOST_GROUP}};
    return Remove({call, ArrayCode::HOST_NOT_IN_HOST_GROUP, "The specified host has not been in the hostgroup!"},
                  errorText);
}

int ZavRestApi::RemoveIscsiInitiator(const std::string& initiatorId, std::string& errorText)
{
    PS_TRACE();
    Call call = {__func__, "PUT", "iscsi_initiator/remove_iscsi_from_host"};
    call.body = InitiatorBody(ObjectType::ISCSI_INITIATOR, initiatorId);
    call.parseCookie = true;
    return Remove({call, ArrayCode::INITIATOR_NOT_ON_HOST, "The iscsiInitiator want to remove not exist on the host!"},
                  errorText);
}

int ZavRestApi::RemoveFCInitiator(const std::string& initiatorId, std::string& errorText)
{
    PS_TRACE();
    Call call = {__func__, "PUT", "fc_initiator/remove_fc_from_host"};
    call.body = InitiatorBody(ObjectType::FC_INITIATOR, initiatorId);
    call.parseCookie = true;
    return Remove({call, ArrayCode::INITIATOR_NOT_ON_HOST, "The fcInitiator want to remove not exist on the host!"},
                  errorText);
}

int ZavRestApi::RemoveLunFromLunGroup(const std::string& lunGroupId, std::string& lunId, std::string& errorText)
{
    PS_TRACE();
    Json::Value data;
    return Perform({__func__, "DELETE", "lungroup/associate", GroupMember(lunGroupId, ObjectType::LUN, lunId)}, data,
                   errorText);
}

int ZavRestApi::RemoveSnapshotFromLunGroup(const std::string& lunGroupId, std::string& snapshotId,
                                           std::string& errorText)
{
    PS_TRACE();
    Json::Value data;
    return Perform(
        {__func__, "DELETE", "lungroup/associate", GroupMember(lunGroupId, ObjectType::SNAPSHOT, snapshotId)}, data,
        errorText);
}

int ZavRestApi::DeleteMapView(const std::string& mapViewId, std::string& errorText)
{
    PS_TRACE();
    return Remove(
        {{__func__, "DELETE", "mappingview/" + mapViewId}, ArrayCode::MAP_VIEW_GONE, "The MapView has not been exist!"},
        errorText);
}

int ZavRestApi::DeleteHostGroup(const std::string& hostGroupId, std::string& errorText)
{
    PS_TRACE();
    return Remove({{__func__, "DELETE", "hostgroup/" + hostGroupId},
                   ArrayCode::HOST_GROUP_GONE,
                   "The specified host group has not been exist!"},
                  errorText);
}

int ZavRestApi::DeleteLunGroup(const std::string& lunGroupId, std::string& errorText)
{
    PS_TRACE();
    return Remove({{__func__, "DELETE", "lungroup/" + lunGroupId},
                   ArrayCode::LUN_GROUP_GONE,
                   "The specified lun group has not been exist!"},
                  errorText);
}

int ZavRestApi::DeleteHost(const std::string& hostId, std::string& errorText)
{
    PS_TRACE();
    return Remove(
        {{__func__, "DELETE", "host/" + hostId}, ArrayCode::HOST_GONE, "The specified host has not been exist!"},
        errorText);
}

int ZavRestApi::Remove(const Removal& removal, std::string& errorText)
{
    const Call& call = removal.call;
    if (!IsReadyFor(call)) {
        return ResultCode::FAILED;
    }
    Json::Value data;
    const int result = Send(call, data, errorText);
    if (result == removal.goneCode) {
        PS_LOG_AS(call.operation, 2) << removal.goneMessage;
        return ResultCode::OK;
    }
    if (result != ResultCode::OK) {
        PS_LOG_AS(call.operation, 4) << call.operation << " failed! reason: " << errorText;
    }
    return result;
}
