#include "base/descriptor.h"
#include "base/files.h"
#include "common/framework/config_reader.h"

#include "tests/framework/support/file_log_test.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

class LogOutputTest : public FileLogTest {
protected:
    /// The status of a probe whose standard error is a pipe that nobody reads.
    int ProbeWithoutReader(const std::vector<std::string>& arguments) const
    {
        std::vector<std::string> all = {
            "/bin/sh", "-c", R"(test -p "$0" || mkfifo "$0"; exec 3<>"$0" 2>"$0" 3<&-; exec "$@")", InRoot("pipe")};
        const std::vector<std::string> words = ProbeWords(arguments);
        all.insert(all.end(), words.begin(), words.end());
        return RunToEnd(all).status;
    }
};

TEST_F(LogOutputTest, LinesBelowTheLevelAreNotWritten)
{
    Configure({{"Log", {{"Level", "3"}}}});
    for (int level = -1; level <= 5; ++level) {
        Log(level, "level " + std::to_string(level));
    }
    EXPECT_THAT(Texts(LogPath()), ElementsAre("level 3", "level 4", "level 5"));
}

TEST_F(LogOutputTest, DefaultLevelLeavesOutPeriodicLines)
{
    Log(0, "periodic");
    Log(1, "info");
    EXPECT_THAT(Texts(LogPath()), ElementsAre("info"));
}

TEST_F(LogOutputTest, LevelFollowsTheChangedFileAfterAnyRead)
{
    Configure({{"Log", {{"Level", "4"}}}});
    Log(1, "silent");
    Configure({{"Log", {{"Level", "0"}}}});
    Log(0, "heard");
    EXPECT_THAT(Texts(LogPath()), ElementsAre("heard"));
}

TEST_F(LogOutputTest, LevelFollowsTheChangedFileWhenNobodyReadsIt)
{
    Configure({{"Log", {{"Level", "4"}}}});
    WriteConfig("[Product]\nRoot = " + InRoot("") + "\n[Log]\nFile = log/test.log\nLevel = 1\n");

    // The log looks at the file once a second.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (LogLines().empty() && std::chrono::steady_clock::now() < deadline) {
        Log(1, "heard");
    }
    EXPECT_EQ("heard", Texts(LogPath()).at(0));
}

TEST_F(LogOutputTest, FileFollowsTheChangedFile)
{
    Log(1, "to the first");
    Configure({{"Log", {{"File", "other/second.log"}}}});
    Log(1, "to the second");

    EXPECT_THAT(Texts(LogPath()), ElementsAre("to the first"));
    EXPECT_THAT(Texts(InRoot("other/second.log")), ElementsAre("to the second"));
}

TEST_F(LogOutputTest, EmptyFileNameMeansNoFile)
{
    Configure({{"Log", {{"File", ""}}}});
    Log(4, "lost on purpose");
    EXPECT_FALSE(std::filesystem::exists(InRoot("log")));
}

TEST_F(LogOutputTest, FullFileIsRenamedAndTheOldestDropped)
{
    Configure({{"Log", {{"MaxFileBytes", "4096"}, {"MaxFiles", "2"}}}});
    const std::string filler(1000, 'x');
    for (int number = 0; number < 20; ++number) {
        Log(1, std::to_string(number) + filler);
    }
    EXPECT_THAT(Texts(LogPath()), SizeIs(2));
    EXPECT_EQ("19" + filler, Texts(LogPath()).back());
    EXPECT_THAT(Texts(InRoot("log/test.1.log")), SizeIs(3));
    EXPECT_EQ("17" + filler, Texts(InRoot("log/test.1.log")).back());
    EXPECT_THAT(Texts(InRoot("log/test.2.log")), SizeIs(3));
    EXPECT_FALSE(std::filesystem::exists(InRoot("log/test.3.log")));
}

// Programs of one node share one file: one of them renames it, and the others must not go on in the renamed one.
TEST_F(LogOutputTest, FileThatAnotherProgramRenamedIsLeft)
{
    Log(1, "to the first");
    std::filesystem::rename(LogPath(), InRoot("log/test.1.log"));
    WriteText(LogPath(), ""); // what the other one begins

    // The log looks at the file once a second.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (ReadText(LogPath()).empty() && std::chrono::steady_clock::now() < deadline) {
        Log(1, "more");
    }
    EXPECT_EQ("more", Texts(LogPath()).at(0));
    EXPECT_EQ("to the first", Texts(InRoot("log/test.1.log")).at(0));
}

