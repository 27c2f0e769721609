#include "simulator/array/codes.h"

#include <algorithm>

namespace ZavSim {

const std::vector<CodeInfo>& AllCodes()
{
    static const std::vector<CodeInfo> CODES{
        {Code::Success, "Success", "0"},
        {Code::SessionLapsed, "SessionLapsed", "There is no such session, or it has lapsed"},
        {Code::HostNotInHostGroup, "HostNotInHostGroup", "The host is not in the host group"},
        {Code::HostGroupNotInMappingView, "HostGroupNotInMappingView", "The host group is not in the mapping view"},
        {Code::LunGroupNotInMappingView, "LunGroupNotInMappingView", "The LUN group is not in the mapping view"},
        {Code::LunGroupGone, "LunGroupGone", "The LUN group does not exist"},
        {Code::HostGone, "HostGone", "The host does not exist"},
        {Code::HostGroupGone, "HostGroupGone", "The host group does not exist"},
        {Code::NotInLunGroup, "NotInLunGroup", "The LUN or snapshot is not in the LUN group"},
        {Code::InitiatorNotOnHost, "InitiatorNotOnHost", "The initiator is not on the host"},
        {Code::MappingViewGone, "MappingViewGone", "The mapping view does not exist"},
        {Code::LoginRefused, "LoginRefused", "The user name or the password is wrong"},
        {Code::SessionLimitReached, "SessionLimitReached", "The number of sessions has reached its limit"},
        {Code::DeviceUnknown, "DeviceUnknown", "This array has another device id"},
        {Code::ResourceUnknown, "ResourceUnknown", "The array has no such resource or method"},
        {Code::ParameterBad, "ParameterBad", "A parameter is missing or malformed"},
        {Code::NameTaken, "NameTaken", "Another object of this kind has this name"},
        {Code::LunGone, "LunGone", "The LUN does not exist"},
        {Code::SnapshotGone, "SnapshotGone", "The snapshot does not exist"},
        {Code::InitiatorGone, "InitiatorGone", "The initiator does not exist"},
        {Code::InitiatorExists, "InitiatorExists", "The initiator exists already"},
        {Code::InitiatorHasHost, "InitiatorHasHost", "The initiator belongs to a host already"},
        {Code::AlreadyAssociated, "AlreadyAssociated", "The objects are associated already"},
        {Code::HostInHostGroup, "HostInHostGroup", "The host is still in a host group"},
        {Code::HostHasInitiators, "HostHasInitiators", "The host still has initiators"},
        {Code::HostGroupMapped, "HostGroupMapped", "The host group is still in a mapping view"},
        {Code::HostGroupNotEmpty, "HostGroupNotEmpty", "The host group still has hosts"},
        {Code::LunGroupMapped, "LunGroupMapped", "The LUN group is still in a mapping view"},
        {Code::LunGroupNotEmpty, "LunGroupNotEmpty", "The LUN group still has members"},
        {Code::MappingViewNotEmpty, "MappingViewNotEmpty", "The mapping view still holds groups"},
        {Code::MappingViewHasHostGroup, "MappingViewHasHostGroup", "The mapping view has a host group already"},
        {Code::MappingViewHasLunGroup, "MappingViewHasLunGroup", "The mapping view has a LUN group already"},
        {Code::PageTooWide, "PageTooWide", "The range asks for too many records at once"},
        {Code::StateNotSaved, "StateNotSaved", "The change could not be saved and was not made"},
        {Code::TargetsNotChanged, "TargetsNotChanged", "The targets could not follow the change, and it was not made"},
    };
    return CODES;
}

const CodeInfo& InfoOf(Code code)
{
    const auto& codes = AllCodes();
    return *std::find_if(codes.begin(), codes.end(), [code](const CodeInfo& info) { return info.code == code; });
}

Refusal::Refusal(Code code, const std::string& detail)
    : std::runtime_error(std::string(InfoOf(code).description) + ": " + detail)
    , m_code(code)
{
}

} // namespace ZavSim
