#ifndef PRODUCT_STORAGE_CLI_NODE_NODE_SHELL_H
#define PRODUCT_STORAGE_CLI_NODE_NODE_SHELL_H

#include <string>
#include <vector>

/// What this node's own programs tell.
namespace NodeShell {

/// What a command said.
struct Answer {
    int status = 0;
    std::vector<std::string> output; ///< a line each
    std::vector<std::string> errors;

    bool IsNotFound() const; ///< there is no such program
};

/// Runs a command that changes nothing, as the library runs its own. A '?' stands for a parameter.
Answer Ask(const std::string& command, const std::vector<std::string>& parameters = {});

/// What "PROGRAM --version" says.
struct Version {
    bool isThere = true; ///< the program is
    std::string number;  ///< "2.1.8" of "iscsid version 2.1.8"; empty: it does not tell
};
Version VersionOf(const std::string& program);

/// `text` as one word of a shell's line: as it is where that does, else in quotes.
std::string Word(const std::string& text);

} // namespace NodeShell

#endif
