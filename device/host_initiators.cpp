#include "device/device_operate.h"

#include "base/caught_text.h"
#include "base/printable_text.h"
#include "common/device_keys.h"
#include "common/framework/config_reader.h"
#include "common/framework/http_client.h"
#include "common/framework/random_bytes.h"
#include "common/framework/shell_runner.h"
#include "common/log.h"

#include <boost/algorithm/string/erase.hpp>

#include <algorithm>
#include <string_view>

namespace {

const std::string LOG_MODULE = "DeviceSetOperator"; // not the class's own name: all device code logs as one module

const std::string SHELL_MODULE = "ZavStorage_RunShell";
const std::string ISCSI_PORT = "3260";

const std::string READ_ISCSI_INITIATOR =
    "cat /etc/iscsi/initiatorname.iscsi | grep InitiatorName= | awk -F '=' '{print $2}'";
const std::string READ_FC_PORT_NAMES = "cat /sys/class/fc_host/host*/port_name";
// Joins the portal address that the array writes into the seventh field of its target names with the connection's
// state, and keeps the addresses of the sessions that are logged in.
const std::string READ_LOGGED_IN_TARGETS =
    "iscsiadm -m  session -P 1 | awk -F ':' '/Target/{printf $7} /Connection/{print $2}' | grep LOGGED |"
    "awk '{print $1}'";
const std::string DISCOVER_TARGETS = "iscsiadm -m discovery --op=new -t st -p '?'";
const std::string LOGIN_TARGETS = "iscsiadm -m node -p '?' -l";
const std::string ALREADY_LOGGED_IN = "1 session requested, but 1 already present";

const std::string NAME_PREFIX = "Vendrix_";
constexpr std::string_view NAME_ALPHABET = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_";
constexpr unsigned int NAME_LENGTH_LIMIT = 1024;
constexpr int RANDOM_FAILURE_LIMIT = 3;

using Lines = std::vector<std::string>;

int RunShell(const std::string& command, const Lines& params, Lines& out, Lines& err)
{
    return runShellCmdWithOutput(severity_level::Info, SHELL_MODULE, 0, command, params, out, err);
}

int RunShell(const std::string& command, Lines& out)
{
    Lines err;
    return RunShell(command, {}, out, err);
}

// What a failed iscsiadm said, in its own words.
void TellComplaint(std::string_view operation, const Lines& err)
{
    if (!err.empty()) {
        PS_LOG_AS(operation, 4) << "iscsiadm said: " << Base::PrintableLines(err);
    }
}

} // namespace

bool DeviceOperate::GetIscsiInitor(std::string& iqn)
{
    PS_TRACE();
    Lines out;
    if (RunShell(READ_ISCSI_INITIATOR, out) != 0 || out.empty()) {
        PS_LOG(4) << "get iscsi Initiator ID error. ";
        return false;
    }
    iqn = out.front();
    return true;
}

bool DeviceOperate::GetFCInitor(Lines& wwpns)
{
    PS_TRACE();
    Lines out;
    if (RunShell(READ_FC_PORT_NAMES, out) != 0) {
        PS_LOG(4) << "get FC Initiator ID error. ";
        return false;
    }
    if (out.empty()) {
        PS_LOG(4) << "get FC Initiator ID count is 0. ";
        return false;
    }
    for (const std::string& line : out) {
        wwpns.push_back(boost::erase_all_copy(line, "0x"));
    }
    return true;
}

bool DeviceOperate::GetLoginTargetIP(Lines& ips)
{
    PS_TRACE();
    Lines out;
    Lines err;
    const int result = RunShell(READ_LOGGED_IN_TARGETS, {}, out, err);
    if (result != 0 || out.empty()) {
        TellComplaint(__func__, err); // the pipeline's own result is that of its last command
    }
    if (result != 0) {
        PS_LOG(4) << "GetLoginTargetIP error. ";
        return false;
    }
    if (out.empty()) {
        PS_LOG(4) << "Logined TargetIP count is 0. ";
        return false;
    }
    for (const std::string& line : out) {
        PS_LOG(1) << "GetLoginTargetIP Message: " << line;
        ips.push_back(line);
    }
    return true;
}

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
    const int discovered = RunShell(DISCOVER_TARGETS, {targetIp}, discoveryOut, discoveryErr);
    if (discovered != 0) {
        PS_LOG(4) << "discovery target failed, return error is:" << discovered;
        TellComplaint(__func__, discoveryErr);
        return discovered;
    }
    Lines loginOut;
    Lines loginErr;
    int result = RunShell(LOGIN_TARGETS, {targetIp}, loginOut, loginErr);
    PS_LOG(1) << "login iscsi. ret:" << result;
    if (result != 0 && !loginErr.empty() && loginErr.front().find(ALREADY_LOGGED_IN) != std::string::npos) {
        result = 0;
    }
    if (result != 0) {
        PS_LOG(4) << "login target failed, return error is:" << result;
        TellComplaint(__func__, loginErr);
    }
    // Recorded after a failed login as well, on purpose: the protocol was chosen, and a later run tries it again.
    std::map<std::string, std::string> info = {{DeviceKey::IQN, iqn}, {DeviceKey::PROTOCOL_TYPE, DeviceWord::ISCSI}};
    if (!WriteInfoToJson(key, info)) {
        PS_LOG(4) << "write to config failed.";
        return NOT_DONE;
    }
    return result;
}

bool DeviceOperate::GetRandStr(std::string& name, unsigned int length)
{
    PS_TRACE();
    if (length >= NAME_LENGTH_LIMIT) {
        PS_LOG(4) << "get random string failed, length " << length << " is not below " << NAME_LENGTH_LIMIT;
        return false;
    }
    std::string characters;
    int failures = 0; // in a row
    while (characters.size() < length) {
        unsigned int random = 0;
        if (getRandBytes(reinterpret_cast<unsigned char*>(&random), sizeof(random)) <= 0) {
            ++failures;
            continue;
        }
        // Looked at only when bytes come again, on purpose: a source that keeps failing is waited for.
        if (failures >= RANDOM_FAILURE_LIMIT) {
            PS_LOG(4) << "get random string failed, have been retry 3 times.";
            return false;
        }
        characters += NAME_ALPHABET[random % NAME_ALPHABET.size()];
        failures = 0;
    }
    name = NAME_PREFIX + characters;
    return true;
}
