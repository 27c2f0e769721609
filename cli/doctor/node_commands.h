#ifndef PRODUCT_STORAGE_CLI_DOCTOR_NODE_COMMANDS_H
#define PRODUCT_STORAGE_CLI_DOCTOR_NODE_COMMANDS_H

#include <string>
#include <vector>

namespace Doctor {

/// What a command of this node said.
struct NodeAnswer {
    int status = 0;
    std::vector<std::string> output; ///< a line each
    std::vector<std::string> errors;

    bool IsNotFound() const; ///< there is no such program
};

/// Runs a command that changes nothing, as the library runs its own. A '?' stands for a parameter.
NodeAnswer AskNode(const std::string& command, const std::vector<std::string>& parameters = {});

/// `text` as one word of a shell's line: as it is where that does, else in quotes.
std::string ShellWord(const std::string& text);

} // namespace Doctor

#endif
