#include "tests/unit/keeper_test.h"

#include <boost/make_shared.hpp>
#include <boost/thread/exceptions.hpp>
#include <boost/thread/latch.hpp>
#include <boost/thread/thread.hpp>
#include <boost/weak_ptr.hpp>

#include <poll.h>

#include <cerrno>
#include <cstdlib>
#include <functional>
#include <future>
#include <optional>
#include <thread>

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace {

using boost::chrono::milliseconds;
using boost::chrono::seconds;

class ZavStorageDiskLibStopTest : public KeeperTest {
protected:
    /// The read end of the pipe of the only loop so far.
    int PipeOfTheLoop() const
    {
        const std::string watch = "EPOLL_CTL_ADD, ";
        for (const std::string& call : m_calls.Calls()) {
            if (const std::size_t position = call.find(watch); position != std::string::npos) {
                return std::stoi(call.substr(position + watch.size()));
            }
        }
        return -1;
    }

    /// Blocks until somebody has written into the pipe of a loop that does not read.
    static void AwaitWakeUp(int readEnd)
    {
        pollfd descriptor = {readEnd, POLLIN, 0};
        poll(&descriptor, 1, -1);
    }

    /// Has the check thread begin its next round and holds it, before it takes the lock, until m_go; then it does
    /// `further` first.
    void HoldCheck(const std::function<void()>& further = [] {})
    {
        m_log.Observe([this, further](const LogLine& line) {
            if (line.text == "start to check expired session.") {
                m_log.Observe(nullptr);
                m_held.count_down();
                m_go.wait();
                further();
            }
        });
        m_calls.AwaitSleep();
        m_calls.PassTime(milliseconds(1001));
        m_held.wait();
    }

    boost::latch m_held{1};
    boost::latch m_go{1};
};

TEST_F(ZavStorageDiskLibStopTest, StopCheckThreadEndsTheChecksAndKeepsTheSessions)
{
    LogInAndRelease(FIRST);
    m_calls.AwaitSleep();
    m_log.Clear();
    m_keeper.StopCheckThread();
    EXPECT_THAT(m_log.Lines(), ElementsAre(IsLineOf("StopCheckThread", 1, "Enter StopCheckThread"),
                                           IsLineOf("StopCheckThread", 1, "End StopCheckThread")));
    m_calls.PassTime(seconds(10));
    EXPECT_EQ(0, Checks());
    m_http.Clear();
    EXPECT_EQ(0, m_keeper.GetLoginedZavRestApi(Device(FIRST), m_api, m_errorText)); // from the cache
    EXPECT_THAT(m_http.Requests(), IsEmpty());
}

TEST_F(ZavStorageDiskLibStopTest, NextLoginAfterAStopStartsANewThread)
{
    LogInAndRelease(FIRST);
    m_keeper.StopCheckThread();
    m_keeper.GetLoginedZavRestApi(Device(FIRST), m_api, m_errorText);
    EXPECT_EQ(2, m_calls.Count("pthread_create"));
    LetTimePass(milliseconds(1001));
    EXPECT_EQ(1, Checks());
}

TEST_F(ZavStorageDiskLibStopTest, StopCheckThreadFreesTheLoopsDescriptors)
{
    LogInAndRelease(FIRST);
    m_keeper.StopCheckThread();
    EXPECT_EQ(3, m_calls.Count("close"));
}

TEST_F(ZavStorageDiskLibStopTest, StopCheckThreadWithoutAThreadDoesNothing)
{
    m_keeper.StopCheckThread();
    m_keeper.StopCheckThread();
    EXPECT_THAT(m_log.Told(), IsEmpty());
}

TEST_F(ZavStorageDiskLibStopTest, StopRightAfterStartIsNeverLost)
{
    AcceptLogin(FIRST);
    for (int round = 0; round < 300; ++round) {
        ASSERT_EQ(0, m_keeper.GetLoginedZavRestApi(Device(FIRST), m_api, m_errorText));
        m_keeper.StopCheckThread(); // would not come back
    }
    EXPECT_EQ(300, m_calls.Count("pthread_create"));
    EXPECT_EQ(0, Checks());
}

TEST_F(ZavStorageDiskLibStopTest, StopWaitsForACheckThatWaitsForTheLock)
{
    LogInAndRelease(FIRST);
    HoldCheck();

    const int pipe = PipeOfTheLoop();
    std::thread stopper([this] { m_keeper.StopCheckThread(); });
    AwaitWakeUp(pipe);
    m_go.count_down();
    stopper.join(); // would not come back if the stop kept the lock
    EXPECT_EQ(1, Checks());
    EXPECT_THAT(m_log.Lines(), Contains(IsLine(1, "End StopCheckThread")));
}

TEST_F(ZavStorageDiskLibStopTest, CheckThatAStopAndANewStartOvertookBeginsNoSecondSeries)
{
    LogInAndRelease(FIRST);
    HoldCheck();

    const int pipe = PipeOfTheLoop();
    std::thread stopper([this] { m_keeper.StopCheckThread(); });
    AwaitWakeUp(pipe);
    // Waits for the stop to let go of the lock, and starts the next thread.
    const int threads = m_calls.Count("pthread_create");
    EXPECT_EQ(0, m_keeper.GetLoginedZavRestApi(Device(FIRST), m_api, m_errorText));
    EXPECT_EQ(threads + 1, m_calls.Count("pthread_create"));
    m_go.count_down();
    stopper.join();
    EXPECT_EQ(1, Checks());
    LetTimePass(milliseconds(1001));
    EXPECT_EQ(2, Checks());
}

TEST_F(ZavStorageDiskLibStopTest, LaterStopReturnsWhenTheThreadThatAnotherStopsHasEnded)
{
    LogInAndRelease(FIRST);
    HoldCheck();

    const int pipe = PipeOfTheLoop();
    std::thread first([this] { m_keeper.StopCheckThread(); });
    AwaitWakeUp(pipe);
    int descriptorsClosed = 0;
    std::thread second([&] {
        m_keeper.StopCheckThread();
        descriptorsClosed = m_calls.Count("close"); // the loop's, which the first stop frees behind the join
    });
    m_log.Await("Enter StopCheckThread", 2);
    m_go.count_down();
    second.join();
    EXPECT_EQ(3, descriptorsClosed);
    first.join();
}

TEST_F(ZavStorageDiskLibStopTest, DestructionWaitsForTheThreadThatAnotherStops)
{
    auto keeper = std::make_optional<Keeper>();
    AcceptLogin(FIRST);
    ASSERT_EQ(0, keeper->GetLoginedZavRestApi(Device(FIRST), m_api, m_errorText));
    m_api.reset();
    HoldCheck();

    const int pipe = PipeOfTheLoop();
    std::thread stopper([&keeper] { keeper->StopCheckThread(); });
    AwaitWakeUp(pipe);
    m_log.Await("Enter StopCheckThread"); // orders the stopper's call before the destruction
    int descriptorsClosed = 0;
    std::thread destroyer([&] {
        keeper.reset();
        descriptorsClosed = m_calls.Count("close");
    });
    m_log.Await("Enter StopCheckThread", 2);
    m_go.count_down();
    destroyer.join();
    EXPECT_EQ(3, descriptorsClosed);
    stopper.join();
}

TEST_F(ZavStorageDiskLibStopTest, StopOnACheckThreadThatAnotherJoinsReturnsAtOnce)
{
    LogInAndRelease(FIRST);
    HoldCheck([this] { m_keeper.StopCheckThread(); }); // would wait for itself

    const int pipe = PipeOfTheLoop();
    std::thread stopper([this] { m_keeper.StopCheckThread(); });
    AwaitWakeUp(pipe);
    m_keeper.DoCheck(); // comes to the lock when the stop has let go of it
    m_go.count_down();
    stopper.join();
    EXPECT_THAT(m_log.Lines(), Contains(IsLine(1, "End StopCheckThread")).Times(2));
}

TEST_F(ZavStorageDiskLibStopTest, StopOnTheCheckThreadThrowsAndEndsTheChecksAfterTheRound)
{
    LogInAndRelease(FIRST, "DEV1");
    LogInAndRelease(SECOND, "DEV2");
    std::string text;
    int code = 0;
    boost::latch tried(1);
    m_http.Always("DELETE", "/sessions", NoData());
    m_http.Observe([&](const TMSHttpRequest& request) {
        if (request.url.find(UrlOf(FIRST)) != 0) {
            return;
        }
        try {
            m_keeper.StopCheckThread(); // on the check thread, in the middle of its round
        } catch (const boost::thread_resource_error& error) {
            text = error.what();
            code = error.native_error();
        }
        tried.count_down();
    });
    m_calls.AwaitSleep();
    m_calls.PassTime(seconds(6));
    tried.wait();
    m_http.Observe(nullptr);
    EXPECT_THAT(text, StartsWith("boost thread: trying joining itself"));
    EXPECT_EQ(EDEADLK, code);

    LogInAndRelease(THIRD, "DEV3"); // waits for the round
    EXPECT_THAT(m_http.Lines(), Contains(LogoutLine(SECOND, "DEV2")));
    EXPECT_EQ(1, m_calls.Count("pthread_create")); // the thread counts as there until another thread stops it
    m_keeper.StopCheckThread();
    EXPECT_EQ(1, Checks());
    LogInAndRelease(FIRST, "DEV1");
    EXPECT_EQ(2, m_calls.Count("pthread_create"));
}

TEST_F(ZavStorageDiskLibStopTest, StopIsFinishedEvenOnAnInterruptedThread)
{
    LogInAndRelease(FIRST);
    HoldCheck();

    const int pipe = PipeOfTheLoop();
    std::promise<void> interrupted;
    bool isStopped = false;
    boost::thread stopper([&] {
        interrupted.get_future().wait();
        m_keeper.StopCheckThread();
        isStopped = true;
    });
    stopper.interrupt();
    interrupted.set_value();
    AwaitWakeUp(pipe);
    m_go.count_down();
    stopper.join();
    EXPECT_TRUE(isStopped);
}

// ---- destruction

TEST_F(ZavStorageDiskLibStopTest, DestructionStopsTheThreadAndReleasesSessionsWithoutLogout)
{
    auto keeper = std::make_optional<Keeper>();
    AcceptLogin(FIRST);
    ASSERT_EQ(0, keeper->GetLoginedZavRestApi(Device(FIRST), m_api, m_errorText));
    const boost::weak_ptr<ZavRestApi> session = m_api;
    m_api.reset();
    ASSERT_FALSE(session.expired());
    m_http.Clear();
    m_log.Clear();
    keeper.reset();
    EXPECT_TRUE(session.expired());
    EXPECT_THAT(m_http.Requests(), IsEmpty());
    EXPECT_THAT(m_log.Lines(), ElementsAre(IsLine(1, "Enter StopCheckThread"), IsLine(1, "End StopCheckThread")));
}

TEST_F(ZavStorageDiskLibStopTest, SessionThatACallerHoldsOutlivesTheKeeper)
{
    auto keeper = std::make_optional<Keeper>();
    AcceptLogin(FIRST);
    ASSERT_EQ(0, keeper->GetLoginedZavRestApi(Device(FIRST), m_api, m_errorText));
    keeper.reset();
    Zav::SessionInfo session;
    EXPECT_TRUE(m_api->GetSession(session));
}

class ZavStorageDiskLibDeathTest : public KeeperTest {
protected:
    ZavStorageDiskLibDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(ZavStorageDiskLibDeathTest, ProcessEndsCleanlyWhileTheCheckThreadRuns)
{
    EXPECT_EXIT(
        {
            AcceptLogin(FIRST);
            const int code = ZavStorageDiskLib::GetInstance()->GetLoginedZavRestApi(Device(FIRST), m_api, m_errorText);
            std::exit(code == 0 && m_calls.Count("pthread_create") == 1 ? 17 : 1);
        },
        ::testing::ExitedWithCode(17), "");
}

// ---- many callers at once

TEST_F(ZavStorageDiskLibStopTest, CallersOfOneUrlShareOneLogin)
{
    constexpr int CALLERS = 8;
    AcceptLogin(FIRST); // once
    m_http.Observe([this](const TMSHttpRequest&) {
        m_log.Await("Enter GetLoginedZavRestApi", CALLERS); // the login lasts until all have asked
    });
    std::vector<boost::shared_ptr<ZavRestApi>> sessions(CALLERS);
    std::vector<std::thread> callers;
    for (boost::shared_ptr<ZavRestApi>& session : sessions) {
        callers.emplace_back([&] {
            std::string errorText;
            EXPECT_EQ(0, m_keeper.GetLoginedZavRestApi(Device(FIRST), session, errorText));
        });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
    EXPECT_THAT(m_http.Lines(), ElementsAre(LoginLine(FIRST)));
    EXPECT_THAT(sessions, Each(sessions.front()));
    EXPECT_EQ(1 + CALLERS, m_calls.Count("pthread_create"));
}

TEST_F(ZavStorageDiskLibStopTest, LoginsChecksAndStopsOfManyThreadsDisturbNobody)
{
    constexpr int ROUNDS = 100;
    m_http.Always("POST", "/sessions", Data(R"({"deviceid": "DEV1", "iBaseToken": "TOK1"})").WithCookie("session=c1"));
    m_http.Always("DELETE", "/sessions", NoData());
    std::vector<std::thread> threads;
    for (const char* const address : {FIRST, SECOND, THIRD}) {
        threads.emplace_back([this, address] {
            for (int round = 0; round < ROUNDS; ++round) {
                boost::shared_ptr<ZavRestApi> api;
                std::string errorText;
                EXPECT_EQ(0, m_keeper.GetLoginedZavRestApi(Device(address), api, errorText));
                Zav::SessionInfo session;
                EXPECT_TRUE(api->GetSession(session)); // nobody logs out what is held
            }
        });
    }
    threads.emplace_back([this] {
        for (int round = 0; round < ROUNDS; ++round) {
            m_calls.PassTime(seconds(6)); // every check expires what nobody holds
        }
    });
    threads.emplace_back([this] {
        for (int round = 0; round < ROUNDS; ++round) {
            m_keeper.StopCheckThread();
        }
    });
    threads.emplace_back([this] {
        for (int round = 0; round < ROUNDS; ++round) {
            m_keeper.DoCheck();
        }
    });
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace
