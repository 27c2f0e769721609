#include "disklib/zav_storage_disk_lib.h"

#include "base/caught_text.h"
#include "common/environment.h"
#include "common/framework/cert.h"
#include "common/log.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

#include <string_view>
#include <vector>

namespace {

const std::string LOG_MODULE = "ZavStorageDiskLib";

constexpr std::string_view OPERATION = "CheckEnvCertForNewMgmtIP";
const std::string CERT_ROLE = "BackupNode";
constexpr std::size_t SLASHES = 2; // in front of the address, in the URL's second ':'-separated piece

bool VerifyCert(const EnvironmentPath& env, unsigned long requestId)
{
    EnvironmentPath result;
    VerifiedCertInfo certInfo;
    try {
        return Cert::VerifyCertForEnv(env, result, LOG_MODULE, certInfo, true, CERT_ROLE, requestId);
    } catch (...) { // an error of the service is a refusal
        const std::string cause = Base::CaughtText();
        PS_LOG_AS(OPERATION, 3) << "The certificate service failed: " << cause;
        return false;
    }
}

void ResumeAlert(const std::string& address, unsigned long requestId)
{
    PS_LOG_AS(OPERATION, 1) << "Resume alert for env:" << address;
    try {
        Cert::ResumeAlertForEnv(address, CERT_ROLE, requestId);
    } catch (...) { // the other addresses still have theirs resumed
        const std::string cause = Base::CaughtText();
        PS_LOG_AS(OPERATION, 3) << "Failed to resume alert for env:" << address << ": " << cause;
    }
}

} // namespace

void ZavStorageDiskLib::CheckEnvCertForNewMgmtIP(const EnvironmentPath& env, const Zav::DeviceInfo& info)
{
    if (env.protocols().empty() || env.protocols(0) != Environment::PROTOCOL_HTTPS || env.certificates().empty()) {
        return; // nothing to verify, and so nothing to say, not even that it was asked
    }
    PS_TRACE();
    std::vector<std::string> pieces;
    boost::split(pieces, info.url, boost::is_any_of(":"));
    if (pieces.size() < 2 || pieces[1].size() <= SLASHES) {
        PS_LOG(3) << "Failed to verify cert, due to wrong url pattern :" << info.url;
        return;
    }
    const std::string address = pieces[1].substr(SLASHES);
    EnvironmentPath newEnv(env);
    newEnv.clear_management_ips();
    newEnv.add_management_ips(address);

    const unsigned long requestId = TSP_RequestID.get();
    if (!VerifyCert(newEnv, requestId)) {
        PS_LOG(3) << "Failed to verify cert for this new Zav mgmt IP:" << address;
        return;
    }
    PS_LOG(1) << "Succeed to verify cert for this new Zav mgmt IP:" << address;
    // One verified address vouches for the whole array: the alerts of all its addresses are cleared.
    for (const std::string& other : info.otherMgmtIps) {
        ResumeAlert(other, requestId);
    }
}
