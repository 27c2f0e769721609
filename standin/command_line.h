#ifndef ZAVSIM_STANDIN_COMMAND_LINE_H
#define ZAVSIM_STANDIN_COMMAND_LINE_H

#include <string>
#include <vector>

namespace ZavSimNode {

enum class Action { Discover, Login, List, ListBriefly, Logout, LogoutOne, Delete, TellVersion, Unknown };

struct Command {
    Action action = Action::Unknown;
    std::string portal; ///< Discover, Login, LogoutOne, Delete: as given
    std::string target; ///< LogoutOne, Delete
};

/// Understands the few command lines that the stand-in is for, word by word.
Command ParseCommand(const std::vector<std::string>& words);

} // namespace ZavSimNode

#endif
