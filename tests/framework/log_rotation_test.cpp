#include "base/file_lock.h"

#include "tests/framework/support/file_log_test.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::SizeIs;

/// Files of four lines, each a thousand characters and its fields.
class LogRotationTest : public FileLogTest {
protected:
    LogRotationTest() { Limit("1"); }

    void Limit(const std::string& maxFiles)
    {
        Configure({{"Log", {{"MaxFileBytes", "4400"}, {"MaxFiles", maxFiles}}}});
    }

    static std::string Line(int number) { return std::to_string(1000 + number) + std::string(996, '.'); }

    /// The lines from `first` to `last`.
    static std::vector<std::string> Lines(int first, int last)
    {
        std::vector<std::string> lines;
        for (int number = first; number <= last; ++number) {
            lines.push_back(Line(number));
        }
        return lines;
    }

    static void WriteLines(int first, int last)
    {
        for (const std::string& line : Lines(first, last)) {
            Log(1, line);
        }
    }

    std::string FirstPath() const { return InRoot("log/test.1.log"); }
    std::string SecondPath() const { return InRoot("log/test.2.log"); }
    std::string LockPath() const { return LogPath() + ".lock"; }
};

TEST_F(LogRotationTest, FileThatCannotBeRenamedKeepsItsLinesAndGrows)
{
    WriteText(FirstPath() + "/file", "in a folder over which no file can be renamed");
    std::vector<std::string> words = {"log", "1"};
    for (const std::string& line : Lines(1, 10)) {
        words.push_back(line);
    }
    const Base::ProgramResult result = Probe(words);

    EXPECT_EQ(0, result.status);
    EXPECT_EQ("The log file " + LogPath() + " grows beyond its limit: cannot rename " + LogPath() +
                  ": Is a directory\n",
              result.errors);
    EXPECT_EQ(Lines(1, 10), Texts(LogPath()));
}

TEST_F(LogRotationTest, LockThatCannotBeMadeIsSaidOnceAndTriedAgain)
{
    std::vector<std::string> words = {"log-through-link", LockPath()};
    for (int number = 1; number <= 10; ++number) {
        words.push_back(">" + InRoot("elsewhere")); // eleven seconds pass with each
        words.push_back(Line(number));
    }
    fs::create_directory(InRoot("log"));
    const Base::ProgramResult result = Probe(words);

    EXPECT_EQ(0, result.status);
    EXPECT_EQ("The log file " + LogPath() + " grows beyond its limit: cannot open the lock file " + LockPath() +
                  ": Too many levels of symbolic links\n",
              result.errors);
    EXPECT_EQ(Lines(1, 10), Texts(LogPath()));
    EXPECT_FALSE(fs::exists(InRoot("elsewhere")));

    fs::remove(LockPath());
    WriteLines(11, 11);
    EXPECT_EQ(Lines(1, 10), Texts(FirstPath()));
    EXPECT_EQ(Lines(11, 11), Texts(LogPath()));
}

TEST_F(LogRotationTest, LinesDoNotWaitForAProgramThatRenames)
{
    WriteLines(1, 4);
    auto other = std::make_unique<Base::FileLock>(LockPath());
    ASSERT_TRUE(other->TryLock());
    WriteLines(5, 10);
    EXPECT_EQ(Lines(1, 10), Texts(LogPath()));

    other.reset();
    WriteLines(11, 11);
    EXPECT_EQ(Lines(1, 10), Texts(FirstPath()));
    EXPECT_EQ(Lines(11, 11), Texts(LogPath()));
}

// It is not renamed over the one that another program has just renamed.
TEST_F(LogRotationTest, FileThatAnotherProgramBeganIsNotRenamed)
{
    WriteLines(1, 4);
    fs::rename(LogPath(), FirstPath());
    WriteText(LogPath(), "");
    WriteLines(5, 5);

    EXPECT_EQ(Lines(1, 4), Texts(FirstPath()));
    EXPECT_EQ(Lines(5, 5), Texts(LogPath()));
}

TEST_F(LogRotationTest, ProgramsThatShareTheFileLoseNoLine)
{
    constexpr int PROGRAMS = 4;
    constexpr int LINES = 200;
    Limit("1000");
    std::vector<std::unique_ptr<Process>> programs;
    std::set<std::string> logged;
    for (int program = 0; program < PROGRAMS; ++program) {
        std::vector<std::string> words = {"log", "1"};
        for (const std::string& line : Lines(1, LINES)) {
            words.push_back(std::to_string(program) + "/" + line);
        }
        logged.insert(words.begin() + 2, words.end());
        programs.push_back(std::make_unique<Process>(ProbeWords(words)));
    }
    for (const auto& program : programs) {
        EXPECT_EQ(0, program->Wait()) << program->Errors();
        EXPECT_EQ("", program->Errors());
    }

    std::vector<std::string> found;
    fs::remove(LockPath());
    for (const auto& file : fs::directory_iterator(InRoot("log"))) {
        const std::vector<std::string> texts = Texts(file.path());
        found.insert(found.end(), texts.begin(), texts.end());
    }
    EXPECT_THAT(found, SizeIs(logged.size()));
    EXPECT_EQ(logged, std::set<std::string>(found.begin(), found.end()));
}

TEST_F(LogRotationTest, RenamedFilesMoveUpToTheFirstFreeNumber)
{
    Limit("3");
    WriteText(FirstPath(), "first");
    WriteText(InRoot("log/test.3.log"), "third");
    WriteLines(1, 5);

    EXPECT_EQ(Lines(1, 4), Texts(FirstPath()));
    EXPECT_EQ("first", ReadText(SecondPath()));
    EXPECT_EQ("third", ReadText(InRoot("log/test.3.log")));

    WriteLines(6, 9);
    EXPECT_EQ(Lines(5, 8), Texts(FirstPath()));
    EXPECT_EQ(Lines(1, 4), Texts(SecondPath()));
    EXPECT_EQ("first", ReadText(InRoot("log/test.3.log"))) << "the oldest goes";
    EXPECT_FALSE(fs::exists(InRoot("log/test.4.log")));
}

TEST_F(LogRotationTest, FullFileOfWhichNoneIsKeptStaysWholeForItsReaders)
{
    Limit("0");
    WriteLines(1, 4);
    std::ifstream reader(LogPath());
    const std::string before = ReadText(LogPath());
    WriteLines(5, 5);

    EXPECT_EQ(Lines(5, 5), Texts(LogPath()));
    EXPECT_EQ(before, std::string(std::istreambuf_iterator<char>(reader), {}));
    EXPECT_FALSE(fs::exists(FirstPath()));
}

TEST_F(LogRotationTest, LineThatIsLongerThanTheLimitIsInAFileOfItsOwn)
{
    const std::string line(10000, 'x');
    Log(1, line);
    WriteLines(1, 1);

    EXPECT_THAT(Texts(FirstPath()), ElementsAre(line));
    EXPECT_EQ(Lines(1, 1), Texts(LogPath()));
}

TEST_F(LogRotationTest, FolderThatWasTakenAwayIsMadeWithTheNextFile)
{
    WriteLines(1, 4);
    fs::remove_all(InRoot("log"));
    WriteLines(5, 5);

    EXPECT_EQ(Lines(5, 5), Texts(LogPath()));
    EXPECT_FALSE(fs::exists(FirstPath()));
}

} // namespace
