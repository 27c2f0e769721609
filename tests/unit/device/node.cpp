#include "tests/unit/device/node.h"

#include "tests/fakes/fakes.h"

void Node::HasInitiator(const std::string& iqn)
{
    Fakes::Shell().On(READ_IQN, {}, 0).Prints(iqn);
}

void Node::HasNoInitiator()
{
    Fakes::Shell().On(READ_IQN, {}, 1);
}

void Node::HasPorts(const std::vector<std::string>& wwpns)
{
    ShellResult& result = Fakes::Shell().On(READ_PORT_NAMES, {}, 0);
    for (const std::string& wwpn : wwpns) {
        result.Prints("0x" + wwpn);
    }
}

void Node::HasNoPorts()
{
    Fakes::Shell().On(READ_PORT_NAMES, {}, 1);
}

void Node::IsLoggedInto(const std::vector<std::string>& targetIps)
{
    ShellResult& result = Fakes::Shell().On(READ_SESSIONS, {}, targetIps.empty() ? 21 : 0);
    for (const std::string& targetIp : targetIps) {
        result.Prints(targetIp);
    }
}

void Node::LogsInto(const std::string& targetIp, int code)
{
    Fakes::Http().AcceptsConnection("http://" + targetIp + ":3260");
    Fakes::Shell().On(DISCOVER, {targetIp}, 0);
    Fakes::Shell().On(LOGIN, {targetIp}, code);
}
