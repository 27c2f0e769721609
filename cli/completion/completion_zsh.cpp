#include "cli/completion/completion.h"

#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/replace.hpp>

namespace Completion {

namespace {

constexpr const char* ZSH_HEAD = R"(#compdef zavctl
# What zsh offers behind zavctl; made by "zavctl completion zsh".
)";
// The file is either found by its name on $fpath, and then is the function's body, or was sourced.
constexpr const char* ZSH_TAIL = R"(
if [[ $funcstack[1] == _zavctl ]]; then
    _zavctl "$@"
else
    compdef _zavctl zavctl
fi
)";

std::string Escaped(const std::string& text)
{
    std::string escaped;
    for (const char each : text) {
        if (each == '\'') {
            escaped += "'\\''";
            continue;
        }
        if (std::string("\\[]:").find(each) != std::string::npos) {
            escaped += '\\';
        }
        escaped += each;
    }
    return escaped;
}

std::string MessageAndAction(const Value& value)
{
    switch (value.kind) {
    case Value::Kind::None:
        return {};
    case Value::Kind::File:
        return ":" + Escaped(value.title) + ":_files";
    case Value::Kind::Choice:
        return ":" + Escaped(value.title) + ":(" + boost::join(value.choices, " ") + ")";
    case Value::Kind::Text:
        break;
    }
    return ":" + Escaped(value.title) + ": ";
}

// '(-o --output)'{-o+,--output=}'[description]:table|json:(table json)'
std::string Argument(const Option& option)
{
    std::vector<std::string> names = option.names;
    const bool hasValue = option.value.kind != Value::Kind::None;
    for (std::string& name : names) {
        name += !hasValue ? "" : name.rfind("--", 0) == 0 ? "=" : "+"; // may stand behind it, too
    }
    const std::string all = names.size() == 1 ? names.front() : "{" + boost::join(names, ",") + "}";
    return (option.isRepeatable ? "'*'" : "'(" + boost::join(option.names, " ") + ")'") + all + "'[" +
           Escaped(option.description) + "]" + MessageAndAction(option.value) + "'";
}

std::string FunctionOf(const Command& command)
{
    return "_zavctl" + (command.path.empty() ? "" : "_" + boost::replace_all_copy(command.path, " ", "_"));
}

std::string Parts(const Command& command)
{
    std::string text = "    case $state in\n"
                       "        command)\n"
                       "            local -a commands=(\n";
    for (const Command& part : command.parts) {
        text += "                '" + Escaped(part.name) + ":" + Escaped(part.description) + "'\n";
    }
    text += "            )\n"
            "            _describe -t commands command commands && result=0 ;;\n"
            "        words)\n"
            "            case $line[1] in\n";
    for (const Command& part : command.parts) {
        text += "                " + part.name + ") " + FunctionOf(part) + " && result=0 ;;\n";
    }
    return text + "            esac ;;\n"
                  "    esac\n";
}

std::string Function(const Command& command)
{
    std::string text = "\n" + FunctionOf(command) +
                       "() {\n"
                       "    local context curcontext=$curcontext state line result=1\n"
                       "    typeset -A opt_args\n"
                       "    _arguments -C -s";
    for (const Option& option : command.options) {
        text += " \\\n        " + Argument(option);
    }
    for (const Value& place : command.places) {
        text += " \\\n        '" + MessageAndAction(place) + "'";
    }
    if (!command.parts.empty()) {
        text += " \\\n        '1: :->command' \\\n        '*:: :->words'";
    }
    text += " && result=0\n";
    return text + (command.parts.empty() ? "" : Parts(command)) + "    return result\n}\n";
}

} // namespace

std::string ForZsh(const Command& program)
{
    std::string script = ZSH_HEAD;
    for (const Command* const command : All(program)) {
        script += Function(*command);
    }
    return script + ZSH_TAIL;
}

} // namespace Completion
