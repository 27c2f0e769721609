#include "tests/unit/disklib/loop_test.h"

#include <boost/make_shared.hpp>

#include <sys/epoll.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <stdexcept>

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

// ---- how a run begins

class MessageLoopRunTest : public LoopTest {
protected:
    MessageLoopRunTest() { m_loop.OpenDescriptors(); }
};

TEST_F(MessageLoopRunTest, RunWatchesTheReadEndMayRunAndReadsTheClock)
{
    Stop();
    m_calls.OnWait([this](int) {
        EXPECT_TRUE(m_loop.keep_running);
        EXPECT_EQ(Now(), m_loop.recent_time);
        Stop();
    });
    m_loop.Run();
    EXPECT_THAT(m_calls.Calls(),
                Contains("epoll_ctl(" + std::to_string(m_loop.epoll_fd) + ", EPOLL_CTL_ADD, " +
                         std::to_string(m_loop.wakeup_read_fd) + ", " + std::to_string(EPOLLIN) + ")"));
    EXPECT_THAT(m_calls.Calls(), Contains("epoll_wait(" + std::to_string(m_loop.epoll_fd) + ", 20, -1)"));
    EXPECT_EQ(1, m_calls.ClockReads());
}

TEST_F(MessageLoopRunTest, RunGoesOnWhenItCannotWatchThePipe)
{
    m_calls.Fail("epoll_ctl", EPERM);
    m_loop.PostDelayedTask(Says("task"), 3);
    RunUntilIdle();
    EXPECT_THAT(m_ran, ElementsAre("task"));
}

// ---- how long it sleeps

struct SleepRow {
    const char* name;
    std::int64_t nanoseconds; // from now until the task is due
    int milliseconds;
};

class MessageLoopSleepTest : public LoopTest, public ::testing::WithParamInterface<SleepRow> {};

