#include "base/file_lock.h"
#include "base/files.h"
#include "tests/support/files.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <thread>

namespace fs = std::filesystem;

using ::testing::HasSubstr;

namespace {

using std::chrono::milliseconds;

class FileLockTest : public ::testing::Test {
protected:
    static std::string ErrorOf(const std::string& path)
    {
        try {
            const Base::FileLock lock(path);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "";
    }

    const TemporaryFolder m_folder;
    const std::string m_path = m_folder.File("lock");
};

TEST_F(FileLockTest, OneHolderKeepsTheOtherOutUntilItEnds)
{
    Base::FileLock second(m_path);
    {
        Base::FileLock first(m_path);
        EXPECT_TRUE(first.TryLock());
        EXPECT_TRUE(first.TryLock()) << "it has it";
        EXPECT_FALSE(second.TryLock());
    }
    EXPECT_TRUE(second.TryLock());
    struct stat status = {};
    ASSERT_EQ(0, ::stat(m_path.c_str(), &status)) << "it is never removed";
    EXPECT_EQ(0600U, status.st_mode & 07777U);
}

TEST_F(FileLockTest, WaitEndsWithItsLimit)
{
    Base::FileLock first(m_path);
    Base::FileLock second(m_path);
    ASSERT_TRUE(first.TryLock());
    const auto began = std::chrono::steady_clock::now();
    EXPECT_FALSE(second.LockWithin(milliseconds(20)));
    EXPECT_GE(std::chrono::steady_clock::now() - began, milliseconds(20));
    EXPECT_FALSE(second.LockWithin(milliseconds(0)));
}

TEST_F(FileLockTest, WaitEndsWhenTheHolderDoes)
{
    auto first = std::make_unique<Base::FileLock>(m_path);
    Base::FileLock second(m_path);
    ASSERT_TRUE(first->TryLock());
    bool isHeld = false;
    std::thread waiter([&] { isHeld = second.LockWithin(std::chrono::minutes(1)); });
    first.reset();
    waiter.join();
    EXPECT_TRUE(isHeld);
}

TEST_F(FileLockTest, WaitWithoutALimitEndsWhenTheHolderDoes)
{
    auto first = std::make_unique<Base::FileLock>(m_path);
    Base::FileLock second(m_path);
    ASSERT_TRUE(first->TryLock());
    std::atomic<bool> isHeld = false;
    std::thread waiter([&] {
        second.Lock();
        isHeld = true;
    });
    EXPECT_FALSE(isHeld);
    first.reset();
    waiter.join();
    EXPECT_TRUE(isHeld);
    EXPECT_FALSE(Base::FileLock(m_path).TryLock());
}

TEST_F(FileLockTest, LockEndsWithItsObjectAlsoWhileAForkedProcessLives)
{
    std::array<int, 2> pipe = {-1, -1};
    ASSERT_EQ(0, ::pipe2(pipe.data(), O_CLOEXEC));
    auto lock = std::make_unique<Base::FileLock>(m_path);
    ASSERT_TRUE(lock->TryLock());
    const pid_t child = ::fork();
    if (child == 0) { // has the file open as well, until it is told to end
        ::close(pipe[1]);
        char byte = 0;
        ::_exit(::read(pipe[0], &byte, 1) == 0 ? 0 : 1);
    }
    lock.reset();
    Base::FileLock other(m_path);
    EXPECT_TRUE(other.TryLock());
    ::close(pipe[0]);
    ::close(pipe[1]);
    int status = -1;
    EXPECT_EQ(child, ::waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
}

TEST_F(FileLockTest, FileThatCannotBeOneIsNamed)
{
    EXPECT_THAT(ErrorOf(m_folder.File("none/lock")), HasSubstr("cannot open the lock file"));
    EXPECT_THAT(ErrorOf(m_folder.File("none/lock")), HasSubstr("none/lock"));
    m_folder.Write("target", "somebody's");
    fs::create_symlink("target", m_path);
    EXPECT_THAT(ErrorOf(m_path), HasSubstr("Too many levels of symbolic links"));
    EXPECT_EQ("somebody's", m_folder.Read("target"));
}

} // namespace