TEST_F(LogOutputTest, LinesOfManyThreadsStayWhole)
{
    constexpr int THREADS = 8;
    constexpr int LINES = 200;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < THREADS; ++thread) {
        threads.emplace_back([thread] {
            for (int line = 0; line < LINES; ++line) {
                Log(1, std::to_string(thread) + "/" + std::to_string(line) + std::string(50, '.'));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::set<std::string> texts;
    for (const std::string& text : Texts(LogPath())) {
        texts.insert(text);
    }
    EXPECT_THAT(texts, SizeIs(THREADS * LINES));
    for (const std::string& text : texts) {
        EXPECT_EQ(50U, text.size() - text.find('.')) << text;
    }
}

TEST_F(LogOutputTest, LevelChangesWhileManyThreadsLog)
{
    std::atomic<bool> isOver = false;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&isOver] {
            while (!isOver) {
                Log(1, "line");
            }
        });
    }
    for (int round = 0; round < 20; ++round) {
        Configure({{"Log", {{"Level", round % 2 == 0 ? "4" : "1"}, {"MaxFileBytes", "65536"}}}});
    }
    isOver = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const std::string& text : Texts(LogPath())) {
        EXPECT_EQ("line", text);
    }
}

TEST_F(LogOutputTest, FileThatCannotBeOpenedIsSaidOnceAndNothingBreaks)
{
    WriteText(InRoot("blocker"), "a file where a directory should be");
    Configure({{"Log", {{"File", "blocker/test.log"}}}});
    const Base::ProgramResult result = Probe({"log", "1", "first", "second", "third"});

    EXPECT_EQ(0, result.status);
    EXPECT_EQ("The log file " + InRoot("blocker/test.log") + " cannot be written, lines are lost: Not a directory\n",
              result.errors);
}

TEST_F(LogOutputTest, FullDiskIsSaidOnceAndNothingBreaks)
{
    Configure({{"Log", {{"File", "/dev/full"}}}});
    const Base::ProgramResult result = Probe({"log", "1", "first", "second", "third"});

    EXPECT_EQ(0, result.status);
    EXPECT_THAT(result.errors, testing::MatchesRegex("The log file /dev/full cannot be written, lines are lost: "
                                                     "[^\n]*No space left on device\n"));
}

// A full disk lets the file be opened each time that it is tried again.
TEST_F(LogOutputTest, DiskThatStaysFullIsSaidOnce)
{
    const std::string full = ">/dev/full";
    std::filesystem::create_directory(InRoot("log"));
    const Base::ProgramResult result =
        Probe({"log-through-link", LogPath(), full, "first", full, "second", full, "third"});

    EXPECT_EQ(0, result.status);
    EXPECT_THAT(result.errors, testing::MatchesRegex("The log file [^\n]*No space left on device\n"));
}

TEST_F(LogOutputTest, DiskThatIsFullAgainIsSaidAgain)
{
    const std::string full = ">/dev/full";
    std::filesystem::create_directory(InRoot("log"));
    const Base::ProgramResult result = Probe(
        {"log-through-link", LogPath(), full, "first", ">" + InRoot("roomy.log"), "second", full, "third", "fourth"});

    EXPECT_EQ(0, result.status);
    EXPECT_THAT(result.errors, testing::MatchesRegex("The log file [^\n]*No space left on device\n"
                                                     "The log file [^\n]*No space left on device\n"));
    EXPECT_THAT(Texts(InRoot("roomy.log")), ElementsAre("second"));
}

// Whoever read standard error has gone; the program that logs goes on.
TEST_F(LogOutputTest, StandardErrorWithoutAReaderEndsNobody)
{
    WriteText(InRoot("blocker"), "a file where a directory should be");
    Configure({{"Log", {{"File", "blocker/test.log"}}}});
    EXPECT_EQ(0, ProbeWithoutReader({"log", "4", "lost"}));

    Configure({{"Log", {{"Console", "true"}}}});
    EXPECT_EQ(0, ProbeWithoutReader({"log", "4", "first", "second"}));
    EXPECT_THAT(Texts(LogPath()), ElementsAre("first", "second"));
}

