#include "tests/support/process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>

void WaitUntil(const std::string& what, const std::function<bool()>& condition)
{
    constexpr std::chrono::seconds PATIENCE(30);
    constexpr std::chrono::milliseconds BETWEEN_LOOKS(5); // another process comes up meanwhile
    const auto deadline = std::chrono::steady_clock::now() + PATIENCE;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("waited in vain for " + what);
        }
        std::this_thread::sleep_for(BETWEEN_LOOKS);
    }
}

Process::Process(const Arguments& words, const Arguments& settings, const std::string& input)
    : m_name(words.front())
    , m_program(words, settings, input)
{
}

Process::~Process()
{
    if (m_program.HasEnded()) {
        return;
    }
    Signal(SIGTERM);
    try {
        WaitUntil(m_name + " to end", [this] { return m_program.HasEnded(); });
    } catch (const std::exception&) {
        // Killed with the member.
    }
}

void Process::AwaitLine(const std::string& beginning)
{
    Await(beginning, [&] { return ("\n" + Output()).find("\n" + beginning) != std::string::npos; });
}

void Process::AwaitOutput(const std::string& text)
{
    Await(text, [&] { return Output().find(text) != std::string::npos; });
}

void Process::AwaitError(const std::string& text)
{
    Await(text, [&] { return Errors().find(text) != std::string::npos; });
}

void Process::Await(const std::string& text, const std::function<bool()>& isThere)
{
    WaitUntil(m_name + " to say " + text, [&] {
        const bool isLast = m_program.HasEnded(); // what it said before it ended counts
        if (isThere()) {
            return true;
        }
        if (isLast) {
            throw std::runtime_error(m_name + " ended without " + text + ":\n" + Output() + Errors());
        }
        return false;
    });
}

Base::ProgramResult Process::Finish()
{
    const int status = Wait();
    return {status, Output(), Errors()};
}

int InChild(const std::function<int()>& work)
{
    constexpr int THROWN = 127;
    const pid_t child = ::fork();
    if (child == 0) {
        try {
            ::_exit(work());
        } catch (const std::exception&) {
            ::_exit(THROWN);
        }
    }
    int status = -1;
    if (child < 0 || ::waitpid(child, &status, 0) != child) {
        throw std::runtime_error("a test's child was lost");
    }
    return Base::ExitStatus(status);
}

Base::ProgramResult RunToEnd(const Process::Arguments& words, const Process::Arguments& settings,
                             const std::string& input)
{
    return Process(words, settings, input).Finish();
}

Base::ProgramResult RunShellLine(const std::string& line, const Process::Arguments& settings)
{
    return RunToEnd({"/bin/sh", "-c", line}, settings);
}
