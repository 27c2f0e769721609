#ifndef PRODUCT_STORAGE_BASE_PROGRAM_H
#define PRODUCT_STORAGE_BASE_PROGRAM_H

#include "base/descriptor.h"

#include <sys/types.h>

#include <chrono>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

/// Running other programs, without a shell in between.
namespace Base {

/// The writable C texts that exec takes, with a null behind; they live as long as `texts` is not changed.
std::vector<char*> CTexts(std::vector<std::string>& texts);

/// This process's variables, those of `settings` ("NAME=value") in place of its own of the same names.
std::vector<std::string> EnvironmentWith(const std::vector<std::string>& settings);

/// An exit status as shells tell it: 128 and the signal for a program that one ended.
int ExitStatus(int waitStatus);

/// What a program did.
struct ProgramResult {
    int status = -1; ///< see ExitStatus; -1 when it was lost, see Program
    std::string output;
    std::string errors;
};

/// A program could not be started; what() names it and why.
class NotStarted : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A program that was started by the words of a command line, the first found on the search path. Its standard output
/// and error go into memory, where they can be read while it runs; every signal is at its default and none is blocked.
/// One thread at a time, but for Signal.
///
/// Its status is -1 where it ended and somebody else took the status away: this process ignores SIGCHLD, which it may
/// have been started with, or waits for children that it does not know.
class Program {
public:
    /// `settings` stand in for variables of the same names. `input` is what it reads from its standard input. Throws
    /// NotStarted, and std::runtime_error when there is no room for its output.
    explicit Program(const std::vector<std::string>& words, const std::vector<std::string>& settings = {},
                     const std::string& input = {});
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// A program that still runs is killed.
    ~Program();

    pid_t Pid() const { return m_pid; }

    /// Any thread may call, also while another waits. Nothing is sent once the program was waited for, when its number
    /// may be another's.
    void Signal(int number) const;

    bool HasEnded();

    /// Waits for its end, or so long at the most; nothing when it has not ended by then.
    std::optional<int> WaitFor(std::chrono::milliseconds limit);

    /// Waits for its end and gives its status.
    int Wait();

    std::string Output() const;
    std::string Errors() const;

private:
    Descriptor m_output;
    Descriptor m_errors;
    pid_t m_pid = -1;
    Descriptor m_process;         // not open where the system has no such thing
    mutable std::mutex m_reaping; // keeps its number its own while it is signalled by that
    std::optional<int> m_status;  // once it was waited for; changed under m_reaping
};

/// Runs a program to its end. With a limit, one that does not end within it is killed, and std::runtime_error says so.
/// Throws as Program does.
ProgramResult RunProgram(const std::vector<std::string>& words, const std::vector<std::string>& settings = {},
                         std::optional<std::chrono::milliseconds> limit = std::nullopt);

} // namespace Base

#endif
