#include "cli/node/node_shell.h"

#include "common/framework/shell_runner.h"

#include <boost/algorithm/string/replace.hpp>

#include <regex>
#include <string_view>

namespace NodeShell {

bool Answer::IsNotFound() const
{
    constexpr int NOT_FOUND = 127;
    return status == NOT_FOUND;
}

Answer Ask(const std::string& command, const std::vector<std::string>& parameters)
{
    Answer answer;
    answer.status =
        runShellCmdWithOutput(severity_level::Info, "zavctl", 0, command, parameters, answer.output, answer.errors);
    return answer;
}

Version VersionOf(const std::string& program)
{
    static const std::regex version("version ([0-9][^ ]*)");
    const Answer answer = Ask(program + " --version");
    std::smatch found;
    for (const std::string& line : answer.output) {
        if (answer.status == 0 && std::regex_search(line, found, version)) {
            return {true, found[1].str()};
        }
    }
    return {!answer.IsNotFound(), ""};
}

std::string Word(const std::string& text)
{
    constexpr std::string_view PLAIN = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789/._-+:,@%=";
    if (!text.empty() && text.find_first_not_of(PLAIN) == std::string::npos) {
        return text;
    }
    return "'" + boost::replace_all_copy(text, "'", R"('\'')") + "'";
}

} // namespace NodeShell
