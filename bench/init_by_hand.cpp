#include "base/files.h"
#include "bench/plain_client.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

// What a second `zavctl init` does to array and node, by hand: the same requests, flushed writes and commands.

namespace {

void RunCommand(const std::string& command)
{
    FILE* const stream = ::popen((command + " 2>&1").c_str(), "r"); // NOLINT: that is what is measured
    std::array<char, 256> line = {};
    while (stream != nullptr && std::fgets(line.data(), line.size(), stream) != nullptr) {
    }
    ::pclose(stream);
}

} // namespace

// init_by_hand URL AUTHORITY FOLDER RESOURCE...: the folder is written into, and holds a "bin" of the node's commands.
int main(int argc, char** argv)
{
    try {
        const std::vector<std::string> arguments(argv + 1, argv + argc);
        const std::string& folder = arguments.at(2);
        ::setenv("PATH", (folder + "/bin:" + std::getenv("PATH")).c_str(), 1);
        PlainClient client(arguments.at(0), arguments.at(1));
        for (std::size_t i = 3; i < arguments.size(); ++i) {
            client.GetData(arguments[i]);
        }
        constexpr int WRITES = 2;
        for (int write = 0; write < WRITES; ++write) {
            constexpr std::size_t RECORD_SIZE = 1000;
            Base::SaveFile(folder + "/record-by-hand", std::string(RECORD_SIZE, 'x'), 0600);
        }
        const char* const ports = "cat /sys/class/fc_host/host*/port_name";
        const char* const sessions = "iscsiadm -m session";
        const char* const initiator =
            "cat /etc/iscsi/initiatorname.iscsi | grep InitiatorName= | awk -F '=' '{print $2}'";
        for (const char* const command : {sessions, ports, sessions, ports, initiator, ports}) {
            RunCommand(command);
        }
        client.LogOut();
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "init_by_hand: " << error.what() << '\n';
        return 1;
    }
}
