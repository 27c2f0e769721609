#include "tests/framework/support/framework_test.h"
#include "tests/framework/support/probe.h"
#include "tests/framework/support/shell.h"

#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

class ShellRunnerTest : public FrameworkTest {};

TEST_F(ShellRunnerTest, CommandGivesItsStatusAndTheLinesOfBothStreams)
{
    const ShellOutcome result = Shell("echo one; echo; printf two; echo three >&2; exit 7");
    EXPECT_EQ(7, result.status);
    EXPECT_THAT(result.out, ElementsAre("one", "", "two"));
    EXPECT_THAT(result.err, ElementsAre("three"));
}

TEST_F(ShellRunnerTest, SilentCommandGivesNoLines)
{
    const ShellOutcome result = Shell("true");
    EXPECT_EQ(0, result.status);
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, IsEmpty());
}

TEST_F(ShellRunnerTest, StatusOfAPipelineIsThatOfItsLastCommand)
{
    EXPECT_EQ(0, Shell("false | true").status);
    EXPECT_EQ(1, Shell("true | false").status);
    EXPECT_EQ(255, Shell("exit 255").status);
}

TEST_F(ShellRunnerTest, UnknownCommandAndSyntaxErrorGiveTheShellsOwnStatus)
{
    const ShellOutcome unknown = Shell("no_such_command_here");
    EXPECT_EQ(127, unknown.status);
    EXPECT_THAT(unknown.err, ElementsAre(HasSubstr("no_such_command_here: not found")));
    EXPECT_EQ(2, Shell("if then").status);
    EXPECT_EQ(2, Shell("echo 'open").status);
}

TEST_F(ShellRunnerTest, KilledShellGivesTheSignalAndNothingElse)
{
    const ShellOutcome killed = Shell("kill -9 $$");
    EXPECT_EQ(128 + 9, killed.status);
    EXPECT_THAT(killed.err, IsEmpty());
    EXPECT_EQ(128 + 15, Shell("kill -15 $$").status);
    EXPECT_EQ(128 + 2, Shell("kill -2 $$").status);
}

TEST_F(ShellRunnerTest, CommandThatReplacesItsShellGivesItsOwnStatus)
{
    const ShellOutcome result = Shell("exec sh -c 'echo out; exit 5'");
    EXPECT_EQ(5, result.status);
    EXPECT_THAT(result.out, ElementsAre("out"));
}

TEST_F(ShellRunnerTest, CommandMayTrapItsOwnExit)
{
    const ShellOutcome result = Shell("trap 'echo bye' EXIT; exit 5");
    EXPECT_EQ(5, result.status);
    EXPECT_THAT(result.out, ElementsAre("bye"));
}

TEST_F(ShellRunnerTest, CommandIsAShellsOwn)
{
    // No parameters, a number of its own, and nothing of it is read as anything else.
    EXPECT_THAT(Shell("echo \"$#:$1:$*\"").out, ElementsAre("0::"));
    EXPECT_THAT(Shell("test \"$(ps -o pgid= -p $$)\" -eq $$ && echo leader").out, ElementsAre("leader"));
    EXPECT_EQ(2, Shell(") ; exit 0").status);
    EXPECT_EQ(0, Shell("").status);
    EXPECT_EQ(3, Shell("exit 3 # end").status);
    EXPECT_THAT(Shell("cat <<END\nline\nEND\n").out, ElementsAre("line"));
}

TEST_F(ShellRunnerTest, ShellThatCannotBeStartedGives127AndTheReason)
{
    const ShellOutcome result = Shell("echo '?'", {std::string(3'000'000, 'x')});
    EXPECT_EQ(127, result.status);
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, ElementsAre("The shell could not be started: Argument list too long"));
}

TEST_F(ShellRunnerTest, MuchOnBothStreamsDoesNotBlock)
{
    const ShellOutcome result = Shell("head -c 1000000 /dev/zero >&2; head -c 1000000 /dev/zero; echo; echo end >&2");
    EXPECT_EQ(0, result.status);
    ASSERT_THAT(result.out, SizeIs(1));
    EXPECT_THAT(result.out[0], SizeIs(1'000'000));
    ASSERT_THAT(result.err, SizeIs(1));
    EXPECT_THAT(result.err[0], SizeIs(1'000'003));
}

