#ifndef PRODUCT_STORAGE_CLI_COMPLETION_COMPLETION_H
#define PRODUCT_STORAGE_CLI_COMPLETION_COMPLETION_H

#include <CLI/App.hpp>

#include <string>
#include <vector>

/// What shells offer behind what was typed so far. All of it is read from the definition of the commands: one that is
/// added there is offered without more.
namespace Completion {

/// What stands behind an option, or in a place of its own.
struct Value {
    enum class Kind { None, Text, File, Choice };

    Kind kind = Kind::None;
    std::string title;                ///< as the help has it: "FILE", "table|json"
    std::vector<std::string> choices; ///< of a Choice
};

struct Option {
    std::vector<std::string> names; ///< "-o", "--output"
    std::string description;
    Value value;
    bool isRepeatable = false;
};

struct Command {
    std::string path; ///< "" for the program, "env new"
    std::string name; ///< "new"
    std::string description;
    std::vector<Option> options; ///< those of the commands above it, too, which may stand behind it
    std::vector<Value> places;   ///< what stands behind the command by itself
    std::vector<Command> parts;  ///< its commands
};

/// The program's commands. Descriptions are as the help has them, up to the first semicolon.
Command Read(const CLI::App& app);

/// The commands below one, and itself, the latter first.
std::vector<const Command*> All(const Command& command);

/// The script for each shell.
std::string ForBash(const Command& program);
std::string ForZsh(const Command& program);
std::string ForFish(const Command& program);

} // namespace Completion

#endif
