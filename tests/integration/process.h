#ifndef PRODUCT_STORAGE_TESTS_INTEGRATION_PROCESS_H
#define PRODUCT_STORAGE_TESTS_INTEGRATION_PROCESS_H

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

/// A program that a test starts and that ends with the test at the latest.
class Process {
public:
    using Arguments = std::vector<std::string>;

    /// Starts `command`; its standard output and error go to files beside each other below `directory`, and its
    /// standard input is `input`. Environment variables of the form NAME=value are added to the test's own.
    Process(const std::string& directory, const Arguments& command, const Arguments& environment = {},
            const std::string& input = {});
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    /// Asks it to end and waits; a program that does not end is killed.
    ~Process();

    /// Waits until standard output has a line that begins with `beginning`. Throws std::runtime_error with all output
    /// when the program ends, or half a minute passes, before.
    void WaitForLine(const std::string& beginning);

    /// The same for standard error and any part of it.
    void WaitForError(const std::string& part);

    void Signal(int number) const;

    /// Waits for its end and returns its exit status, or 128 + the signal that ended it.
    int Wait();

    std::string Output() const;
    std::string Errors() const;

private:
    bool HasEnded();
    void WaitFor(const std::string& text, std::string (Process::*read)() const);

    std::string m_name;
    std::string m_outputPath;
    std::string m_errorPath;
    pid_t m_pid = -1;
    bool m_hasEnded = false;
    int m_status = 0;
};

/// Waits until `condition` holds, looking again and again because another process brings it about. Throws
/// std::runtime_error naming `what` after half a minute.
void WaitUntil(const std::string& what, const std::function<bool()>& condition);

/// What a program did that has ended.
struct Outcome {
    int status = -1;
    std::string output;
    std::string errors;
};

/// Runs a program to its end.
Outcome RunProgram(const std::string& directory, const Process::Arguments& command,
                   const Process::Arguments& environment = {}, const std::string& input = {});

std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& content);

#endif
