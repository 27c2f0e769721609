#include "common/log.h"
#include "device/device_operate.h"
#include "device/log_module.h"
#include "device/node_commands.h"

#include <boost/algorithm/string/erase.hpp>

namespace {

const std::string READ_ISCSI_INITIATOR =
    "cat /etc/iscsi/initiatorname.iscsi | grep InitiatorName= | awk -F '=' '{print $2}'";
const std::string READ_FC_PORT_NAMES = "cat /sys/class/fc_host/host*/port_name";
// Joins the portal address that the array writes into the seventh field of its target names with the connection's
// state, and keeps the addresses of the sessions that are logged in.
const std::string READ_LOGGED_IN_TARGETS =
    "iscsiadm -m  session -P 1 | awk -F ':' '/Target/{printf $7} /Connection/{print $2}' | grep LOGGED |"
    "awk '{print $1}'";

using NodeCommand::Lines;

int RunShell(const std::string& command, Lines& out)
{
    Lines err;
    return NodeCommand::Run(command, {}, out, err);
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
    const int result = NodeCommand::Run(READ_LOGGED_IN_TARGETS, {}, out, err);
    if (result != 0 || out.empty()) {
        NodeCommand::TellComplaint(__func__, err); // the pipeline's own result is that of its last command
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
