#include "base/program.h"

#include "base/files.h"
#include "tests/support/process.h"

#include <gmock/gmock.h>

#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <thread>

using ::testing::Contains;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

template <typename Work>
std::string MessageOf(const Work& work)
{
    try {
        work();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "nothing thrown";
}

TEST(ProgramTest, RunProgramGivesStatusAndBothOutputs)
{
    const Base::ProgramResult result =
        Base::RunProgram({"sh", "-c", "echo $SAID; echo wrong >&2; exit 3"}, {"SAID=a b"});
    EXPECT_EQ(3, result.status);
    EXPECT_EQ("a b\n", result.output);
    EXPECT_EQ("wrong\n", result.errors);
}

TEST(ProgramTest, RunProgramTellsASignal)
{
    EXPECT_EQ(128 + SIGTERM, Base::RunProgram({"sh", "-c", "kill -TERM $$"}).status);
}

TEST(ProgramTest, RunProgramNamesAProgramThatIsNotThere)
{
    EXPECT_EQ("cannot start no-such-program: No such file or directory",
              MessageOf([] { Base::RunProgram({"no-such-program"}); }));
    EXPECT_THROW(Base::RunProgram({"no-such-program"}), Base::NotStarted);
}

TEST(ProgramTest, RunProgramEndsOneThatIsTooLate)
{
    EXPECT_EQ("sleep did not end within 0 seconds", MessageOf([] {
                  Base::RunProgram({"sleep", "60"}, {}, std::chrono::milliseconds(50));
              }));
    EXPECT_EQ(0, Base::RunProgram({"true"}, {}, std::chrono::seconds(30)).status);
}

TEST(ProgramTest, ProgramReadsItsInputAndShowsItsOutputWhileItRuns)
{
    Base::Program program({"sh", "-c", "read line; echo got $line; exec sleep 60"}, {}, "a line\nanother\n");
    while (program.Output() != "got a line\n") {
        ASSERT_FALSE(program.HasEnded()) << program.Errors();
    }
    EXPECT_EQ(std::nullopt, program.WaitFor(std::chrono::milliseconds(1)));
    program.Signal(SIGINT);
    EXPECT_EQ(128 + SIGINT, program.Wait());
    EXPECT_EQ(128 + SIGINT, program.Wait());
    program.Signal(SIGKILL); // is not sent to whoever has the number now
}

TEST(ProgramTest, ProgramStartsWithoutItsParentsBlockedSignals)
{
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    Base::Program program({"sleep", "60"});
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    program.Signal(SIGTERM);
    EXPECT_EQ(128 + SIGTERM, program.Wait());
}

TEST(ProgramTest, ProgramFindsItsInputAndOutputsWhereItsParentHasNoneItself)
{
    EXPECT_EQ(0, InChild([] {
                  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
                      ::close(stream);
                  }
                  Base::Program program({"sh", "-c", "cat; echo wrong >&2"}, {}, "a line\n");
                  const bool isRight =
                      program.Wait() == 0 && program.Output() == "a line\n" && program.Errors() == "wrong\n";
                  return isRight ? 0 : 1;
              }));
}

TEST(ProgramTest, ProgramReadsNothingOfItsParentsInputWhereNoDescriptorIsLeft)
{
    EXPECT_EQ(0, InChild([] {
                  int ends[2] = {-1, -1};
                  if (::pipe(ends) != 0 || Base::WriteWhole(ends[1], "the parent's\n") != 0) {
                      return 1;
                  }
                  ::dup2(ends[0], STDIN_FILENO);
                  ::close(ends[0]);
                  ::close(ends[1]);
                  const int outputs[] = {::dup(STDIN_FILENO), ::dup(STDIN_FILENO)}; // the lowest that are free
                  const rlim_t most = static_cast<rlim_t>(outputs[1]) + 1;
                  const rlimit limit = {most, most};
                  ::close(outputs[0]);
                  ::close(outputs[1]);
                  if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) {
                      return 2;
                  }
                  constexpr std::chrono::seconds LIMIT(20);
                  const auto start = std::chrono::steady_clock::now();
                  Base::Program program({"cat"});
                  if (program.WaitFor(LIMIT) != 0 || !program.Output().empty()) {
                      return 3;
                  }
                  return std::chrono::steady_clock::now() - start < LIMIT ? 0 : 4; // its end was seen by itself
              }));
}

TEST(ProgramTest, ProgramEndsForWhoIgnoresSigchldWithItsStatusLost)
{
    const auto before = std::signal(SIGCHLD, SIG_IGN);
    Base::Program program({"echo", "said"});
    EXPECT_EQ(-1, program.WaitFor(std::chrono::seconds(30)));
    EXPECT_TRUE(program.HasEnded());
    EXPECT_EQ("said\n", program.Output());
    EXPECT_EQ(-1, Base::RunProgram({"true"}, {}, std::chrono::seconds(30)).status);
    std::signal(SIGCHLD, before);
}

TEST(ProgramTest, SignalIsTakenFromAnotherThreadWhileOneWaits)
{
    Base::Program program({"sleep", "60"});
    std::atomic<bool> isOver = false;
    std::thread other([&] {
        while (!isOver) { // also just when it is waited for
            program.Signal(SIGTERM);
        }
    });
    EXPECT_EQ(128 + SIGTERM, program.Wait());
    isOver = true;
    other.join();
}

TEST(ProgramTest, EnvironmentWithReplacesWhatIsThere)
{
    setenv("BASE_TEST", "old", 1);
    setenv("BASE_TEST_LONGER", "kept", 1);
    const std::vector<std::string> environment = Base::EnvironmentWith({"BASE_TEST=new"});
    EXPECT_THAT(environment, Contains("BASE_TEST=new"));
    EXPECT_THAT(environment, Contains("BASE_TEST_LONGER=kept"));
    EXPECT_THAT(environment, Not(Contains("BASE_TEST=old")));
    EXPECT_THAT(environment, Contains(StartsWith("PATH=")));
}

} // namespace
