#include "cli/completion/completion.h"

#include <boost/algorithm/string/join.hpp>

#include <map>

namespace Completion {

namespace {

// The rest of the script is the table of what may stand where.
constexpr const char* BASH_HEAD = R"(# What bash offers behind zavctl; made by "zavctl completion bash".

# Sets `words` to what may stand at a place: names, FILE, or TEXT for what nobody can foresee.
_zavctl_words()
{
    case $1 in
)";
constexpr const char* BASH_TAIL = R"(        *) words='' ;;
    esac
}

_zavctl()
{
    local current=${COMP_WORDS[COMP_CWORD]} command='' words='' value='' word i
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        if [[ $value && $word == = ]]; then # of --option=value, which bash hands over in three words
            continue
        elif [[ $value ]]; then
            value=''
        elif [[ $word == -* ]]; then
            _zavctl_words "value:$command $word"
            value=$words
        else
            _zavctl_words "commands:$command"
            [[ " $words " != *" $word "* ]] || command+=${command:+ }$word
        fi
    done
    if [[ $value ]]; then
        words=$value
        [[ $current != = ]] || current=''
    elif [[ $current == -* ]]; then
        _zavctl_words "options:$command"
    else
        _zavctl_words "commands:$command"
    fi
    COMPREPLY=()
    case $words in
        FILE) compopt -o default ;; # bash's own way with files
        TEXT) ;;
        *) mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current") ;;
    esac
}

complete -F _zavctl zavctl
)";

std::string WordsFor(const Value& value)
{
    switch (value.kind) {
    case Value::Kind::None:
        return {};
    case Value::Kind::File:
        return "FILE";
    case Value::Kind::Choice:
        return boost::join(value.choices, " ");
    case Value::Kind::Text:
        break;
    }
    return "TEXT";
}

/// Places of the command line by what may stand there.
using Table = std::map<std::string, std::vector<std::string>>;

void Enter(const Command& command, Table& table)
{
    std::vector<std::string> names;
    for (const Option& option : command.options) {
        names.insert(names.end(), option.names.begin(), option.names.end());
        for (const std::string& name : option.names) {
            table[WordsFor(option.value)].push_back("value:" + command.path + " " + name);
        }
    }
    table[boost::join(names, " ")].push_back("options:" + command.path);
    names.clear();
    for (const Command& part : command.parts) {
        names.push_back(part.name);
    }
    for (const Value& place : command.places) {
        names.push_back(WordsFor(place));
    }
    table[boost::join(names, " ")].push_back("commands:" + command.path);
}

} // namespace

std::string ForBash(const Command& program)
{
    Table table;
    for (const Command* const command : All(program)) {
        Enter(*command, table);
    }
    std::string script = BASH_HEAD;
    for (const auto& [words, places] : table) {
        if (!words.empty()) {
            script += "        '" + boost::join(places, "' | \\\n            '") + "')\n            words='" + words +
                      "' ;;\n";
        }
    }
    return script + BASH_TAIL;
}

} // namespace Completion
