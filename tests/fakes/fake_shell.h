#ifndef PRODUCT_STORAGE_TESTS_FAKES_FAKE_SHELL_H
#define PRODUCT_STORAGE_TESTS_FAKES_FAKE_SHELL_H

#include <deque>
#include <mutex>
#include <string>
#include <vector>

/// What the fake shell does for one command.
struct ShellResult {
    int code = 0;
    std::vector<std::string> out;
    std::vector<std::string> err;

    ShellResult& Prints(const std::string& line);
    ShellResult& Complains(const std::string& line);
};

/// One run command: the template and its parameters, before the latter are filled in.
struct ShellCall {
    std::string command;
    std::vector<std::string> params;
    int level = 0;
    std::string module;
    unsigned long requestId = 0;
};

bool operator==(const ShellCall& left, const ShellCall& right);

/// The shell runner: a table of commands. A command that is not in the table fails the test.
class FakeShell {
public:
    /// A new row; it answers `command` with `params` from now on. The first row that matches counts.
    ShellResult& On(const std::string& command, const std::vector<std::string>& params, int code);

    /// From now on what a command prints comes behind what its caller's lists hold already.
    void AppendOutput();

    void Clear();
    std::vector<ShellCall> Calls() const;

    /// The command lines of Calls, with each '?' replaced by its parameter.
    std::vector<std::string> Lines() const;

    ShellResult Run(const ShellCall& call);
    bool IsAppending() const;

private:
    struct Row {
        std::string command;
        std::vector<std::string> params;
        ShellResult result;
    };

    mutable std::mutex m_lock;
    std::deque<Row> m_rows;         // guarded by m_lock
    std::vector<ShellCall> m_calls; // guarded by m_lock
    bool m_isAppending = false;     // guarded by m_lock
};

#endif
