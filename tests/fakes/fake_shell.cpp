#include "tests/fakes/fake_shell.h"

#include "common/framework/shell_runner.h"
#include "tests/fakes/fakes.h"

#include <gtest/gtest.h>

#include <algorithm>

// The shell runner's symbol.

int runShellCmdWithOutput(const severity_level& level, const std::string& module, const unsigned long& requestId,
                          const std::string& command, std::vector<std::string> params, std::vector<std::string>& out,
                          std::vector<std::string>& err)
{
    const ShellResult result = Fakes::Shell().Run({command, params, static_cast<int>(level), module, requestId});
    if (!Fakes::Shell().IsAppending()) {
        out.clear();
        err.clear();
    }
    out.insert(out.end(), result.out.begin(), result.out.end());
    err.insert(err.end(), result.err.begin(), result.err.end());
    return result.code;
}

// The table.

ShellResult& ShellResult::Prints(const std::string& line)
{
    out.push_back(line);
    return *this;
}

ShellResult& ShellResult::Complains(const std::string& line)
{
    err.push_back(line);
    return *this;
}

bool operator==(const ShellCall& left, const ShellCall& right)
{
    return left.command == right.command && left.params == right.params && left.level == right.level &&
           left.module == right.module && left.requestId == right.requestId;
}

ShellResult& FakeShell::On(const std::string& command, const std::vector<std::string>& params, int code)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_rows.push_back({command, params, {code, {}, {}}});
    return m_rows.back().result;
}

void FakeShell::AppendOutput()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_isAppending = true;
}

bool FakeShell::IsAppending() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_isAppending;
}

void FakeShell::Clear()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_isAppending = false;
    m_rows.clear();
    m_calls.clear();
}

std::vector<ShellCall> FakeShell::Calls() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_calls;
}

std::vector<std::string> FakeShell::Lines() const
{
    std::vector<std::string> lines;
    for (const ShellCall& call : Calls()) {
        std::string line;
        std::size_t next = 0;
        for (const char character : call.command) {
            if (character == '?' && next < call.params.size()) {
                line += call.params[next++];
            } else {
                line += character;
            }
        }
        lines.push_back(line);
    }
    return lines;
}

ShellResult FakeShell::Run(const ShellCall& call)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_calls.push_back(call);
    const auto row = std::find_if(m_rows.begin(), m_rows.end(), [&call](const Row& candidate) {
        return candidate.command == call.command && candidate.params == call.params;
    });
    if (row == m_rows.end()) {
        ADD_FAILURE() << "no row for the command " << call.command;
        return {127, {}, {}};
    }
    return row->result;
}
