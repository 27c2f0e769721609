#ifndef PRODUCT_STORAGE_TESTS_UNIT_DEVICE_NODE_H
#define PRODUCT_STORAGE_TESTS_UNIT_DEVICE_NODE_H

#include <string>
#include <vector>

// The command lines that the node's shell is given, to the last blank.

inline const std::string READ_IQN =
    "cat /etc/iscsi/initiatorname.iscsi | grep InitiatorName= | awk -F '=' '{print $2}'";
inline const std::string READ_PORT_NAMES = "cat /sys/class/fc_host/host*/port_name";
inline const std::string READ_SESSIONS = "iscsiadm -m  session -P 1 | awk -F ':' '/Target/{printf $7} "
                                         "/Connection/{print $2}' | grep LOGGED |awk '{print $1}'";
inline const std::string DISCOVER = "iscsiadm -m discovery --op=new -t st -p '?'";
inline const std::string LOGIN = "iscsiadm -m node -p '?' -l";

// What iscsiadm says of a portal that the node is logged into.
inline const std::string ALREADY_PRESENT = "1 session requested, but 1 already present";

/// What the node is like, as the fake shell and the fake HTTP client show it.
namespace Node {

void HasInitiator(const std::string& iqn);
void HasNoInitiator();
void HasPorts(const std::vector<std::string>& wwpns);
void HasNoPorts();
void IsLoggedInto(const std::vector<std::string>& targetIps);

/// The node reaches the portal, and its login there gives `code`.
void LogsInto(const std::string& targetIp, int code = 0);

} // namespace Node

#endif
