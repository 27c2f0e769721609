#include "disklib/qen_thread.h"
#include "tests/fakes/fakes.h"
#include "tests/unit/system_calls.h"

#include <boost/make_shared.hpp>
#include <boost/thread/exceptions.hpp>
#include <boost/thread/latch.hpp>
#include <boost/thread/lock_guard.hpp>

#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <thread>

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsNull;
using ::testing::NotNull;
using ::testing::StartsWith;

namespace {

/// The steps by which an owner stops a thread.
void TellToStop(QenThread& thread)
{
    {
        const boost::lock_guard<boost::mutex> guard(thread.message_loop->lock);
        thread.message_loop->keep_running = false;
    }
    thread.message_loop->WakeUp();
}

void Stop(QenThread& thread)
{
    TellToStop(thread);
    thread.thread->join();
    thread.message_loop.reset();
    thread.thread.reset();
}

/// Posts `task` and waits until it has run.
void RunOn(QenThread& thread, const boost::function<void()>& task)
{
    boost::latch done(1);
    thread.message_loop->PostDelayedTask(
        [&] {
            task();
            done.count_down();
        },
        0);
    done.wait();
}

class QenThreadTest : public FakesTest {
protected:
    SystemCalls m_calls;
    QenThread m_thread;
};

TEST_F(QenThreadTest, NewThreadHasNeitherThreadNorLoop)
{
    EXPECT_THAT(m_thread.thread, IsNull());
    EXPECT_THAT(m_thread.message_loop, IsNull());
}

TEST_F(QenThreadTest, StartMakesLoopDescriptorsAndThreadThatRunsTasks)
{
    ASSERT_TRUE(m_thread.Start());
    ASSERT_THAT(m_thread.thread, NotNull());
    ASSERT_THAT(m_thread.message_loop, NotNull());
    EXPECT_GE(m_thread.message_loop->wakeup_read_fd, 0);
    EXPECT_EQ(1, m_calls.Count("epoll_create"));
    EXPECT_EQ(1, m_calls.Count("pthread_create"));

    boost::thread::id runner;
    RunOn(m_thread, [&] { runner = boost::this_thread::get_id(); });
    EXPECT_EQ(m_thread.thread->get_id(), runner);
    EXPECT_NE(boost::this_thread::get_id(), runner);
    Stop(m_thread);
}

TEST_F(QenThreadTest, StartReturnsWhenTheLoopRuns)
{
    ASSERT_TRUE(m_thread.Start());
    EXPECT_NE(0, m_thread.message_loop->recent_time); // set by Run
    Stop(m_thread);
}

TEST_F(QenThreadTest, StartIsNotDisturbedBySignalHandlers)
{
    m_calls.Fail("sem_wait", EINTR);
    m_calls.Fail("sem_wait", EINTR, 1);
    ASSERT_TRUE(m_thread.Start());
    EXPECT_EQ(3, m_calls.Count("sem_wait"));
    Stop(m_thread);
}

TEST_F(QenThreadTest, ThreadSleepsUntilItsTaskIsDue)
{
    ASSERT_TRUE(m_thread.Start());
    boost::latch done(1);
    std::vector<std::string> ran;
    m_thread.message_loop->PostDelayedTask([&] { ran.emplace_back("early"); }, 10);
    m_thread.message_loop->PostDelayedTask(
        [&] {
            ran.emplace_back("late");
            done.count_down();
        },
        20);
    m_calls.AwaitSleep();
    EXPECT_THAT(ran, IsEmpty());
    m_calls.PassTime(boost::chrono::milliseconds(11));
    m_calls.AwaitSleep();
    EXPECT_THAT(ran, ElementsAre("early"));
    m_calls.PassTime(boost::chrono::milliseconds(10));
    done.wait();
    EXPECT_THAT(ran, ElementsAre("early", "late"));
    Stop(m_thread);
}

TEST_F(QenThreadTest, StopDestroysTheTasksThatAreLeftWithoutRunningThem)
{
    const auto token = boost::make_shared<int>(0);
    bool hasRun = false;
    ASSERT_TRUE(m_thread.Start());
    m_thread.message_loop->PostDelayedTask([token, &hasRun] { hasRun = true; }, 1000);
    m_calls.AwaitSleep();
    Stop(m_thread);
    EXPECT_FALSE(hasRun);
    EXPECT_EQ(1, token.use_count());
}

TEST_F(QenThreadTest, StopLetsTheRunningTaskFinish)
{
    ASSERT_TRUE(m_thread.Start());
    boost::latch begun(1);
    boost::latch told(1);
    bool hasFinished = false;
    m_thread.message_loop->PostDelayedTask(
        [&] {
            begun.count_down();
            told.wait();
            hasFinished = true;
        },
        0);
    begun.wait();
    TellToStop(m_thread);
    told.count_down();
    m_thread.thread->join();
    EXPECT_TRUE(hasFinished);
}

TEST_F(QenThreadTest, StopFromATaskThrowsAfterTheLoopWasToldToLeave)
{
    ASSERT_TRUE(m_thread.Start());
    boost::latch done(1);
    std::string text;
    int code = 0;
    bool mayRun = true;
    m_thread.message_loop->PostDelayedTask(
        [&] {
            TellToStop(m_thread);
            try {
                m_thread.thread->join();
            } catch (const boost::thread_resource_error& error) {
                text = error.what();
                code = error.native_error();
            }
            mayRun = m_thread.message_loop->keep_running;
            done.count_down();
        },
        0);
    done.wait();
    m_thread.thread->join();
    EXPECT_THAT(text, StartsWith("boost thread: trying joining itself"));
    EXPECT_EQ(EDEADLK, code);
    EXPECT_FALSE(mayRun);
}

TEST_F(QenThreadTest, StartReplacesWhatAFinishedThreadHasLeft)
{
    ASSERT_TRUE(m_thread.Start());
    const std::string close = "close(" + std::to_string(m_thread.message_loop->epoll_fd) + ")";
    TellToStop(m_thread);
    m_thread.thread->join(); // finished, but neither thread nor loop is destroyed

    const std::size_t before = m_calls.Calls().size();
    ASSERT_TRUE(m_thread.Start());
    // The old loop is gone before the new one takes descriptors.
    const std::vector<std::string> calls = m_calls.Calls();
    const auto next = calls.begin() + static_cast<std::ptrdiff_t>(before);
    const auto closed = std::find(next, calls.end(), close);
    ASSERT_NE(calls.end(), closed);
    EXPECT_LT(closed, std::find(next, calls.end(), "epoll_create(256)"));
    bool hasRun = false;
    RunOn(m_thread, [&] { hasRun = true; });
    EXPECT_TRUE(hasRun);
    Stop(m_thread);
}

TEST_F(QenThreadTest, StartWithoutAnEpollInstanceStillRunsTasks)
{
    m_calls.Fail("epoll_create", EMFILE);
    ASSERT_TRUE(m_thread.Start());
    EXPECT_EQ(-1, m_thread.message_loop->epoll_fd);
    bool hasRun = false;
    RunOn(m_thread, [&] { hasRun = true; });
    EXPECT_TRUE(hasRun);
    Stop(m_thread);
}

// ---- when the thread cannot be made

TEST_F(QenThreadTest, StartFailsCleanlyAtEachMutexThatCannotBeMade)
{
    ASSERT_TRUE(m_thread.Start());
    Stop(m_thread);
    const int mutexes = m_calls.Count("pthread_mutex_init");
    ASSERT_GE(mutexes, 2); // the loop's and the thread's own

    for (int others = 0; others < mutexes; ++others) {
        SCOPED_TRACE("mutex " + std::to_string(others + 1));
        m_calls.Fail("pthread_mutex_init", EAGAIN, others);
        EXPECT_FALSE(m_thread.Start());
        EXPECT_THAT(m_thread.thread, IsNull());
        EXPECT_THAT(m_thread.message_loop, IsNull());
    }
    EXPECT_EQ(1, m_calls.Count("pthread_create"));
    EXPECT_TRUE(m_thread.Start());
    Stop(m_thread);
}

TEST_F(QenThreadTest, StartFailsCleanlyWhenTheThreadCannotBeMade)
{
    m_calls.Fail("pthread_create", EAGAIN);
    EXPECT_FALSE(m_thread.Start());
    EXPECT_THAT(m_thread.thread, IsNull());
    EXPECT_THAT(m_thread.message_loop, IsNull());
    EXPECT_EQ(3, m_calls.Count("close")); // the descriptors of the loop
}

TEST_F(QenThreadTest, FailedStartDestroysWhatAFinishedThreadHasLeft)
{
    ASSERT_TRUE(m_thread.Start());
    TellToStop(m_thread);
    m_thread.thread->join();
    m_calls.Fail("pthread_mutex_init", EAGAIN);
    EXPECT_FALSE(m_thread.Start());
    EXPECT_THAT(m_thread.thread, IsNull());
    EXPECT_THAT(m_thread.message_loop, IsNull());
}

// ---- many threads at once, on the real clock: the tasks are due at once

class QenThreadRaceTest : public FakesTest {};

TEST_F(QenThreadRaceTest, EveryTaskOfEveryPosterRunsOnceAndInItsPostersOrder)
{
    constexpr std::size_t POSTERS = 4;
    constexpr int TASKS = 500;
    QenThread thread;
    ASSERT_TRUE(thread.Start());
    std::vector<std::vector<int>> ran(POSTERS);
    boost::latch done(POSTERS * TASKS);
    std::vector<std::thread> posters;
    for (std::size_t poster = 0; poster < POSTERS; ++poster) {
        posters.emplace_back([&, poster] {
            for (int task = 0; task < TASKS; ++task) {
                thread.message_loop->PostDelayedTask(
                    [&, poster, task] {
                        ran[poster].push_back(task);
                        done.count_down();
                    },
                    0);
            }
        });
    }
    for (std::thread& poster : posters) {
        poster.join();
    }
    done.wait();
    Stop(thread);
    for (const std::vector<int>& tasks : ran) {
        ASSERT_EQ(static_cast<std::size_t>(TASKS), tasks.size());
        EXPECT_TRUE(std::is_sorted(tasks.begin(), tasks.end()));
    }
}

TEST_F(QenThreadRaceTest, StopRightAfterStartIsNeverLost)
{
    for (int round = 0; round < 300; ++round) {
        QenThread thread;
        ASSERT_TRUE(thread.Start());
        Stop(thread); // would not come back if the beginning of Run overran it
    }
}

// ---- what ends the process

class QenThreadDeathTest : public ::testing::Test {
protected:
    QenThreadDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(QenThreadDeathTest, StartWhileTheThreadRunsTerminatesTheProcess)
{
    EXPECT_EXIT(
        {
            QenThread thread;
            thread.Start();
            thread.Start();
        },
        ::testing::KilledBySignal(SIGABRT), "terminate called without an active exception");
}

TEST_F(QenThreadDeathTest, TaskThatThrowsTerminatesTheProcess)
{
    EXPECT_EXIT(
        {
            QenThread thread;
            thread.Start();
            thread.message_loop->PostDelayedTask([] { throw std::runtime_error("of the task"); }, 0);
            thread.thread->join();
            std::exit(0);
        },
        ::testing::KilledBySignal(SIGABRT), "of the task");
}

} // namespace
