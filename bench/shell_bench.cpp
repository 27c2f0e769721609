#include "bench/topic.h"
#include "common/framework/shell_runner.h"

#include <array>
#include <cstdio>
#include <string>
#include <vector>

// One command of the node.

namespace {

constexpr const char* COMMAND = "/bin/echo one line";

void RunCommand(benchmark::State& state)
{
    for (auto _ : state) {
        std::vector<std::string> out;
        std::vector<std::string> err;
        const int status = runShellCmdWithOutput(severity_level::Info, "bench", 0, COMMAND, {}, out, err);
        if (status != 0 || out.size() != 1) {
            state.SkipWithError(("status " + std::to_string(status)).c_str());
        }
    }
}

void OpenPipe(benchmark::State& state)
{
    for (auto _ : state) {
        std::array<char, 256> line = {};
        FILE* const stream = ::popen(COMMAND, "r"); // NOLINT: that is what is measured
        if (stream == nullptr || std::fgets(line.data(), line.size(), stream) == nullptr || ::pclose(stream) != 0) {
            state.SkipWithError("no output");
        }
    }
}

} // namespace

Topics ShellTopics()
{
    return {{"shell-command", "a shell command", "popen", RunCommand, OpenPipe, {{Quantity::WALL, 1.1}}}};
}
