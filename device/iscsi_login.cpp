#include "base/caught_text.h"
#include "common/device_keys.h"
#include "common/framework/config_reader.h"
#include "common/framework/http_client.h"
#include "common/log.h"
#include "device/device_operate.h"
#include "device/log_module.h"
#include "device/node_commands.h"

namespace {

const std::string ISCSI_PORT = "3260";
const std::string DISCOVER_TARGETS = "iscsiadm -m discovery --op=new -t st -p '?'";
const std::string LOGIN_TARGETS = "iscsiadm -m node -p '?' -l";
const std::string ALREADY_LOGGED_IN = "1 session requested, but 1 already present";

using NodeCommand::Lines;

} // namespace

// Only whether the port accepts a connection matters; no HTTP is spoken.
bool DeviceOperate::ReachesPortal(const std::string& targetIp)
{
    const std::string_view operation = "LoginIscsiTarget";
    try {
        const boost::shared_ptr<QEN::IHttpClient> client = QEN::IHttpClient::CreateClient();
        if (client == nullptr) {
            PS_LOG_AS(operation, 4) << "create http client failed";
            return false;
        }
        const int timeout = ConfigReader::getInt("BackupNode", "TestNetTimeOut", true);
        if (!client->TestConnection("http://" + FormatUrl(targetIp + ":" + ISCSI_PORT), timeout)) {
            PS_LOG_AS(operation, 4) << "Target address is unreachable, address is " << targetIp;
            return false;
        }
        return true;
    } catch (...) { // the client may be anybody's; what it throws ends here
        const std::string cause = Base::CaughtText();
        PS_LOG_AS(operation, 4) << "The HTTP client failed: " << cause;
        return false;
    }
}

int DeviceOperate::LoginIscsiTarget(const std::string& iqn, const std::string& targetIp, const std::string& key,
                                    DevChAPInfo& /*chap*/)
{
    PS_TRACE();
    constexpr int NOT_DONE = 1;
    if (!ReachesPortal(targetIp)) {
        return NOT_DONE;
    }
    Lines discoveryOut;
    Lines discoveryErr;
    const int discovered = NodeCommand::Run(DISCOVER_TARGETS, {targetIp}, discoveryOut, discoveryErr);
    if (discovered != 0) {
        PS_LOG(4) << "discovery target failed, return error is:" << discovered;
        NodeCommand::TellComplaint(__func__, discoveryErr);
        return discovered;
    }
    Lines loginOut;
    Lines loginErr;
    int result = NodeCommand::Run(LOGIN_TARGETS, {targetIp}, loginOut, loginErr);
    PS_LOG(1) << "login iscsi. ret:" << result;
    if (result != 0 && !loginErr.empty() && loginErr.front().find(ALREADY_LOGGED_IN) != std::string::npos) {
        result = 0;
    }
    if (result != 0) {
        PS_LOG(4) << "login target failed, return error is:" << result;
        NodeCommand::TellComplaint(__func__, loginErr);
    }
    // Recorded after a failed login as well, on purpose: the protocol was chosen, and a later run tries it again.
    std::map<std::string, std::string> info = {{DeviceKey::IQN, iqn}, {DeviceKey::PROTOCOL_TYPE, DeviceWord::ISCSI}};
    if (!WriteInfoToJson(key, info)) {
        PS_LOG(4) << "write to config failed.";
        return NOT_DONE;
    }
    return result;
}

std::string DeviceOperate::FormatUrl(const std::string& address)
{
    const std::size_t last = address.rfind(':');
    if (last == std::string::npos || address.find(':') == last) {
        return address;
    }
    return "[" + address.substr(0, last) + "]" + address.substr(last);
}
