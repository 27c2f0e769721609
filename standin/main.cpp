#include "standin/command_line.h"
#include "standin/commands.h"
#include "standin/exit_codes.h"

#include <iostream>

namespace {

using namespace ZavSimNode;

int RejectUsage(const std::string& what)
{
    std::cerr << "iscsiadm: " << what << "\nTry `iscsiadm --help' for more information.\n";
    return EXIT_INVALID;
}

constexpr const char* VERSION = "2.1.8"; // Debian 12's, whose words and codes the stand-in has

int Run(const Command& command)
{
    if (command.action == Action::TellVersion) {
        std::cout << "iscsiadm version " << VERSION << "\n";
        return 0;
    }
    const NodeStore store(StateFolder());
    if (command.action == Action::List) {
        return ListSessions(store);
    }
    if (command.action == Action::ListBriefly) {
        return ListSessionsBriefly(store);
    }
    if (command.action == Action::Logout) {
        return LogoutAll(store);
    }
    const auto portal = ParsePortal(command.portal);
    if (!portal) {
        return RejectUsage("Invalid portal " + command.portal);
    }
    switch (command.action) {
    case Action::Discover:
        return Discover(store, *portal);
    case Action::LogoutOne:
        return LogoutOne(store, command.target, *portal);
    case Action::Delete:
        return DeleteNode(store, command.target, *portal);
    default:
        return Login(store, *portal);
    }
}

} // namespace

int main(int argc, char** argv)
{
    const Command command = ParseCommand({argv + 1, argv + argc});
    if (command.action == Action::Unknown) {
        return RejectUsage("This stand-in knows only: -m discovery --op=new -t st -p ADDRESS; -m node -p ADDRESS -l; "
                           "-m session -P 1; -m session; -m node -u; -m node -T TARGET -p ADDRESS -u; "
                           "-m node -T TARGET -p ADDRESS -o delete; --version");
    }
    try {
        return Run(command);
    } catch (const std::exception& error) {
        std::cerr << "iscsiadm: " << error.what() << "\n";
        return EXIT_DATABASE;
    }
}
