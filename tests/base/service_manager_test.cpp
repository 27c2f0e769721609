#include "base/service_manager.h"

#include "base/descriptor.h"
#include "tests/support/files.h"
#include "tests/support/notify_socket.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

using Base::ServiceManager;

namespace {

/// A process that a service manager started, or none.
class ServiceManagerTest : public ::testing::Test {
protected:
    ~ServiceManagerTest() override
    {
        for (const char* const name : {"NOTIFY_SOCKET", "WATCHDOG_USEC", "WATCHDOG_PID", "JOURNAL_STREAM"}) {
            unsetenv(name);
        }
    }

    static void Set(const char* name, const std::string& value) { setenv(name, value.c_str(), 1); }
};

TEST_F(ServiceManagerTest, WithoutOneNothingIsSent)
{
    const ServiceManager manager;
    EXPECT_FALSE(manager.IsThere());
    EXPECT_FALSE(manager.WatchdogLimit());
    manager.Tell("READY=1");
}

TEST_F(ServiceManagerTest, EachMessageIsADatagramToThePath)
{
    const TemporaryFolder folder;
    const NotifySocket socket(folder.File("notify"));
    Set("NOTIFY_SOCKET", socket.Address());
    const ServiceManager manager;
    EXPECT_TRUE(manager.IsThere());
    manager.Tell("READY=1\nSTATUS=well");
    manager.Tell("STOPPING=1");
    EXPECT_EQ("READY=1\nSTATUS=well", socket.Receive());
    EXPECT_EQ("STOPPING=1", socket.Receive());
}

TEST_F(ServiceManagerTest, AbstractNamesAreServedToo)
{
    const NotifySocket socket("@product-storage-test-" + std::to_string(getpid()));
    Set("NOTIFY_SOCKET", socket.Address());
    ServiceManager().Tell("READY=1");
    EXPECT_EQ("READY=1", socket.Receive());
}

TEST_F(ServiceManagerTest, SocketThatNobodyReadsKeepsNobodyWaiting)
{
    const TemporaryFolder folder;
    Set("NOTIFY_SOCKET", folder.File("gone"));
    ServiceManager().Tell("READY=1");
    const NotifySocket socket(folder.File("notify"));
    Set("NOTIFY_SOCKET", socket.Address());
    const ServiceManager manager;
    for (int i = 0; i < 10000; ++i) { // more than it holds
        manager.Tell("WATCHDOG=1");
    }
    EXPECT_EQ("WATCHDOG=1", socket.Receive());
}

TEST_F(ServiceManagerTest, AddressesOfOtherKindsAreNone)
{
    for (const std::string& address :
         {std::string("vsock:2:1234"), std::string("notify"), std::string(""), "/" + std::string(200, 'n')}) {
        Set("NOTIFY_SOCKET", address);
        EXPECT_FALSE(ServiceManager().IsThere()) << address;
    }
}

TEST_F(ServiceManagerTest, WatchdogIsForTheProcessThatItNames)
{
    const auto limit = [](const std::string& microseconds, const std::string& process) {
        Set("WATCHDOG_USEC", microseconds);
        Set("WATCHDOG_PID", process);
        return ServiceManager().WatchdogLimit();
    };
    Set("NOTIFY_SOCKET", "/notify");
    const std::string self = std::to_string(getpid());
    EXPECT_EQ(std::chrono::seconds(30), limit("30000000", self));
    EXPECT_EQ(std::chrono::seconds(30), limit("30000000", ""));
    EXPECT_FALSE(limit("30000000", "1"));
    for (const std::string text : {"", "0", "-1", "soon", "30s", "99999999999999999999"}) {
        EXPECT_FALSE(limit(text, self)) << text;
    }
}

TEST_F(ServiceManagerTest, JournalIsWhereItsStreamLeads)
{
    const TemporaryFolder folder;
    folder.Write("log", "");
    folder.Write("other", "");
    const Base::Descriptor log(::open(folder.File("log").c_str(), O_RDONLY | O_CLOEXEC));
    const Base::Descriptor other(::open(folder.File("other").c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_FALSE(Base::IsJournal(log.Get())) << "no variable";
    struct stat file = {};
    ASSERT_EQ(0, ::fstat(log.Get(), &file));
    Set("JOURNAL_STREAM", std::to_string(file.st_dev) + ":" + std::to_string(file.st_ino));
    EXPECT_TRUE(Base::IsJournal(log.Get()));
    EXPECT_FALSE(Base::IsJournal(other.Get()));
    EXPECT_FALSE(Base::IsJournal(-1));
    for (const std::string text : {"", ":", "8", "x:y"}) {
        Set("JOURNAL_STREAM", text);
        EXPECT_FALSE(Base::IsJournal(log.Get())) << text;
    }
}

} // namespace
