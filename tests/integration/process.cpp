#include "tests/integration/process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace {

constexpr std::chrono::seconds PATIENCE(30);
constexpr std::chrono::milliseconds BETWEEN_LOOKS(10); // another process comes up meanwhile

std::vector<char*> Pointers(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> EnvironmentWith(const std::vector<std::string>& additions)
{
    std::vector<std::string> environment = additions; // the first of two of one name counts
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string text = *variable;
        const std::string name = text.substr(0, text.find('=') + 1);
        bool isReplaced = false;
        for (const std::string& addition : additions) {
            isReplaced = isReplaced || addition.compare(0, name.size(), name) == 0;
        }
        if (!isReplaced) {
            environment.push_back(text);
        }
    }
    return environment;
}

} // namespace

Process::Process(const std::string& directory, const Arguments& command, const Arguments& environment,
                 const std::string& input)
    : m_name(command.front())
{
    static std::atomic<int> count(0);
    const std::string base = directory + "/process-" + std::to_string(++count);
    m_outputPath = base + ".out";
    m_errorPath = base + ".err";
    const std::string inputPath = base + ".in";
    WriteFile(inputPath, input);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    constexpr int NEW_FILE = O_WRONLY | O_CREAT | O_TRUNC | O_APPEND;
    constexpr mode_t MODE = 0600;
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, inputPath.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, m_outputPath.c_str(), NEW_FILE, MODE);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, m_errorPath.c_str(), NEW_FILE, MODE);
    std::vector<std::string> arguments = command;
    std::vector<std::string> variables = EnvironmentWith(environment);
    const int error = posix_spawnp(&m_pid, arguments.front().c_str(), &actions, nullptr, Pointers(arguments).data(),
                                   Pointers(variables).data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), m_name);
    }
}

Process::~Process()
{
    if (HasEnded()) {
        return;
    }
    Signal(SIGTERM);
    try {
        WaitUntil(m_name + " to end", [this] { return HasEnded(); });
    } catch (const std::exception&) {
        Signal(SIGKILL);
        Wait();
    }
}

void Process::WaitForLine(const std::string& beginning)
{
    WaitFor("\n" + beginning, &Process::Output);
}

void Process::WaitForError(const std::string& part)
{
    WaitFor(part, &Process::Errors);
}

void Process::WaitFor(const std::string& text, std::string (Process::*read)() const)
{
    WaitUntil(m_name + " to say " + text, [&] {
        const bool isLast = HasEnded(); // what it said before it ended counts
        const bool isThere = ("\n" + (this->*read)()).find(text) != std::string::npos;
        if (isLast && !isThere) {
            throw std::runtime_error(m_name + " ended without " + text + ":\n" + Output() + Errors());
        }
        return isThere;
    });
}

void Process::Signal(int number) const
{
    kill(m_pid, number);
}

bool Process::HasEnded()
{
    if (!m_hasEnded && waitpid(m_pid, &m_status, WNOHANG) == m_pid) {
        m_hasEnded = true;
    }
    return m_hasEnded;
}

int Process::Wait()
{
    while (!m_hasEnded) {
        const pid_t ended = waitpid(m_pid, &m_status, 0);
        m_hasEnded = ended == m_pid || (ended == -1 && errno != EINTR);
    }
    constexpr int SIGNAL_BASE = 128;
    return WIFEXITED(m_status) ? WEXITSTATUS(m_status) : SIGNAL_BASE + WTERMSIG(m_status);
}

std::string Process::Output() const
{
    return ReadFile(m_outputPath);
}

std::string Process::Errors() const
{
    return ReadFile(m_errorPath);
}

void WaitUntil(const std::string& what, const std::function<bool()>& condition)
{
    const auto deadline = std::chrono::steady_clock::now() + PATIENCE;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("waited in vain for " + what);
        }
        std::this_thread::sleep_for(BETWEEN_LOOKS);
    }
}

Outcome RunProgram(const std::string& directory, const Process::Arguments& command,
                   const Process::Arguments& environment, const std::string& input)
{
    Process process(directory, command, environment, input);
    Outcome outcome;
    outcome.status = process.Wait();
    outcome.output = process.Output();
    outcome.errors = process.Errors();
    return outcome;
}

std::string ReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
}

void WriteFile(const std::string& path, const std::string& content)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << content;
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + path);
    }
}
