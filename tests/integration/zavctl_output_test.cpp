#include "tests/integration/stage.h"
#include "tests/integration/terminal.h"

#include <gmock/gmock.h>

using ::testing::AllOf;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

/// What zavctl's output is like where it goes.
class ZavctlOutputTest : public Stage {
protected:
    /// In a shell, which puts `redirection` in place.
    Base::ProgramResult RunInShell(const std::string& redirection, const Process::Arguments& arguments,
                                   Process::Arguments environment = {}) const
    {
        Process::Arguments command = {"/bin/sh", "-c", "exec \"$@\" " + redirection, "sh", ProductPath("bin/zavctl")};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return RunToEnd(command, environment);
    }
};

TEST_F(ZavctlOutputTest, OutputThatCannotBeWrittenIsAFailure)
{
    for (const Process::Arguments& arguments :
         {Process::Arguments{"config", "check"}, Process::Arguments{"config", "check", "-q"}}) {
        const Base::ProgramResult outcome = RunInShell(">/dev/full", arguments);
        EXPECT_EQ(7, outcome.status);
        EXPECT_THAT(outcome.errors, HasSubstr("zavctl: standard output cannot be written: No space left on device\n"
                                              "zavctl: remedy: make room where the output goes"));
    }
}

TEST_F(ZavctlOutputTest, QuietTellsFailuresAlone)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    const std::string env = EnvironmentFileOf(array);
    const Base::ProgramResult done = RunZavctl({"init", "-q", "--env", env});
    EXPECT_EQ(0, done.status);
    EXPECT_EQ("", done.errors);
    EXPECT_THAT(done.output, HasSubstr("MAPPING VIEW NAME"));
    array.AddFault(R"({"kind": "code", "code": 42, "description": "no way", "target": "storagepool"})");
    const Base::ProgramResult failed = RunZavctl({"-q", "inventory", "--env", env});
    EXPECT_EQ(9, failed.status);
    EXPECT_THAT(failed.errors, ::testing::MatchesRegex("zavctl: [^\n]*no way .42.\nzavctl: remedy: [^\n]*\n"));
}

TEST_F(ZavctlOutputTest, ColoursAreForTerminalsThatHaveThemAndWhoWantsThem)
{
    Terminal terminal;
    const std::string redirection = "2>\"$TERMINAL\"";
    const Process::Arguments failing = {"inventory", "--env", "/no/such.json"};
    RunInShell(redirection, failing, {"TERMINAL=" + terminal.Path(), "TERM=xterm"});
    terminal.WaitFor("remedy");
    EXPECT_THAT(terminal.Shown(),
                AllOf(HasSubstr("\033[31mzavctl: environment /no/such.json"), HasSubstr("\033[32mzavctl: remedy: ")));
    for (const char* const refusal : {"NO_COLOR=1", "TERM=dumb"}) {
        Terminal plain;
        RunInShell(redirection, failing, {"TERMINAL=" + plain.Path(), "TERM=xterm", refusal});
        plain.WaitFor("remedy");
        EXPECT_THAT(plain.Shown(), Not(HasSubstr("\033["))) << refusal;
    }
    EXPECT_THAT(RunInShell("", failing, {"TERM=xterm"}).errors, Not(HasSubstr("\033[")));
}

TEST_F(ZavctlOutputTest, BarIsForWhoeverDoesNotSeeTheRows)
{
    const Process::Arguments luns = {"luns", "--env", EnvironmentFileOf(StartArray()), "--all"};
    Terminal bar;
    EXPECT_EQ(0, RunInShell("2>\"$TERMINAL\"", luns, {"TERMINAL=" + bar.Path(), "TERM=xterm"}).status);
    bar.WaitFor("16/16");
    Terminal rows;
    EXPECT_EQ(0, RunInShell(">\"$TERMINAL\" 2>\"$TERMINAL\"", luns, {"TERMINAL=" + rows.Path(), "TERM=xterm"}).status);
    rows.WaitFor("LUN_000015");
    EXPECT_THAT(rows.Shown(), Not(HasSubstr("0/16")));
}

TEST_F(ZavctlOutputTest, StepThatTakesLongShowsOnTheTerminalHowLong)
{
    const Array& array = StartArray();
    array.AddFault(R"({"kind": "delay", "milliseconds": 2500, "target": "sessions"})");
    Terminal terminal;
    const Base::ProgramResult outcome = RunInShell("2>\"$TERMINAL\"", {"inventory", "--env", EnvironmentFileOf(array)},
                                                   {"TERMINAL=" + terminal.Path(), "TERM=xterm"});
    EXPECT_EQ(0, outcome.status);
    terminal.WaitFor("logged in at");
    // A busy machine shows the second one first.
    EXPECT_THAT(terminal.Shown(), AllOf(ContainsRegex("\r\033\\[K  [1-9] s"), HasSubstr("\r\033[Kzavctl: ")))
        << "and it is gone before the next line";
}

} // namespace