TEST_F(ShellRunnerTest, StandardInputIsEmpty)
{
    EXPECT_THAT(Shell("cat; readlink /proc/self/fd/0").out, ElementsAre("/dev/null"));
}

TEST_F(ShellRunnerTest, ToolsSpeakTheLanguageTheyAreReadIn)
{
    EXPECT_THAT(Shell("echo $LC_ALL").out, ElementsAre("C"));
}

TEST_F(ShellRunnerTest, ConfiguredFoldersAreSearchedFirst)
{
    WriteProgram(InRoot("tools/cat"), "echo own cat\n");
    Configure({{"Shell", {{"Path", "no_such_folder:tools"}}}});
    EXPECT_THAT(Shell("cat /dev/null; true").out, ElementsAre("own cat"));
    EXPECT_THAT(Shell("echo \"$PATH\"").out,
                ElementsAre(InRoot("no_such_folder") + ":" + InRoot("tools") + ":" + ::getenv("PATH")));
}

TEST_F(ShellRunnerTest, CommandHasNoDescriptorOfTheHostProgram)
{
    const int leaking = ::open("/dev/null", O_RDONLY); // not closed on exec
    const ShellOutcome result = Shell("ls -1 /proc/self/fd; true");
    ::close(leaking);
    EXPECT_THAT(result.out, ElementsAre("0", "1", "2", "3")); // the last is the directory that is listed
}

TEST_F(ShellRunnerTest, CommandIsInAProcessGroupOfItsOwn)
{
    const ShellOutcome result = Shell("ps -o pgid= -p $$");
    ASSERT_THAT(result.out, SizeIs(1));
    EXPECT_NE(::getpgrp(), std::stoi(result.out[0]));
}

TEST_F(ShellRunnerTest, RunIsLoggedWithoutParametersOrOutput)
{
    Shell("echo '?' out; echo err >&2; exit 3", {"parameter"});

    ASSERT_THAT(LogLines(), SizeIs(1));
    const LogLine line = LogLines().front();
    EXPECT_EQ("1", line.level);
    EXPECT_EQ("Test_RunShell", line.module);
    EXPECT_EQ("7", line.requestId);
    EXPECT_EQ("runShellCmdWithOutput", line.function);
    EXPECT_THAT(line.text, MatchesRegex("Ran \"echo '\\?' out; echo err >&2; exit 3\": status 3, 1 lines of output, 1 "
                                        "of error, [0-9]+ ms\\."));
}

TEST_F(ShellRunnerTest, ManyThreadsRunCommandsAtOnce)
{
    std::vector<std::thread> threads;
    std::vector<ShellOutcome> results(8);
    for (std::size_t index = 0; index < results.size(); ++index) {
        threads.emplace_back([index, &results] {
            results[index] = Shell("echo '?'; exit ?", {std::to_string(index), std::to_string(index)});
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (std::size_t index = 0; index < results.size(); ++index) {
        EXPECT_EQ(static_cast<int>(index), results[index].status);
        EXPECT_THAT(results[index].out, ElementsAre(std::to_string(index)));
    }
}

TEST_F(ShellRunnerTest, StatusArrivesInAProgramThatIgnoresItsChildren)
{
    EXPECT_EQ("7 out\n", RunToEnd({ProbePath(), "shell-ignored-children"}).output);
}

TEST_F(ShellRunnerTest, StatusArrivesInAProgramThatWaitsForEveryChild)
{
    EXPECT_EQ("7 out\n", RunToEnd({ProbePath(), "shell-reaped-children"}).output);
}

TEST_F(ShellRunnerTest, CommandStartsWithEverySignalAtItsDefault)
{
    // The program blocks, ignores and catches signals; the command's own masks are empty.
    const Base::ProgramResult result = RunToEnd({ProbePath(), "shell-signals"});
    EXPECT_EQ("SigBlk:0 SigIgn:0 SigCgt:0 \n", result.output);
}

TEST_F(ShellRunnerTest, ProgramWithoutStandardDescriptorsGetsTheOutput)
{
    EXPECT_EQ(0, RunToEnd({ProbePath(), "shell-closed-descriptors"}).status);
}

} // namespace