TEST_F(LogOutputTest, PipeWithoutAReaderAsTheFileEndsNobody)
{
    std::filesystem::create_directory(InRoot("log"));
    ASSERT_EQ(0, ::mkfifo(LogPath().c_str(), 0600));
    Base::Descriptor reader(::open(LogPath().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    Log(1, "read");
    std::string text;
    EXPECT_EQ(EAGAIN, Base::ReadToEnd(reader.Get(), 1000, text));
    EXPECT_EQ("read\n", SplitLogLine(text).text);

    reader.Close();
    testing::internal::CaptureStderr();
    Log(1, "lost");
    EXPECT_EQ("The log file " + LogPath() + " cannot be written, lines are lost: Broken pipe\n",
              testing::internal::GetCapturedStderr());
}

TEST_F(LogOutputTest, LineBehindAnUnfinishedOneBeginsAnew)
{
    std::filesystem::create_directories(InRoot("log"));
    WriteText(LogPath(), "whole\nhalf of");
    Log(1, "after the disk was full");
    Log(1, "and on");
    const std::string text = ReadText(LogPath());
    EXPECT_EQ(0U, text.find("whole\nhalf of\n")) << text;
    EXPECT_EQ(4, std::count(text.begin(), text.end(), '\n')) << text;
    EXPECT_THAT(text, testing::EndsWith("|and on\n"));
}

// A large file takes a while to read.
TEST_F(LogOutputTest, NoLineIsLostWhileAnotherThreadReadsTheConfigurationForTheFirstTime)
{
    std::string config = "[Product]\nRoot = " + InRoot("") + "\n[Log]\nFile = log/test.log\nLevel = 1\n";
    while (config.size() < 900'000) {
        config += "; " + std::string(100, '.') + "\n";
    }
    WriteConfig(config);
    for (std::size_t round = 1; round <= 10; ++round) {
        EXPECT_EQ(0, Probe({"log-at-once"}).status);
        EXPECT_THAT(Texts(LogPath()), SizeIs(8 * round));
    }
}

TEST_F(LogOutputTest, FileIsNotLeftOpenToOtherPrograms)
{
    Log(1, "open");
    bool isFound = false;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        if (std::filesystem::read_symlink(entry, error) == LogPath()) {
            isFound = true;
            const std::string info = ReadText("/proc/self/fdinfo/" + entry.path().filename().string());
            const std::string flags = info.substr(info.find("flags:") + 6, info.find('\n', info.find("flags:")));
            EXPECT_NE(0, std::stoi(flags, nullptr, 8) & 02000000) << info; // close on exec
        }
    }
    EXPECT_TRUE(isFound);
}

TEST_F(LogOutputTest, ConsoleOfTheConfigurationShowsTheLinesAsTheFileHasThem)
{
    Configure({{"Log", {{"Console", "true"}, {"Level", "2"}}}});
    const Base::ProgramResult result = Probe({"log", "1", "not shown"});
    EXPECT_EQ("", result.errors);

    const Base::ProgramResult shown = Probe({"log", "2", "shown"});
    EXPECT_EQ("shown", SplitLogLine(shown.errors).text.substr(0, 5));
    EXPECT_EQ(ReadText(LogPath()), shown.errors);
}

TEST_F(LogOutputTest, ConsoleOfTheEnvironmentSpeaksToAPerson)
{
    Configure({{"Log", {{"Console", "true"}, {"Level", "0"}}}});
    const Base::ProgramResult result = Probe({"log", "4", "line\nend\\"}, {"PRODUCT_STORAGE_LOG_CONSOLE=3"});
    EXPECT_EQ("error: line\\nend\\ (Say)\n", result.errors);
    EXPECT_THAT(Texts(LogPath()), ElementsAre("line\\nend\\\\"));

    EXPECT_EQ("warning: w (Say)\n", Probe({"log", "3", "w"}, {"PRODUCT_STORAGE_LOG_CONSOLE=3"}).errors);
    EXPECT_EQ("", Probe({"log", "2", "n"}, {"PRODUCT_STORAGE_LOG_CONSOLE=3"}).errors);
    EXPECT_EQ("periodic: p (Say)\n", Probe({"log", "0", "p"}, {"PRODUCT_STORAGE_LOG_CONSOLE=0"}).errors);
}

TEST_F(LogOutputTest, ConsoleShowsLinesThatTheFileDoesNotTake)
{
    Configure({{"Log", {{"Level", "4"}}}});
    EXPECT_EQ("info: i (Say)\n", Probe({"log", "1", "i"}, {"PRODUCT_STORAGE_LOG_CONSOLE=1"}).errors);
    EXPECT_EQ("", ReadText(LogPath()));
}

TEST_F(LogOutputTest, ConsoleOfTheEnvironmentThatIsNoNumberChangesNothing)
{
    EXPECT_EQ("", Probe({"log", "4", "text"}, {"PRODUCT_STORAGE_LOG_CONSOLE=loud"}).errors);
    EXPECT_THAT(Texts(LogPath()), ElementsAre("text"));
}

TEST_F(LogOutputTest, StaticObjectsStillLogWhenTheProcessEnds)
{
    const Base::ProgramResult result = Probe({"log-at-exit"});
    EXPECT_EQ(0, result.status) << result.errors;
    EXPECT_THAT(Texts(LogPath()), ElementsAre("in main", "from a static object's destructor, level 1"));
}

TEST_F(LogOutputTest, LineBelowTheLevelAllocatesNothing)
{
    Configure({{"Log", {{"Level", "4"}}}});
    const Base::ProgramResult result = Probe({"silent-lines"});
    EXPECT_EQ(0, result.status) << result.errors;
    EXPECT_EQ("0 allocations\n", result.output);
}

TEST_F(LogOutputTest, MalformedConfigurationIsToldInTheLogThatItConfigures)
{
    Configure({{"Log", {{"Level", "loud"}}}});
    EXPECT_THAT(LogTexts("4"), ElementsAre(HasSubstr("[Log] Level = \"loud\" is no whole number from 0 to 4")));
}

} // namespace
