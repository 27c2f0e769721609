#include "base/files.h"
#include "tests/support/files.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <vector>

namespace fs = std::filesystem;

using ::testing::ElementsAre;

namespace {

class FilesTest : public ::testing::Test {
protected:
    std::vector<std::string> Names() const
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(m_folder.Path())) {
            names.push_back(entry.path().filename());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    static struct stat StatusOf(const std::string& path)
    {
        struct stat status = {};
        EXPECT_EQ(0, ::stat(path.c_str(), &status)) << path;
        return status;
    }

    static unsigned int ModeOf(const std::string& path) { return StatusOf(path).st_mode & 07777U; }

    TemporaryFolder m_folder;
    const std::string m_path = m_folder.File("file");
};

TEST_F(FilesTest, ReadFileIfThereTellsNoFileFromOneThatCannotBeRead)
{
    EXPECT_FALSE(Base::ReadFileIfThere(m_path));
    m_folder.Write("file", std::string("a\0b\n", 4));
    EXPECT_EQ(std::string("a\0b\n", 4), Base::ReadFileIfThere(m_path));
    try {
        Base::ReadFileIfThere(m_folder.Path());
        FAIL() << "a folder was read";
    } catch (const std::runtime_error& error) {
        EXPECT_EQ("cannot read " + m_folder.Path() + ": Is a directory", std::string(error.what()));
    }
}

TEST_F(FilesTest, ReadToEndStopsAtItsLimit)
{
    m_folder.Write("file", std::string(20000, 'x'));
    for (const std::size_t limit : {std::size_t(19999), std::size_t(20000)}) {
        const int file = ::open(m_path.c_str(), O_RDONLY | O_CLOEXEC);
        std::string text;
        EXPECT_EQ(limit == 20000 ? 0 : EFBIG, Base::ReadToEnd(file, limit, text));
        ::close(file);
    }
}

TEST_F(FilesTest, ReplaceFileGivesExactlyTheMode)
{
    const mode_t before = ::umask(077);
    EXPECT_EQ(0, Base::ReplaceFile(m_path, "first", 0644));
    ::umask(before);
    EXPECT_EQ(0644U, ModeOf(m_path));
    EXPECT_EQ(0, Base::ReplaceFile(m_path, "second", 0600));
    EXPECT_EQ(0600U, ModeOf(m_path));
    EXPECT_EQ("second", m_folder.Read("file"));
    EXPECT_THAT(Names(), ElementsAre("file"));
}

TEST_F(FilesTest, ReplaceFileThatFailsLeavesTheOldFileAndNoOther)
{
    fs::create_directory(m_path); // over which no file can be renamed
    EXPECT_EQ(EISDIR, Base::ReplaceFile(m_path, "text", 0600));
    EXPECT_THAT(Names(), ElementsAre("file"));
    EXPECT_EQ(ENOENT, Base::ReplaceFile(m_folder.File("none/file"), "text", 0600));
    try {
        Base::SaveFile(m_path, "text", 0600);
        FAIL() << "saved over a folder";
    } catch (const std::runtime_error& error) {
        EXPECT_EQ("cannot write " + m_path + ": Is a directory", std::string(error.what()));
    }
}

// ---- keeping what the owner made of it

TEST_F(FilesTest, RewriteFileMakesAFileByTheMask)
{
    const mode_t before = ::umask(027);
    EXPECT_EQ(0, Base::RewriteFile(m_path, "text", 0666));
    ::umask(before);
    EXPECT_EQ(0640U, ModeOf(m_path));
    EXPECT_EQ("text", m_folder.Read("file"));
}

TEST_F(FilesTest, RewriteFileReplacesTheFileAndKeepsItsMode)
{
    m_folder.Write("file", "old");
    fs::permissions(m_path, fs::perms(0604));
    const ino_t before = StatusOf(m_path).st_ino;
    const int reader = ::open(m_path.c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(0, Base::RewriteFile(m_path, "new", 0600));
    EXPECT_NE(before, StatusOf(m_path).st_ino);
    EXPECT_EQ(0604U, ModeOf(m_path));
    EXPECT_EQ("new", m_folder.Read("file"));
    std::string text;
    EXPECT_EQ(0, Base::ReadToEnd(reader, 100, text));
    EXPECT_EQ("old", text); // whole, to who reads it still
    ::close(reader);
    EXPECT_THAT(Names(), ElementsAre("file"));
}

TEST_F(FilesTest, RewriteFileKeepsTheOwner)
{
    m_folder.Write("file", "old");
    if (::chown(m_path.c_str(), 12345, 54321) != 0) {
        GTEST_SKIP() << "this user may give nothing away";
    }
    EXPECT_EQ(0, Base::RewriteFile(m_path, "new", 0600));
    EXPECT_EQ(12345U, StatusOf(m_path).st_uid);
    EXPECT_EQ(54321U, StatusOf(m_path).st_gid);
}

TEST_F(FilesTest, RewriteFileFollowsALinkAndLeavesIt)
{
    fs::create_directory(m_folder.File("elsewhere"));
    fs::create_symlink("elsewhere/second", m_path);
    fs::create_symlink("target", m_folder.File("elsewhere/second"));
    EXPECT_EQ(0, Base::RewriteFile(m_path, "first", 0600)); // which leads to nothing yet
    EXPECT_EQ("first", m_folder.Read("elsewhere/target"));
    EXPECT_EQ(0, Base::RewriteFile(m_path, "text", 0600));
    EXPECT_EQ("text", m_folder.Read("elsewhere/target"));
    EXPECT_TRUE(fs::is_symlink(m_path));
    EXPECT_TRUE(fs::is_symlink(m_folder.File("elsewhere/second")));
}

TEST_F(FilesTest, RewriteFileWritesWhatIsNoFileInPlace)
{
    EXPECT_EQ(ENOSPC, Base::RewriteFile("/dev/full", "text", 0600));
    EXPECT_EQ(0, Base::RewriteFile("/dev/null", "text", 0600));
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST_F(FilesTest, RewriteFileWithoutItsFolderFails)
{
    EXPECT_EQ(ENOENT, Base::RewriteFile(m_folder.File("none/file"), "text", 0600));
    EXPECT_EQ(EISDIR, Base::RewriteFile(m_folder.Path(), "text", 0600));
}

} // namespace
