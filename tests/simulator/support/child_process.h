#ifndef TESTS_SIMULATOR_SUPPORT_CHILD_PROCESS_H
#define TESTS_SIMULATOR_SUPPORT_CHILD_PROCESS_H

#include <string>
#include <vector>

#include <sys/types.h>

namespace ZavSimTest {

using Environment = std::vector<std::string>; ///< "NAME=value", on top of the test's own

struct Finished {
    int status = -1; ///< exit status, or 128 and the signal
    std::string out;
    std::string err;
};

/// A program that runs beside the test, its standard output and error going to files that the test can look at while it
/// runs. Ended by SIGKILL when the test leaves it behind.
class ChildProcess {
public:
    explicit ChildProcess(const std::vector<std::string>& words, const Environment& environment = {});
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Waits until the standard output has the text; fails the test after a time or when the program ends before.
    void AwaitOutput(const std::string& text);
    std::string OutputSoFar() const { return Output(m_out); }
    void Signal(int signal) const;
    Finished Wait();

    pid_t Pid() const { return m_pid; }

private:
    std::string Output(int file) const;
    bool HasEnded() const;

    pid_t m_pid = -1;
    int m_out = -1;
    int m_err = -1;
};

Finished Execute(const std::vector<std::string>& words, const Environment& environment = {});

/// The same for a line of shell.
Finished RunShell(const std::string& line, const Environment& environment = {});

} // namespace ZavSimTest

#endif
