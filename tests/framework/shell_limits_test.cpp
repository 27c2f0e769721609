#include "tests/framework/support/framework_test.h"
#include "tests/framework/support/probe.h"
#include "tests/framework/support/shell.h"

#include <signal.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

namespace {

using testing::ElementsAre;
using testing::SizeIs;

using Clock = std::chrono::steady_clock;

const std::string OVER = "The command was ended after its time limit of 1 seconds";

// A process that is gone, or ended and only not yet collected by who started it.
bool HasEnded(const std::string& pid)
{
    const std::string status = ReadText("/proc/" + pid + "/stat");
    const std::size_t name = status.rfind(") ");
    return name == std::string::npos || status[name + 2] == 'Z' || status[name + 2] == 'X';
}

// A killed process ends soon, which may be after the call that killed it has returned.
bool Ends(const std::string& pid)
{
    const auto deadline = Clock::now() + std::chrono::seconds(10);
    while (!HasEnded(pid)) {
        if (Clock::now() > deadline) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

class ShellLimitsTest : public FrameworkTest {
protected:
    ShellLimitsTest() { Configure({{"Shell", {{"TimeoutSeconds", "1"}}}}); }

    /// Ends a process that a command left behind on purpose.
    static void End(const std::string& pid) { ::kill(std::stoi(pid), SIGKILL); }

    Clock::duration Elapsed() const { return Clock::now() - m_start; }

private:
    const Clock::time_point m_start = Clock::now();
};

TEST_F(ShellLimitsTest, CommandIsInterruptedWhenItsTimeIsOver)
{
    const ShellOutcome result = Shell("echo begun; sleep 1000; echo not reached");
    EXPECT_EQ(128 + SIGINT, result.status);
    EXPECT_THAT(result.out, ElementsAre("begun"));
    EXPECT_THAT(result.err, ElementsAre(OVER));
    EXPECT_GE(Elapsed(), std::chrono::seconds(1));
    EXPECT_LT(Elapsed(), std::chrono::seconds(5));
}

TEST_F(ShellLimitsTest, CommandThatReplacesItsShellIsInterruptedAsWell)
{
    const ShellOutcome result = Shell("exec sleep 1000");
    EXPECT_EQ(128 + SIGINT, result.status);
    EXPECT_THAT(result.err, ElementsAre(OVER));
    EXPECT_LT(Elapsed(), std::chrono::seconds(5));
}

TEST_F(ShellLimitsTest, CommandMayCleanUpWhenItIsInterrupted)
{
    const ShellOutcome result = Shell("trap 'echo cleaned; exit 9' INT; while :; do sleep 0.05; done");
    EXPECT_EQ(9, result.status);
    EXPECT_THAT(result.out, ElementsAre("cleaned"));
    EXPECT_THAT(result.err, ElementsAre(OVER));
}

TEST_F(ShellLimitsTest, CommandThatOutlivesItsInterruptedShellMayCleanUp)
{
    // Without standard output and error, so that it is the process that is waited for and not its pipes.
    const ShellOutcome result =
        Shell("sh -c 'trap \"sleep 0.5; touch ?; exit\" INT; while :; do sleep 0.05; done' > /dev/null 2>&1 | cat",
              {InRoot("cleaned")});
    EXPECT_EQ(128 + SIGINT, result.status);
    EXPECT_TRUE(std::filesystem::exists(InRoot("cleaned")));
    EXPECT_LT(Elapsed(), std::chrono::seconds(5));
}

TEST_F(ShellLimitsTest, CommandThatIgnoresTheInterruptIsKilledWithAllItsProcesses)
{
    const ShellOutcome result =
        Shell("trap '' INT; sh -c 'echo $$; sleep 1000 & echo $!; sleep 1000' & sleep 1000; true");
    EXPECT_EQ(128 + SIGKILL, result.status);
    EXPECT_THAT(result.err, ElementsAre(OVER));
    EXPECT_GE(Elapsed(), std::chrono::seconds(6));
    EXPECT_LT(Elapsed(), std::chrono::seconds(12));
    ASSERT_THAT(result.out, SizeIs(2));
    EXPECT_TRUE(Ends(result.out[0]));
    EXPECT_TRUE(Ends(result.out[1]));
}

TEST_F(ShellLimitsTest, LeftOverOfAnInterruptedCommandIsKilled)
{
    // A shell starts its background commands with the interrupt ignored.
    const ShellOutcome result = Shell("sleep 1000 & echo $!; wait");
    EXPECT_EQ(128 + SIGINT, result.status);
    ASSERT_THAT(result.out, SizeIs(1));
    EXPECT_TRUE(Ends(result.out[0]));
}

TEST_F(ShellLimitsTest, LeftOverThatHoldsNoPipeIsKilledAsWell)
{
    const ShellOutcome result = Shell("sleep 1000 > /dev/null 2>&1 & echo $!; exec > /dev/null 2>&1; wait");
    EXPECT_EQ(128 + SIGINT, result.status);
    ASSERT_THAT(result.out, SizeIs(1));
    EXPECT_TRUE(Ends(result.out[0]));
}

TEST_F(ShellLimitsTest, BackgroundProcessThatHoldsThePipesIsNotWaitedFor)
{
    Configure({});
    const ShellOutcome result = Shell("sleep 1000 & echo $!; exit 3");
    EXPECT_EQ(3, result.status);
    ASSERT_THAT(result.out, SizeIs(1));
    EXPECT_FALSE(HasEnded(result.out[0])); // it is none of our business
    EXPECT_LT(Elapsed(), std::chrono::seconds(5));
    End(result.out[0]);
}

TEST_F(ShellLimitsTest, BackgroundProcessThatWritesWithoutAnEndIsNotWaitedFor)
{
    Configure({});
    const ShellOutcome result = Shell("yes & sleep 0.1; exit 4");
    EXPECT_EQ(4, result.status);
    ASSERT_FALSE(result.out.empty());
    EXPECT_EQ("y", result.out.front());
    EXPECT_LT(Elapsed(), std::chrono::seconds(30));
}

TEST_F(ShellLimitsTest, CommandsThatAProgramEndsAreGoneWhenItGoesOn)
{
    EXPECT_EQ("gone, none follows\n", RunToEnd({ProbePath(), "shell-ended-commands", InRoot("marker")}).output);
}

TEST_F(ShellLimitsTest, OutputBeyondTheLimitIsDroppedAndSaid)
{
    Configure({});
    const ShellOutcome result = Shell("head -c 16777217 /dev/zero; head -c 16777226 /dev/zero >&2");
    EXPECT_EQ(0, result.status);
    ASSERT_THAT(result.out, SizeIs(1));
    EXPECT_EQ(16'777'216U, result.out[0].size());
    ASSERT_THAT(result.err, SizeIs(3));
    EXPECT_EQ(16'777'216U, result.err[0].size());
    EXPECT_EQ("Standard output was longer than 16777216 bytes; 1 bytes were dropped", result.err[1]);
    EXPECT_EQ("Standard error was longer than 16777216 bytes; 10 bytes were dropped", result.err[2]);
}

TEST_F(ShellLimitsTest, LinesBeyondTheLimitAreDroppedAndSaid)
{
    Configure({});
    const ShellOutcome result = Shell("yes '' | head -n 100000; seq 100002 >&2");
    EXPECT_EQ(0, result.status);
    EXPECT_THAT(result.out, SizeIs(100'000));
    ASSERT_THAT(result.err, SizeIs(100'001));
    EXPECT_EQ("100000", result.err[99'999]);
    EXPECT_EQ("Standard error was longer than 100000 lines; 14 bytes were dropped", result.err[100'000]);
}

} // namespace
