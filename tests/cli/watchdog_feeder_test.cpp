#include "cli/watch/watchdog_feeder.h"

#include "cli/console/report.h"
#include "tests/support/files.h"
#include "tests/support/notify_socket.h"

#include <gmock/gmock.h>

#include <cstdlib>

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

/// A process whose service manager wants to hear of it every two milliseconds.
class WatchdogFeederTest : public ::testing::Test {
protected:
    WatchdogFeederTest()
    {
        setenv("NOTIFY_SOCKET", m_socket.Address().c_str(), 1);
        setenv("WATCHDOG_USEC", "2000", 1);
    }

    ~WatchdogFeederTest() override
    {
        unsetenv("NOTIFY_SOCKET");
        unsetenv("WATCHDOG_USEC");
    }

    /// Lets as much time pass as another feeder takes to feed five times.
    void LetIntervalsPass() const
    {
        const NotifySocket socket(m_folder.File("another"));
        setenv("NOTIFY_SOCKET", socket.Address().c_str(), 1);
        const Base::ServiceManager manager;
        WatchdogFeeder feeder(manager);
        feeder.Promise(std::chrono::hours(1), "a pause");
        for (int i = 0; i < 5; ++i) {
            EXPECT_EQ("WATCHDOG=1", socket.Receive());
        }
    }

    const TemporaryFolder m_folder;
    const NotifySocket m_socket{m_folder.File("notify")};
};

TEST_F(WatchdogFeederTest, WorkThatKeepsItsPromiseIsToldAgainAndAgain)
{
    const Base::ServiceManager manager;
    WatchdogFeeder feeder(manager);
    feeder.Promise(std::chrono::hours(1), "a pause");
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ("WATCHDOG=1", m_socket.Receive());
    }
}

TEST_F(WatchdogFeederTest, NothingIsToldBeforeAnythingIsPromised)
{
    const Base::ServiceManager manager;
    {
        const WatchdogFeeder feeder(manager);
        LetIntervalsPass();
    }
    manager.Tell("END");
    EXPECT_EQ("END", m_socket.Receive());
}

TEST_F(WatchdogFeederTest, WorkThatHangsIsToldOnceAndFedNoMore)
{
    const Base::ServiceManager manager;
    ::testing::internal::CaptureStderr();
    {
        WatchdogFeeder feeder(manager);
        feeder.Promise(std::chrono::milliseconds(0), "a round");
        EXPECT_THAT(m_socket.Receive(), StartsWith("STATUS=this watch hangs: a round takes longer than it may"));
        LetIntervalsPass();
    }
    manager.Tell("END");
    EXPECT_EQ("END", m_socket.Receive());
    EXPECT_THAT(::testing::internal::GetCapturedStderr(), HasSubstr("warning: this watch hangs: a round"));
}

TEST_F(WatchdogFeederTest, StepThatNamesTextOfOthersIsOneLineOfTheStatus)
{
    const Base::ServiceManager manager;
    ::testing::internal::CaptureStderr();
    Report::Step("asking an array that calls itself a\nWATCHDOG=1");
    WatchdogFeeder feeder(manager);
    feeder.Promise(std::chrono::milliseconds(0), "a round");
    EXPECT_THAT(m_socket.Receive(), EndsWith("calls itself a\\x0aWATCHDOG=1"));
    ::testing::internal::GetCapturedStderr();
}

TEST_F(WatchdogFeederTest, WorkThatGoesOnIsFedAgain)
{
    const Base::ServiceManager manager;
    ::testing::internal::CaptureStderr();
    WatchdogFeeder feeder(manager);
    feeder.Promise(std::chrono::milliseconds(0), "a round");
    EXPECT_THAT(m_socket.Receive(), StartsWith("STATUS="));
    feeder.Promise(std::chrono::hours(1), "a pause");
    EXPECT_EQ("WATCHDOG=1", m_socket.Receive());
    ::testing::internal::GetCapturedStderr();
}

} // namespace
