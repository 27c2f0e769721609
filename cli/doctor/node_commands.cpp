#include "cli/doctor/node_commands.h"

#include "common/framework/shell_runner.h"

#include <boost/algorithm/string/replace.hpp>

#include <algorithm>
#include <string_view>

namespace Doctor {

bool NodeAnswer::IsNotFound() const
{
    constexpr int NOT_FOUND = 127;
    return status == NOT_FOUND;
}

NodeAnswer AskNode(const std::string& command, const std::vector<std::string>& parameters)
{
    NodeAnswer answer;
    answer.status =
        runShellCmdWithOutput(severity_level::Info, "zavctl", 0, command, parameters, answer.output, answer.errors);
    return answer;
}

std::string ShellWord(const std::string& text)
{
    constexpr std::string_view PLAIN = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789/._-+:,@%=";
    if (!text.empty() && text.find_first_not_of(PLAIN) == std::string::npos) {
        return text;
    }
    return "'" + boost::replace_all_copy(text, "'", R"('\'')") + "'";
}

} // namespace Doctor
