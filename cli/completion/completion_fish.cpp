#include "cli/completion/completion.h"

#include <boost/algorithm/string/join.hpp>

namespace Completion {

namespace {

constexpr const char* FISH_HEAD = R"(# What fish offers behind zavctl; made by "zavctl completion fish".
)";
constexpr const char* FUNCTION = R"(
# Whether the words so far lead to this command.
function __zavctl_is_at
    set -l command
    set -l has_value
    for word in (commandline -opc)[2..-1]
        set -l place (string join -- ' ' $command $word)
        if set -q has_value[1]
            set -e has_value[1]
        else if contains -- "$place" $__zavctl_options_with_value
            set -a has_value yes
        else if contains -- "$place" $__zavctl_commands
            set -a command $word
        end
    end
    test "$command" = "$argv[1]"
end

complete -c zavctl -f
)";

std::string Quoted(const std::string& text)
{
    std::string quoted = "'";
    for (const char each : text) {
        quoted += each == '\'' || each == '\\' ? "\\" : "";
        quoted += each;
    }
    return quoted + "'";
}

std::string Wanted(const Value& value)
{
    switch (value.kind) {
    case Value::Kind::None:
        return {};
    case Value::Kind::File:
        return " -r -F";
    case Value::Kind::Choice:
        return " -x -a " + Quoted(boost::join(value.choices, " "));
    case Value::Kind::Text:
        break;
    }
    return " -x";
}

std::string Lines(const Command& command)
{
    const std::string at = "complete -c zavctl -n " + Quoted("__zavctl_is_at " + Quoted(command.path));
    std::string text;
    for (const Command& part : command.parts) {
        text += at + " -a " + Quoted(part.name) + " -d " + Quoted(part.description) + "\n";
    }
    for (const Value& place : command.places) {
        text += place.kind == Value::Kind::Choice ? at + " -a " + Quoted(boost::join(place.choices, " ")) + "\n"
                : place.kind == Value::Kind::File ? at + " -F\n"
                                                  : "";
    }
    for (const Option& option : command.options) {
        text += at;
        for (const std::string& name : option.names) {
            text += name.rfind("--", 0) == 0 ? " -l " + name.substr(2) : " -s " + name.substr(1);
        }
        text += Wanted(option.value) + " -d " + Quoted(option.description) + "\n";
    }
    return text;
}

} // namespace

std::string ForFish(const Command& program)
{
    std::string commands;
    std::string options;
    std::string lines;
    for (const Command* const command : All(program)) {
        commands += command->path.empty() ? "" : " \\\n    " + Quoted(command->path);
        for (const Option& option : command->options) {
            for (const std::string& name : option.names) {
                const std::string place = command->path + (command->path.empty() ? "" : " ") + name;
                options += option.value.kind == Value::Kind::None ? "" : " \\\n    " + Quoted(place);
            }
        }
        lines += "\n" + Lines(*command);
    }
    return FISH_HEAD + ("\nset -g __zavctl_commands" + commands) + "\nset -g __zavctl_options_with_value" + options +
           "\n" + FUNCTION + lines;
}

} // namespace Completion
