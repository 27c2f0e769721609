#include "simulator/cluster/cluster_codes.h"

#include <algorithm>

namespace ZavSim {

// What keeps a request from the services is told plainly; a service tells a list of reasons.
const std::vector<ClusterCodeInfo>& AllClusterCodes()
{
    static const std::vector<ClusterCodeInfo> CODES{
        {ClusterCode::Success, "Success", "Success", V1Result::Success},
        {ClusterCode::SessionLapsed, "SessionLapsed", "There is no such session, or it has lapsed", V1Result::Plain},
        {ClusterCode::SystemBusy, "SystemBusy", "The system is busy", V1Result::Plain},
        {ClusterCode::LoginRefused, "LoginRefused", "The user name or the password is wrong", V1Result::Plain},
        {ClusterCode::SessionLimitReached, "SessionLimitReached", "The number of sessions has reached its limit",
         V1Result::Plain},
        {ClusterCode::ResourceUnknown, "ResourceUnknown", "The cluster has no such resource or method",
         V1Result::Details},
        {ClusterCode::ParameterBad, "ParameterBad", "A parameter is missing or malformed", V1Result::Details},
    };
    return CODES;
}

const ClusterCodeInfo& InfoOf(ClusterCode code)
{
    const auto& codes = AllClusterCodes();
    return *std::find_if(codes.begin(), codes.end(), [code](const ClusterCodeInfo& info) { return info.code == code; });
}

ClusterRefusal::ClusterRefusal(ClusterCode code, const std::string& detail)
    : std::runtime_error(std::string(InfoOf(code).description) + ": " + detail)
    , m_code(code)
{
}

} // namespace ZavSim
