#include "base/descriptor.h"
#include "base/files.h"
#include "tests/support/files.h"
#include "tests/support/process.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
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

    static bool IsSigpipePending()
    {
        sigset_t pending;
        ::sigpending(&pending);
        return ::sigismember(&pending, SIGPIPE) == 1;
    }

    static bool IsSigpipeBlocked()
    {
        sigset_t mask;
        ::pthread_sigmask(SIG_BLOCK, nullptr, &mask);
        return ::sigismember(&mask, SIGPIPE) == 1;
    }

    static void BlockSigpipe()
    {
        sigset_t mask;
        ::sigemptyset(&mask);
        ::sigaddset(&mask, SIGPIPE);
        ::pthread_sigmask(SIG_BLOCK, &mask, nullptr);
    }

    /// A pipe's end for writing, whose reader has gone.
    static Base::Descriptor BrokenPipe()
    {
        int ends[2] = {-1, -1};
        EXPECT_EQ(0, ::pipe2(ends, O_CLOEXEC));
        ::close(ends[0]);
        return Base::Descriptor(ends[1]);
    }

    static struct stat StatusOf(const std::string& path)
    {
        struct stat status = {};
        EXPECT_EQ(0, ::stat(path.c_str(), &status)) << path;
        return status;
    }

    static unsigned int ModeOf(const std::string& path) { return StatusOf(path).st_mode & 07777U; }

    /// The one that comes after those that were given until now.
    std::string NextTemporaryName() const
    {
        const std::string last = Base::TemporaryName(m_path);
        const std::size_t dash = last.rfind('-');
        const int next = std::stoi(last.substr(dash + 1)) + 1;
        return last.substr(0, dash + 1) + std::to_string(next) + ".tmp";
    }

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

TEST_F(FilesTest, WriteWithoutSigpipeLeavesTheProgramAliveAndItsMaskAsItWas)
{
    EXPECT_EQ(EPIPE, InChild([] {
                  std::signal(SIGPIPE, SIG_DFL);
                  const int error = Base::WriteWithoutSigpipe(BrokenPipe().Get(), "text");
                  return IsSigpipeBlocked() ? 255 : error;
              }));
}

TEST_F(FilesTest, WriteWithoutSigpipeLeavesAProgramThatBlocksTheSignalNoneOfItsOwn)
{
    EXPECT_EQ(EPIPE, InChild([] {
                  BlockSigpipe();
                  const int error = Base::WriteWithoutSigpipe(BrokenPipe().Get(), "text");
                  return IsSigpipePending() || !IsSigpipeBlocked() ? 255 : error;
              }));
}

