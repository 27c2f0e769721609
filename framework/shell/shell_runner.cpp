#include "common/framework/shell_runner.h"

#include "base/program.h"
#include "framework/config/current_config.h"
#include "framework/shell/command_template.h"
#include "framework/shell/shell_run.h"
#include "framework/support/log_line.h"

#include <boost/algorithm/string/join.hpp>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <string>

using namespace Framework;

namespace {

constexpr char DEFAULT_PATH[] = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";

std::string SearchPath(const std::vector<std::string>& ownFolders, const char* inherited)
{
    std::vector<std::string> folders = ownFolders;
    folders.emplace_back(inherited != nullptr && *inherited != '\0' ? inherited : DEFAULT_PATH);
    return boost::algorithm::join(folders, ":");
}

// This process's variables, with the search path, the language that the tools' messages are known in, and the
// parameters.
std::vector<std::string> Environment(const ConfigValues& config, const std::vector<std::string>& params)
{
    const std::string path = "PATH=" + SearchPath(config.Of(SettingId::ShellPath).paths, std::getenv("PATH"));
    std::vector<std::string> variables = Base::EnvironmentWith({path, "LC_ALL=C"});
    for (std::size_t index = 0; index < params.size(); ++index) {
        variables.push_back(ParameterVariable(index) + "=" + params[index]);
    }
    return variables; // the parameters, which may be secrets, in no second place
}

// Why the command cannot be run; empty when it can.
std::string FindProblem(const CommandTemplate& parsed, const std::string& command,
                        const std::vector<std::string>& params)
{
    if (!parsed.problem.empty()) {
        return parsed.problem;
    }
    if (parsed.parameterCount != params.size()) {
        return "it has " + std::to_string(parsed.parameterCount) + " '?' for " + std::to_string(params.size()) +
               " parameters";
    }
    const auto hasNul = [](const std::string& text) { return text.find('\0') != std::string::npos; };
    if (hasNul(command)) {
        return "it has a NUL byte";
    }
    const auto found = std::find_if(params.begin(), params.end(), hasNul);
    return found == params.end() ? std::string()
                                 : "parameter " + std::to_string(found - params.begin() + 1) + " has a NUL byte";
}

ShellResult Run(const std::string& command, const std::vector<std::string>& params)
{
    const CommandTemplate parsed = ParseTemplate(command);
    const std::string problem = FindProblem(parsed, command, params);
    if (!problem.empty()) {
        return {ShellStatus::NOT_RUN, {}, {"The command was not run: " + problem}};
    }
    const auto config = Config::Current();
    return RunShell(parsed.command, Environment(*config, params),
                    std::chrono::seconds(config->Of(SettingId::ShellTimeoutSeconds).number));
}

} // namespace

int runShellCmdWithOutput(const severity_level& level, const std::string& module, const unsigned long& requestId,
                          const std::string& command, std::vector<std::string> params, std::vector<std::string>& out,
                          std::vector<std::string>& err)
{
    const auto start = std::chrono::steady_clock::now();
    ShellResult result;
    try {
        result = Run(command, params);
    } catch (const std::exception& error) { // out of memory
        result.error = {std::string("The command was not run: ") + error.what()};
    }
    out.swap(result.output);
    err.swap(result.error);
    const auto duration = std::chrono::steady_clock::now() - start;
    FRAMEWORK_LOG_FOR(level, module, requestId)
        << "Ran \"" << command << "\": status " << result.status << ", " << out.size() << " lines of output, "
        << err.size() << " of error, " << std::chrono::duration_cast<std::chrono::milliseconds>(duration).count()
        << " ms.";
    return result.status;
}
