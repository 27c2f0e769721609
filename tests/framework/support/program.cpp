#include "tests/framework/support/program.h"

#include "tests/framework/support/temporary_directory.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

namespace {

std::vector<char*> CTexts(std::vector<std::string>& texts)
{
    std::vector<char*> list;
    for (std::string& text : texts) {
        list.push_back(text.data());
    }
    list.push_back(nullptr);
    return list;
}

} // namespace

ProgramResult RunProgram(const std::vector<std::string>& arguments, const std::vector<std::string>& variables)
{
    const TemporaryDirectory files;
    const std::string outputPath = files.Path() + "/out";
    const std::string errorPath = files.Path() + "/err";
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outputPath.c_str(), O_WRONLY | O_CREAT, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errorPath.c_str(), O_WRONLY | O_CREAT, 0600);

    std::vector<std::string> environment = variables;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        environment.emplace_back(*variable);
    }
    std::vector<std::string> texts = arguments;
    pid_t pid = -1;
    const int error =
        ::posix_spawn(&pid, texts.front().c_str(), &actions, nullptr, CTexts(texts).data(), CTexts(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    if (error != 0 || ::waitpid(pid, &status, 0) != pid) {
        throw std::runtime_error("cannot run " + texts.front());
    }
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), ReadText(outputPath),
            ReadText(errorPath)};
}

std::string ProbePath()
{
    return FRAMEWORK_PROBE;
}