TEST_P(MessageLoopSleepTest, RunSleepsUntilTheFirstTaskIsDueRoundedUpToNeverWakeEarly)
{
    m_loop.OpenDescriptors();
    Queue(Says("task"), Now() + GetParam().nanoseconds);
    RunUntilSleep();
    EXPECT_THAT(m_calls.Waits(), ElementsAre(GetParam().milliseconds));
    EXPECT_THAT(m_ran, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Due, MessageLoopSleepTest,
                         ::testing::Values(SleepRow{"InANanosecond", 1, 1}, SleepRow{"JustBelowOne", 999999, 1},
                                           SleepRow{"InOne", 1000000, 2}, SleepRow{"InOneAndAHalf", 1500000, 2},
                                           SleepRow{"InASecond", 1000000000, 1001},
                                           SleepRow{"InTheFarFuture", INT64_MAX / 2, INT_MAX}),
                         [](const auto& row) { return row.param.name; });

TEST_F(MessageLoopRunTest, RunSleepsForTheEarliestTaskWhateverThePostingOrder)
{
    m_loop.PostDelayedTask(Says("late"), 30);
    m_loop.PostDelayedTask(Says("early"), 10);
    RunUntilSleep();
    EXPECT_THAT(m_calls.Waits(), ElementsAre(11));
}

TEST_F(MessageLoopRunTest, RunWithoutTasksSleepsWithoutLimit)
{
    RunUntilSleep();
    EXPECT_THAT(m_calls.Waits(), ElementsAre(-1));
}

TEST_F(MessageLoopRunTest, RunDoesNotSleepInARoundInWhichItTookATaskWithoutADueTime)
{
    Queue(Says("at once"), 0);
    Queue(Says("later"), Now() + MILLISECOND);
    m_calls.OnWait([this](int) {
        EXPECT_EQ(3, m_calls.ClockReads()); // at the start, and once for each of the two rounds
        Stop();
    });
    m_loop.Run();
    EXPECT_THAT(m_ran, ElementsAre("at once"));
    EXPECT_THAT(m_calls.Waits(), ElementsAre(2));
}

TEST_F(MessageLoopRunTest, RunDoesNotSleepWhenATaskWasPostedMeanwhile)
{
    m_loop.PostDelayedTask(Says("later"), 10);
    // Between taking what was posted and going to sleep, at the reading of the clock.
    m_calls.OnWait([this](int) { Stop(); });
    int reads = 0;
    std::function<void()> step = [&] {
        if (++reads == 2) { // the first is that of the start
            m_loop.PostDelayedTask(Says("meanwhile"), 0);
        } else {
            m_calls.OnClockRead(step);
        }
    };
    m_calls.OnClockRead(step);
    m_loop.Run();
    EXPECT_THAT(m_ran, ElementsAre("meanwhile"));
    EXPECT_THAT(m_calls.Waits(), ElementsAre(11));
}

TEST_F(MessageLoopRunTest, RunLeavesWithoutSleepingWhenItIsStoppedWhileATaskIsPosted)
{
    m_loop.PostDelayedTask(Says("later"), 10);
    int reads = 0;
    std::function<void()> step = [&] {
        if (++reads == 2) {
            m_loop.PostDelayedTask(Says("meanwhile"), 0);
            Stop();
        } else {
            m_calls.OnClockRead(step);
        }
    };
    m_calls.OnClockRead(step);
    m_loop.Run();
    EXPECT_THAT(m_ran, IsEmpty());
    EXPECT_THAT(m_calls.Waits(), IsEmpty());
}

// ---- in which order tasks run

TEST_F(MessageLoopRunTest, RunOrdersTasksByDueTime)
{
    m_loop.PostDelayedTask(Says("third"), 30);
    m_loop.PostDelayedTask(Says("first"), 10);
    m_loop.PostDelayedTask(Says("fourth"), 40);
    m_loop.PostDelayedTask(Says("second"), 20);
    RunUntilIdle();
    EXPECT_THAT(m_ran, ElementsAre("first", "second", "third", "fourth"));
}

TEST_F(MessageLoopRunTest, RunOrdersTasksOfOneDueTimeByPosting)
{
    std::vector<std::string> expected;
    for (int number = 0; number < 20; ++number) {
        expected.push_back(std::to_string(number));
        m_loop.PostDelayedTask(Says(expected.back()), 5);
    }
    RunUntilIdle();
    EXPECT_EQ(expected, m_ran);
}

TEST_F(MessageLoopRunTest, RunNeverRunsATaskBeforeItsTime)
{
    m_loop.PostDelayedTask(Says("task"), 10);
    const std::int64_t due = Now() + 10 * MILLISECOND;
    m_calls.OnWait([&](int milliseconds) {
        if (milliseconds < 0) {
            Stop();
        } else if (m_calls.Waits().size() == 1) {
            m_clock.Advance(boost::chrono::nanoseconds(10 * MILLISECOND - 1)); // woken early
        } else {
            EXPECT_EQ(1, milliseconds);
            EXPECT_THAT(m_ran, IsEmpty());
            EXPECT_EQ(due - 1, Now());
            m_clock.Advance(boost::chrono::nanoseconds(1)); // to the due time exactly
        }
    });
    m_loop.Run();
    EXPECT_THAT(m_ran, ElementsAre("task"));
    EXPECT_EQ(due, Now());
}

TEST_F(MessageLoopRunTest, RunRunsDueTasksBackToBackOneARound)
{
    Queue(
        [this] {
            m_ran.emplace_back("first");
            Queue(Says("earlier than the second"), Now() - 2);
        },
        Now() - 3);
    Queue(Says("second"), Now() - 1);
    RunUntilIdle();
    EXPECT_THAT(m_ran, ElementsAre("first", "earlier than the second", "second"));
    EXPECT_THAT(m_calls.Waits(), Each(-1));
}

TEST_F(MessageLoopRunTest, RunReadsTheClockOnlyForATaskThatIsNotDueByTheLastReading)
{
    Queue(Says("due"), Now() - 1);
    Queue(Says("due now"), Now());
    Queue(Says("due soon"), Now() + MILLISECOND);
    std::vector<int> readsAtWait;
    m_calls.OnWait([&](int milliseconds) {
        readsAtWait.push_back(m_calls.ClockReads());
        m_clock.Advance(boost::chrono::milliseconds(milliseconds));
        if (milliseconds < 0) {
            Stop();
        }
    });
    m_loop.Run();
    EXPECT_THAT(m_ran, ElementsAre("due", "due now", "due soon"));
    // 1 at the start; 2 to find that the last is not due yet; 3 to find that it is.
    EXPECT_THAT(readsAtWait, ElementsAre(2, 3));
}

TEST_F(MessageLoopRunTest, RunTakesATaskThatBecameDueSinceTheLastReadingWithoutSleeping)
{
    Queue([this] { m_clock.Advance(boost::chrono::milliseconds(50)); }, Now());
    Queue(Says("due meanwhile"), Now() + 50 * MILLISECOND);
    RunUntilIdle();
    EXPECT_THAT(m_ran, ElementsAre("due meanwhile"));
    EXPECT_THAT(m_calls.Waits(), ElementsAre(-1));
}

TEST_F(MessageLoopRunTest, TaskMayPostAgain)
{
    int times = 0;
    boost::function<void()> task = [&] {
        if (++times < 3) {
            m_loop.PostDelayedTask(task, 1000);
        }
    };
    m_loop.PostDelayedTask(task, 1000);
    RunUntilIdle();
    EXPECT_EQ(3, times);
    EXPECT_THAT(m_calls.Waits(), Contains(1001));
}

TEST_F(MessageLoopRunTest, TasksRunWithoutTheLock)
{
    bool isFree = false;
    m_loop.PostDelayedTask(
        [&] {
            const boost::unique_lock<boost::mutex> guard(m_loop.lock, boost::try_to_lock);
            isFree = guard.owns_lock();
        },
        0);
    RunUntilIdle();
    EXPECT_TRUE(isFree);
}

TEST_F(MessageLoopRunTest, TaskIsDestroyedOnceItHasRun)
{
    const auto token = boost::make_shared<int>(0);
    m_loop.PostDelayedTask([token] {}, 0);
    m_calls.OnWait([&](int) {
        EXPECT_EQ(1, token.use_count());
        Stop();
    });
    m_loop.Run();
}

// ---- how it is woken and stopped

TEST_F(MessageLoopRunTest, WakeUpReadsOneByteAndLeavesTheOthersForLaterRounds)
{
    m_loop.PostDelayedTask(Says("a"), 100);
    m_loop.PostDelayedTask(Says("b"), 100);
    m_loop.PostDelayedTask(Says("c"), 100);
    std::vector<int> bytesAtWait;
    m_calls.OnWait([&](int) {
        bytesAtWait.push_back(WakeUps());
        if (bytesAtWait.size() == 4) {
            Stop();
        }
    });
    m_loop.Run();
    EXPECT_THAT(bytesAtWait, ElementsAre(3, 2, 1, 0));
    EXPECT_THAT(m_ran, IsEmpty());
}

TEST_F(MessageLoopRunTest, PostDuringASleepWithoutLimitEndsItThroughThePipe)
{
    bool hasPosted = false;
    m_calls.OnWait([&](int milliseconds) {
        if (hasPosted) {
            Stop();
            return;
        }
        EXPECT_EQ(-1, milliseconds);
        m_loop.PostDelayedTask(Says("posted"), 0);
        hasPosted = true;
    });
    m_loop.Run();
    EXPECT_THAT(m_ran, ElementsAre("posted"));
    EXPECT_EQ(0, WakeUps());
}

TEST_F(MessageLoopRunTest, SleepThatEndsWithoutAnEventReadsNothing)
{
    m_loop.WakeUp();
    m_calls.Answer("epoll_wait", 0);
    m_calls.Fail("epoll_wait", EINTR, 1);
    std::vector<int> bytesAtWait;
    m_calls.OnWait([&](int) {
        bytesAtWait.push_back(WakeUps());
        if (bytesAtWait.size() == 4) {
            Stop();
        }
    });
    m_loop.Run();
    EXPECT_THAT(bytesAtWait, ElementsAre(1, 1, 1, 0)); // read only when the third told of it
}

TEST_F(MessageLoopRunTest, StopByATaskLeavesAtOnceAndRunsNothingMore)
{
    m_loop.PostDelayedTask(Says("first"), 0);
    m_loop.PostDelayedTask(Stops(), 0);
    m_loop.PostDelayedTask(Says("too late"), 0);
    m_loop.Run();
    EXPECT_THAT(m_ran, ElementsAre("first"));
    EXPECT_THAT(m_calls.Waits(), IsEmpty());
    EXPECT_THAT(m_loop.delayed_work_queue, SizeIs(1));
}

TEST_F(MessageLoopRunTest, StopDuringASleepLeavesAtTheWakeUp)
{
    m_loop.PostDelayedTask(Says("too late"), 10);
    m_calls.OnWait([this](int) {
        Stop();
        m_loop.WakeUp();
    });
    m_loop.Run();
    EXPECT_THAT(m_ran, IsEmpty());
    EXPECT_THAT(m_calls.Waits(), SizeIs(1));
}

TEST_F(MessageLoopRunTest, ThrowingTaskLeavesRunWithItsErrorAndIsGoneFromTheQueue)
{
    m_loop.PostDelayedTask([] { throw std::runtime_error("of the task"); }, 0);
    m_loop.PostDelayedTask(Says("next"), 0);
    try {
        m_loop.Run();
        FAIL() << "the error was lost";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ("of the task", error.what());
    }
    EXPECT_THAT(m_loop.delayed_work_queue, SizeIs(1));
    EXPECT_THAT(m_ran, IsEmpty());
}

TEST_F(MessageLoopRunTest, EmptyTaskLeavesRunWithTheClosureLibrarysError)
{
    m_loop.PostDelayedTask({}, 0);
    EXPECT_THROW(m_loop.Run(), boost::bad_function_call);
}

// ---- when the process is out of descriptors

class MessageLoopWithoutDescriptorsTest : public LoopTest {};

TEST_F(MessageLoopWithoutDescriptorsTest, RunWithoutAPipeWorksByItsTimeouts)
{
    m_calls.Fail("pipe", EMFILE);
    m_loop.OpenDescriptors();
    m_loop.PostDelayedTask(Says("first"), 10);
    m_loop.PostDelayedTask(Says("second"), 20);
    RunUntilIdle();
    EXPECT_THAT(m_ran, ElementsAre("first", "second"));
    EXPECT_THAT(m_calls.Waits(), ElementsAre(11, 10, -1));
}

TEST_F(MessageLoopWithoutDescriptorsTest, RunWithoutAnEpollInstanceSpinsUntilItsTasksAreDue)
{
    m_calls.Fail("epoll_create", EMFILE);
    m_loop.OpenDescriptors();
    m_loop.PostDelayedTask(Says("task"), 10);
    m_calls.OnWait([this](int milliseconds) {
        if (milliseconds < 0) {
            Stop();
        }
        m_clock.Advance(boost::chrono::milliseconds(1)); // the call comes back at once
    });
    m_loop.Run();
    EXPECT_THAT(m_ran, ElementsAre("task"));
    EXPECT_THAT(m_calls.Waits(), ElementsAre(11, 10, 9, 8, 7, 6, 5, 4, 3, 2, -1));
}

} // namespace