TEST_F(FilesTest, WriteWithoutSigpipeTakesNoneThatWasPendingBefore)
{
    EXPECT_EQ(EPIPE, InChild([] {
                  BlockSigpipe();
                  std::raise(SIGPIPE);
                  const int error = Base::WriteWithoutSigpipe(BrokenPipe().Get(), "text");
                  return IsSigpipePending() ? error : 255;
              }));
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
    if (::geteuid() != 0) {
        GTEST_SKIP() << "this user may give nothing away";
    }
    ASSERT_EQ(0, ::chown(m_path.c_str(), 12345, 54321));
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

TEST_F(FilesTest, RewriteFileThatEndsHalfWayLeavesTheOldText)
{
    m_folder.Write("file", "old");
    const int error = InChild([this] {
        ::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {4, 4}; // bytes of a file, as if the disk were full there
        ::setrlimit(RLIMIT_FSIZE, &limit);
        return Base::RewriteFile(m_path, "the new text", 0600);
    });
    EXPECT_EQ(EFBIG, error);
    EXPECT_EQ("old", m_folder.Read("file"));
    EXPECT_THAT(Names(), ElementsAre("file"));
}

TEST_F(FilesTest, RewriteFileWritesInPlaceWhereTheFolderMayGainNoFiles)
{
    constexpr uid_t SOMEBODY = 65534;
    const bool isRoot = ::geteuid() == 0; // who may do everything: the child becomes another user
    m_folder.Write("file", "old");
    const ino_t before = StatusOf(m_path).st_ino;
    if (isRoot) {
        ASSERT_EQ(0, ::chown(m_path.c_str(), SOMEBODY, SOMEBODY));
    }
    ASSERT_EQ(0, ::chmod(m_folder.Path().c_str(), 0555));
    const int error = InChild([&] {
        const bool isSomebody = !isRoot || ::setuid(SOMEBODY) == 0;
        return isSomebody ? Base::RewriteFile(m_path, "new", 0600) : -1;
    });
    ASSERT_EQ(0, ::chmod(m_folder.Path().c_str(), 0755));
    EXPECT_EQ(0, error);
    EXPECT_EQ("new", m_folder.Read("file"));
    EXPECT_EQ(before, StatusOf(m_path).st_ino);
}

TEST_F(FilesTest, RewriteFileIsNotHinderedByWhatAKilledProcessLeft)
{
    m_folder.Write("file", "old");
    const std::string stale = NextTemporaryName();
    std::ofstream(stale) << "half";
    EXPECT_EQ(0, Base::RewriteFile(m_path, "new", 0600));
    EXPECT_EQ("new", m_folder.Read("file"));
    EXPECT_TRUE(fs::exists(stale));
}

TEST_F(FilesTest, ReplaceFileTouchesNothingThatItDidNotMakeWhereNoDescriptorIsLeft)
{
    EXPECT_EQ(EMFILE, InChild([this] {
                  std::ofstream(NextTemporaryName()) << "somebody's";
                  const rlimit none = {0, 0};
                  ::setrlimit(RLIMIT_NOFILE, &none);
                  return Base::ReplaceFile(m_path, "new", 0600);
              }));
    EXPECT_EQ(1U, Names().size());
}

TEST_F(FilesTest, RewriteFileWritesAMountedFileInPlace)
{
    constexpr int NOT_PERMITTED = 255;
    constexpr int OTHER_FAILURE = 254;
    m_folder.Write("file", "old");
    m_folder.Write("source", "old");
    const int error = InChild([this] {
        // A user without rights gets them in a space of its own, where the system has such.
        if (::unshare(::geteuid() == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0) {
            return errno == EPERM || errno == ENOSPC ? NOT_PERMITTED : OTHER_FAILURE;
        }
        if (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount(m_folder.File("source").c_str(), m_path.c_str(), nullptr, MS_BIND, nullptr) != 0) {
            return OTHER_FAILURE;
        }
        return Base::RewriteFile(m_path, "new", 0600);
    });
    if (error == NOT_PERMITTED) {
        GTEST_SKIP() << "this user may mount nothing";
    }
    EXPECT_EQ(0, error);
    EXPECT_EQ("new", m_folder.Read("source")); // what was mounted there
    EXPECT_EQ("old", m_folder.Read("file"));
    EXPECT_THAT(Names(), ElementsAre("file", "source"));
}

TEST_F(FilesTest, RewriteFileWritesInPlaceWhereItsOwnerIsUnknown)
{
    constexpr int NOT_PERMITTED = 255;
    m_folder.Write("file", "old");
    const int error = InChild([this] { // as in a container whose users are not those of the file system
        return ::unshare(CLONE_NEWUSER) != 0 ? NOT_PERMITTED : Base::RewriteFile(m_path, "new", 0600);
    });
    if (error == NOT_PERMITTED) {
        GTEST_SKIP() << "this user may make no space for users";
    }
    EXPECT_EQ(0, error);
    EXPECT_EQ("new", m_folder.Read("file"));
    EXPECT_THAT(Names(), ElementsAre("file"));
}

TEST_F(FilesTest, RewriteFileWithoutItsFolderFails)
{
    EXPECT_EQ(ENOENT, Base::RewriteFile(m_folder.File("none/file"), "text", 0600));
    EXPECT_EQ(EISDIR, Base::RewriteFile(m_folder.Path(), "text", 0600));
    EXPECT_EQ(ENAMETOOLONG, Base::RewriteFile(m_folder.File(std::string(300, 'n')), "text", 0600));
}

TEST_F(FilesTest, RewriteFileWritesAFileInPlaceWhoseNameHasNoRoomForAnother)
{
    const std::string name(255, 'n');
    EXPECT_EQ(0, Base::RewriteFile(m_folder.File(name), "text", 0600));
    EXPECT_EQ("text", m_folder.Read(name));
}

} // namespace
