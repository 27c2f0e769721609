#ifndef PRODUCT_STORAGE_TESTS_SUPPORT_PROCESS_H
#define PRODUCT_STORAGE_TESTS_SUPPORT_PROCESS_H

#include "base/program.h"

#include <functional>
#include <string>
#include <vector>

/// Waits until `condition` holds, looking again and again because another process brings it about. Throws
/// std::runtime_error naming `what` after half a minute.
void WaitUntil(const std::string& what, const std::function<bool()>& condition);

/// A program that a test starts and that ends with the test at the latest: it is asked to, and killed when it does not.
class Process {
public:
    using Arguments = std::vector<std::string>;

    /// As Base::Program's.
    explicit Process(const Arguments& words, const Arguments& settings = {}, const std::string& input = {});
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process();

    /// Wait until standard output has a line that begins so, or either output has the text. Throw std::runtime_error
    /// with all output when the program ends, or half a minute passes, before.
    void AwaitLine(const std::string& beginning);
    void AwaitOutput(const std::string& text);
    void AwaitError(const std::string& text);

    void Signal(int number) const { m_program.Signal(number); }
    pid_t Pid() const { return m_program.Pid(); }
    int Wait() { return m_program.Wait(); }

    /// Waits for its end and tells what it did.
    Base::ProgramResult Finish();

    std::string Output() const { return m_program.Output(); }
    std::string Errors() const { return m_program.Errors(); }

private:
    void Await(const std::string& text, const std::function<bool()>& isThere);

    const std::string m_name;
    Base::Program m_program;
};

/// What `work` gives in a process of its own, whose rights, limits and descriptors it may change; below 256.
int InChild(const std::function<int()>& work);

/// Runs a program to its end.
Base::ProgramResult RunToEnd(const Process::Arguments& words, const Process::Arguments& settings = {},
                             const std::string& input = {});

/// The same for a line of shell.
Base::ProgramResult RunShellLine(const std::string& line, const Process::Arguments& settings = {});

#endif
