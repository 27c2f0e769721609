#include "base/program.h"

#include "base/files.h"
#include "base/process.h"
#include "base/spawn.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

namespace Base {

namespace {

constexpr std::chrono::milliseconds LONGEST_WAIT = std::chrono::minutes(1); // what poll counts in has an end
constexpr std::chrono::milliseconds LOOK_EVERY{10};                         // at what no descriptor tells

// Never among the first three, which the child's are made of one by one: it would be lost before its turn.
Descriptor MakeMemoryFile(const char* name)
{
    Descriptor file(::memfd_create(name, MFD_CLOEXEC));
    if (file.IsOpen() && file.Get() <= STDERR_FILENO) {
        file = Descriptor(::fcntl(file.Get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    }
    if (!file.IsOpen()) {
        ThrowErrno("cannot make a file in memory for", name);
    }
    return file;
}

Descriptor InputFile(const std::string& input)
{
    Descriptor file = MakeMemoryFile("input");
    if (WriteWhole(file.Get(), input) != 0 || ::lseek(file.Get(), 0, SEEK_SET) != 0) {
        ThrowErrno("cannot write", "a program's input");
    }
    return file;
}

std::string ReadFromBegin(const Descriptor& file)
{
    std::string text;
    char buffer[16384];
    for (ssize_t count = ::pread(file.Get(), buffer, sizeof buffer, 0); count > 0;
         count = ::pread(file.Get(), buffer, sizeof buffer, static_cast<off_t>(text.size()))) {
        text.append(buffer, static_cast<std::size_t>(count));
    }
    return text;
}

// 0, or the error number. Without input the child opens /dev/null itself: that takes no descriptor of ours.
int SetActions(SpawnActions& actions, const Descriptor& input, const Descriptor& output, const Descriptor& errors)
{
    int error = input.IsOpen()
                    ? posix_spawn_file_actions_adddup2(actions.Get(), input.Get(), STDIN_FILENO)
                    : posix_spawn_file_actions_addopen(actions.Get(), STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    if (error == 0) {
        error = posix_spawn_file_actions_adddup2(actions.Get(), output.Get(), STDOUT_FILENO);
    }
    if (error == 0) {
        error = posix_spawn_file_actions_adddup2(actions.Get(), errors.Get(), STDERR_FILENO);
    }
    return error;
}

} // namespace

std::vector<char*> CTexts(std::vector<std::string>& texts)
{
    std::vector<char*> list;
    list.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        list.push_back(text.data());
    }
    list.push_back(nullptr);
    return list;
}

std::vector<std::string> EnvironmentWith(const std::vector<std::string>& settings)
{
    std::vector<std::string> environment = settings;
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
        const std::string own = *variable;
        const std::string name = own.substr(0, own.find('=') + 1);
        bool isReplaced = false;
        for (const std::string& setting : settings) {
            isReplaced = isReplaced || setting.compare(0, name.size(), name) == 0;
        }
        if (!isReplaced) {
            environment.push_back(own);
        }
    }
    return environment;
}

int ExitStatus(int waitStatus)
{
    constexpr int SIGNAL_BASE = 128;
    return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : SIGNAL_BASE + WTERMSIG(waitStatus);
}

Program::Program(const std::vector<std::string>& words, const std::vector<std::string>& settings,
                 const std::string& input)
    : m_output(MakeMemoryFile("output"))
    , m_errors(MakeMemoryFile("errors"))
{
    const Descriptor inputFile = input.empty() ? Descriptor() : InputFile(input);
    SpawnActions actions;
    int error = SetActions(actions, inputFile, m_output, m_errors);
    const SpawnAttributes attributes(ProcessGroup::Parents);
    std::vector<std::string> arguments = words;
    std::vector<std::string> environment = EnvironmentWith(settings);
    if (error == 0) {
        error = ::posix_spawnp(&m_pid, words.front().c_str(), actions.Get(), attributes.Get(), CTexts(arguments).data(),
                               CTexts(environment).data());
    }
    if (error != 0) {
        m_pid = -1;
        throw NotStarted("cannot start " + words.front() + ": " + ErrorText(error));
    }
    m_process = OpenProcess(m_pid);
}

Program::~Program()
{
    if (!HasEnded()) {
        Signal(SIGKILL);
        Wait();
    }
}

void Program::Signal(int number) const
{
    if (m_process.IsOpen()) {
        SignalProcess(m_process, number);
        return;
    }
    const std::lock_guard<std::mutex> guard(m_reaping);
    if (!m_status) {
        ::kill(m_pid, number);
    }
}

bool Program::HasEnded()
{
    if (!m_status) {
        const std::lock_guard<std::mutex> guard(m_reaping);
        int status = 0;
        const pid_t ended = ::waitpid(m_pid, &status, WNOHANG);
        if (ended == m_pid) {
            m_status = ExitStatus(status);
        } else if (ended < 0 && errno == ECHILD) {
            m_status = -1; // somebody else has waited for it
        }
    }
    return m_status.has_value();
}

std::optional<int> Program::WaitFor(std::chrono::milliseconds limit)
{
    pollfd waiting{m_process.Get(), POLLIN, 0};
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!HasEnded()) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            return std::nullopt;
        }
        const std::chrono::milliseconds step = m_process.IsOpen() ? LONGEST_WAIT : LOOK_EVERY;
        ::poll(&waiting, 1, static_cast<int>(std::min(left, step).count()) + 1);
    }
    return m_status;
}

int Program::Wait()
{
    while (!HasEnded()) {
        siginfo_t ended = {};
        ::waitid(P_PID, static_cast<id_t>(m_pid), &ended, WEXITED | WNOWAIT); // HasEnded takes the status
    }
    return *m_status;
}

std::string Program::Output() const
{
    return ReadFromBegin(m_output);
}

std::string Program::Errors() const
{
    return ReadFromBegin(m_errors);
}

ProgramResult RunProgram(const std::vector<std::string>& words, const std::vector<std::string>& settings,
                         std::optional<std::chrono::milliseconds> limit)
{
    Program program(words, settings);
    if (limit && !program.WaitFor(*limit)) {
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(*limit);
        throw std::runtime_error(words.front() + " did not end within " + std::to_string(seconds.count()) + " seconds");
    }
    ProgramResult result;
    result.status = program.Wait();
    result.output = program.Output();
    result.errors = program.Errors();
    return result;
}

} // namespace Base
