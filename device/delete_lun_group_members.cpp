#include "device/delete_resource.h"

#include "common/log.h"
#include "common/result_codes.h"
#include "device/log_module.h"
#include "rest/zav_rest_api.h"

namespace {

int TellGroupIsGone(std::string_view operation)
{
    PS_LOG_AS(operation, 1) << "The LUN_GROUP has not exist!";
    return ResultCode::OK;
}

} // namespace

/// What tells LUNs and snapshots of a LUN group apart. Where both have the same words, that is on purpose: a snapshot
/// is one of the group's LUNs to whoever reads the log.
struct DeleteResource::MemberKind {
    int (ZavRestApi::*list)(const std::string&, std::vector<std::string>&, std::string&);
    int (ZavRestApi::*remove)(const std::string&, std::string&, std::string&);
    int (DeleteResource::*listForRemoval)(const DeviceMessage&, const boost::shared_ptr<ZavRestApi>&,
                                          std::vector<std::string>&, std::string&);
    const char* listOperation;
    const char* listFailed;
    const char* removeOperation;
    const char* listForRemovalFailed;
    const char* removeFailed;
    const char* idName;

    static const MemberKind LUN;
    static const MemberKind SNAPSHOT;
};

const DeleteResource::MemberKind DeleteResource::MemberKind::LUN = {
    &ZavRestApi::GetLunIdByLunGroup,
    &ZavRestApi::RemoveLunFromLunGroup,
    &DeleteResource::GetLunIdByLunGroup,
    "GetLunIdByLunGroup",
    "GetLunByLunGroup failed errorNum: ",
    "RemoveLunFromLunGroup",
    "GetLunByLunGroup failed errorNum: ",
    "RemoveLunFromLunGroup failed errorNum: ",
    "lunID",
};

const DeleteResource::MemberKind DeleteResource::MemberKind::SNAPSHOT = {
    &ZavRestApi::GetSnapshotIdByLunGroup,
    &ZavRestApi::RemoveSnapshotFromLunGroup,
    &DeleteResource::GetSnapshotIdByLunGroup,
    "GetSnapshotIdByLunGroup",
    "GetSnapshotIdByLunGroup failed errorNum: ",
    "RemoveSnapshotFromLunGroup",
    "RemoveSnapshotFromLunGroup failed errorNum: ",
    "RemoveSnapshotFromLunGroup failed errorNum: ",
    "snapshotID",
};

int DeleteResource::GetLunIdByLunGroup(const DeviceMessage& message, const boost::shared_ptr<ZavRestApi>& api,
                                       std::vector<std::string>& lunIds, std::string& errorText)
{
    PS_TRACE_WORDS("Enter GetLunByLunGroup!", "End GetLunByLunGroup!");
    return ListMembers(MemberKind::LUN, message.lunGroupId, api, lunIds, errorText);
}

int DeleteResource::RemoveLunFromLunGroup(const DeviceMessage& message, const boost::shared_ptr<ZavRestApi>& api,
                                          std::string& errorText)
{
    PS_TRACE_WORDS("Enter RemoveLunFromLunGroup!", "End RemoveLunFromLunGroup!");
    return RemoveMembers(MemberKind::LUN, message, api, errorText);
}

int DeleteResource::GetSnapshotIdByLunGroup(const DeviceMessage& message, const boost::shared_ptr<ZavRestApi>& api,
                                            std::vector<std::string>& snapshotIds, std::string& errorText)
{
    PS_TRACE_WORDS("Enter GetSnapshotIdByLunGroup!", "End GetSnapshotIdByLunGroup!");
    return ListMembers(MemberKind::SNAPSHOT, message.lunGroupId, api, snapshotIds, errorText);
}

int DeleteResource::RemoveSnapshotFromLunGroup(const DeviceMessage& message, const boost::shared_ptr<ZavRestApi>& api,
                                               std::string& errorText)
{
    PS_TRACE_WORDS("Enter RemoveSnapshotFromLunGroup!", "End RemoveSnapshotFromLunGroup!");
    return RemoveMembers(MemberKind::SNAPSHOT, message, api, errorText);
}

int DeleteResource::ListMembers(const MemberKind& kind, const std::string& lunGroupId,
                                const boost::shared_ptr<ZavRestApi>& api, std::vector<std::string>& ids,
                                std::string& errorText)
{
    PS_LOG_AS(kind.listOperation, 1) << "LUN_GROUP is" << lunGroupId << ".";
    const int result = (api.get()->*kind.list)(lunGroupId, ids, errorText);
    if (result != ResultCode::OK) {
        PS_LOG_AS(kind.listOperation, 4) << kind.listFailed << result << ", LUN_GROUP(" << lunGroupId << ").";
        return ResultCode::FAILED;
    }
    return ResultCode::OK;
}

int DeleteResource::RemoveMembers(const MemberKind& kind, const DeviceMessage& message,
                                  const boost::shared_ptr<ZavRestApi>& api, std::string& errorText)
{
    const std::string& lunGroupId = message.lunGroupId;
    PS_LOG_AS(kind.removeOperation, 1) << "LUN_GROUP is" << lunGroupId << ".";
    if (lunGroupId.empty()) {
        return TellGroupIsGone(kind.removeOperation); // what has no id was never made
    }
    std::vector<std::string> ids;
    const int listed = (this->*kind.listForRemoval)(message, api, ids, errorText);
    if (listed == ResultCode::OK && ids.empty()) {
        PS_LOG_AS(kind.removeOperation, 1) << "The LUN_GROUP(" << lunGroupId << ") has no LUN!";
        return ResultCode::OK;
    }
    // Whose group it is, is asked before it loses anything, and when it cannot be listed.
    std::string checkText;
    const int checked = api->CheckLunGroup(lunGroupId, message.lunGroupName, checkText);
    if (IsGoneOrAnothers(checked, ArrayCode::LUN_GROUP_GONE)) {
        return TellGroupIsGone(kind.removeOperation);
    }
    if (listed != ResultCode::OK) {
        PS_LOG_AS(kind.removeOperation, 4) << kind.listForRemovalFailed << listed;
        return listed;
    }
    if (checked != ResultCode::OK) {
        errorText = checkText;
        PS_LOG_AS(kind.removeOperation, 4) << "CheckLunGroup failed errorNum: " << checked;
        return checked;
    }
    for (std::string& id : ids) {
        PS_LOG_AS(kind.removeOperation, 1) << "lunID is" << id << ".";
        const int result = (api.get()->*kind.remove)(lunGroupId, id, errorText);
        if (result != ResultCode::OK && result != ArrayCode::MEMBER_NOT_IN_LUN_GROUP) {
            PS_LOG_AS(kind.removeOperation, 4) << kind.removeFailed << result << ", LUN_GROUP(" << lunGroupId << "), "
                                               << kind.idName << "(" << id << ").";
        }
    }
    return ResultCode::OK;
}
