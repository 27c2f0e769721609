#include "tests/unit/disklib/loop_test.h"

#include <boost/make_shared.hpp>
#include <boost/thread/exceptions.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/lock_types.hpp>

#include <fcntl.h>
#include <unistd.h>

#include <climits>
#include <optional>

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

std::string Call(const std::string& function, int descriptor, const std::string& rest = "")
{
    return function + "(" + std::to_string(descriptor) + rest + ")";
}

// ---- how it comes and goes

class MessageLoopLifeTest : public LoopTest {};

TEST_F(MessageLoopLifeTest, NewLoopIsEmptyMayRunAndHasNoDescriptors)
{
    EXPECT_THAT(m_loop.incoming_queue, IsEmpty());
    EXPECT_THAT(m_loop.delayed_work_queue, IsEmpty());
    EXPECT_EQ(0, m_loop.recent_time);
    EXPECT_TRUE(m_loop.keep_running);
    EXPECT_EQ(0U, m_loop.next_sequence_num);
    EXPECT_EQ(-1, m_loop.epoll_fd);
    EXPECT_EQ(-1, m_loop.wakeup_read_fd);
    EXPECT_EQ(-1, m_loop.wakeup_write_fd);
    EXPECT_EQ(0, m_calls.Count("epoll_create"));
}

TEST_F(MessageLoopLifeTest, MutexThatCannotBeMadeThrowsTheThreadLibrarysResourceError)
{
    m_calls.Fail("pthread_mutex_init", EAGAIN);
    try {
        const MessageLoop loop;
        FAIL() << "made without a mutex";
    } catch (const boost::thread_resource_error& error) {
        EXPECT_THAT(error.what(), StartsWith("boost:: mutex constructor failed in pthread_mutex_init"));
        EXPECT_EQ(EAGAIN, error.native_error());
    }
}

TEST_F(MessageLoopLifeTest, OpenDescriptorsMakesAnEpollInstanceAndThenAPipeWithBothEndsNonBlocking)
{
    m_loop.OpenDescriptors();

    const int readEnd = m_loop.wakeup_read_fd;
    const int writeEnd = m_loop.wakeup_write_fd;
    EXPECT_THAT(m_calls.Calls(),
                ElementsAre("epoll_create(256)", "pipe()", Call("fcntl", readEnd, ", F_GETFL"),
                            Call("fcntl", readEnd, ", F_SETFL, " + std::to_string(O_RDONLY | O_NONBLOCK)),
                            Call("fcntl", writeEnd, ", F_GETFL"),
                            Call("fcntl", writeEnd, ", F_SETFL, " + std::to_string(O_WRONLY | O_NONBLOCK))));
    EXPECT_GE(m_loop.epoll_fd, 0);
    EXPECT_EQ(O_RDONLY | O_NONBLOCK, fcntl(readEnd, F_GETFL) & (O_ACCMODE | O_NONBLOCK));
    EXPECT_EQ(O_WRONLY | O_NONBLOCK, fcntl(writeEnd, F_GETFL) & (O_ACCMODE | O_NONBLOCK));
}

TEST_F(MessageLoopLifeTest, OpenDescriptorsSetsNoEndThatIsNonBlockingAlready)
{
    m_calls.Answer("fcntl", O_NONBLOCK);    // the read end's flags
    m_calls.Answer("fcntl", O_NONBLOCK, 1); // the write end's
    m_loop.OpenDescriptors();
    EXPECT_THAT(m_calls.Calls(),
                ElementsAre("epoll_create(256)", "pipe()", Call("fcntl", m_loop.wakeup_read_fd, ", F_GETFL"),
                            Call("fcntl", m_loop.wakeup_write_fd, ", F_GETFL")));
    EXPECT_GE(m_loop.wakeup_read_fd, 0);
    EXPECT_GE(m_loop.wakeup_write_fd, 0);
}

TEST_F(MessageLoopLifeTest, DestructionClosesReadEndWriteEndAndEpollInstanceInThisOrder)
{
    auto loop = std::make_optional<MessageLoop>();
    loop->OpenDescriptors();
    const std::vector<std::string> expected = {Call("close", loop->wakeup_read_fd),
                                               Call("close", loop->wakeup_write_fd), Call("close", loop->epoll_fd)};
    const std::size_t before = m_calls.Calls().size();
    loop.reset();
    const std::vector<std::string> calls = m_calls.Calls();
    EXPECT_EQ(expected, std::vector<std::string>(calls.begin() + static_cast<std::ptrdiff_t>(before), calls.end()));
}

TEST_F(MessageLoopLifeTest, DestructionClosesNothingThatWasNotMade)
{
    {
        const MessageLoop loop;
    }
    EXPECT_THAT(m_calls.Calls(), Not(Contains(StartsWith("close("))));
}

TEST_F(MessageLoopLifeTest, DescriptorZeroIsOneToClose)
{
    m_calls.Answer("close", 0); // so that the program keeps its standard input
    {
        MessageLoop loop;
        loop.wakeup_write_fd = 0;
    }
    EXPECT_THAT(m_calls.Calls(), Contains("close(0)"));
}

TEST_F(MessageLoopLifeTest, DestructionDestroysTheTasksThatAreLeftWithoutRunningThem)
{
    const auto token = boost::make_shared<int>(0);
    bool hasRun = false;
    {
        MessageLoop loop;
        const auto task = [token, &hasRun] { hasRun = true; };
        loop.PostDelayedTask(task, 0);
        ASSERT_FALSE(loop.DoWork()); // moves it to the delayed ones
        loop.PostDelayedTask(task, 0);
        ASSERT_EQ(1U, loop.delayed_work_queue.size());
        ASSERT_EQ(1U, loop.incoming_queue.size());
        ASSERT_GT(token.use_count(), 2);
    }
    EXPECT_FALSE(hasRun);
    EXPECT_EQ(1, token.use_count());
}

// ---- system calls that fail while the descriptors are made

struct OpenFailure {
    const char* name;
    const char* function;
    int others; // of the same function, before the failing one
    bool hasEpoll;
    int pipes;
    int fcntls;
};

class MessageLoopOpenFailureTest : public LoopTest, public ::testing::WithParamInterface<OpenFailure> {
protected:
    ~MessageLoopOpenFailureTest() override
    {
        for (const int end : m_pipeEnds) {
            close(end);
        }
    }

    std::vector<int> m_pipeEnds; // which the loop has left open
};

TEST_P(MessageLoopOpenFailureTest, OpenDescriptorsLeavesTheLoopWithoutAPipeAndGoesNoFurther)
{
    m_calls.Fail(GetParam().function, EMFILE, GetParam().others);
    m_loop.OpenDescriptors();

    EXPECT_EQ(GetParam().hasEpoll, m_loop.epoll_fd >= 0);
    EXPECT_EQ(-1, m_loop.wakeup_read_fd);
    EXPECT_EQ(-1, m_loop.wakeup_write_fd);
    EXPECT_EQ(GetParam().pipes, m_calls.Count("pipe"));
    EXPECT_EQ(GetParam().fcntls, m_calls.Count("fcntl"));
    EXPECT_EQ(0, m_calls.Count("close")); // the ends of a pipe that cannot be used are left open, on purpose
    if (GetParam().fcntls > 0) {
        // They are known by the calls: the read end was looked at first, the write end has the next number.
        const std::string firstFcntl = m_calls.Calls().at(2);
        const int readEnd = std::stoi(firstFcntl.substr(firstFcntl.find('(') + 1));
        m_pipeEnds = {readEnd, readEnd + 1};
        EXPECT_NE(-1, fcntl(readEnd, F_GETFD));
        EXPECT_NE(-1, fcntl(readEnd + 1, F_GETFD));
    }
}

INSTANTIATE_TEST_SUITE_P(Call, MessageLoopOpenFailureTest,
                         ::testing::Values(OpenFailure{"EpollCreate", "epoll_create", 0, false, 0, 0},
                                           OpenFailure{"Pipe", "pipe", 0, true, 1, 0},
                                           OpenFailure{"GetFlagsOfReadEnd", "fcntl", 0, true, 1, 1},
                                           OpenFailure{"SetFlagsOfReadEnd", "fcntl", 1, true, 1, 2},
                                           OpenFailure{"GetFlagsOfWriteEnd", "fcntl", 2, true, 1, 3},
                                           OpenFailure{"SetFlagsOfWriteEnd", "fcntl", 3, true, 1, 4}),
                         [](const auto& row) { return row.param.name; });

// ---- posting

class MessageLoopPostTest : public LoopTest {};

TEST_F(MessageLoopPostTest, PostDelayedTaskAppendsInOrderWithSequenceNumberAndDueTime)
{
    m_loop.PostDelayedTask(Says("first"), 1000);
    m_clock.Advance(boost::chrono::nanoseconds(7));
    m_loop.PostDelayedTask(Says("second"), 0);

    ASSERT_EQ(2U, m_loop.incoming_queue.size());
    EXPECT_EQ(0U, m_loop.incoming_queue[0].sequence_num);
    EXPECT_EQ(Now() - 7 + 1000 * MILLISECOND, m_loop.incoming_queue[0].delayed_run_time);
    EXPECT_EQ(1U, m_loop.incoming_queue[1].sequence_num);
    EXPECT_EQ(Now(), m_loop.incoming_queue[1].delayed_run_time);
    EXPECT_EQ(2U, m_loop.next_sequence_num);
    m_loop.incoming_queue[0].task();
    EXPECT_THAT(m_ran, ElementsAre("first"));
    EXPECT_EQ(2, m_calls.ClockReads());
}

TEST_F(MessageLoopPostTest, PostDelayedTaskKeepsACopyOfTheTask)
{
    boost::function<void()> task = Says("posted");
    m_loop.PostDelayedTask(task, 0);
    task = Says("changed afterwards");
    m_loop.incoming_queue.front().task();
    EXPECT_THAT(m_ran, ElementsAre("posted"));
}

TEST_F(MessageLoopPostTest, PostDelayedTaskWritesOneZeroByteIntoThePipe)
{
    m_loop.OpenDescriptors();
    m_loop.PostDelayedTask(Says("task"), 0);
    ASSERT_EQ(1, WakeUps());
    char byte = 'x';
    ASSERT_EQ(1, read(m_loop.wakeup_read_fd, &byte, 1));
    EXPECT_EQ('\0', byte);
}

TEST_F(MessageLoopPostTest, PostDelayedTaskWithoutAPipeStillQueuesTheTask)
{
    m_loop.PostDelayedTask(Says("task"), 0);
    EXPECT_EQ(1U, m_loop.incoming_queue.size());
}

TEST_F(MessageLoopPostTest, PostDelayedTaskIntoAFullPipeStillQueuesTheTask)
{
    m_loop.OpenDescriptors();
    while (write(m_loop.wakeup_write_fd, "", 1) == 1) {
    }
    m_loop.PostDelayedTask(Says("task"), 0);
    EXPECT_EQ(1U, m_loop.incoming_queue.size());
}

TEST_F(MessageLoopPostTest, PostDelayedTaskWithADelayBeyondTheClockIsDueInTheFarFuture)
{
    m_loop.PostDelayedTask(Says("never"), ULONG_MAX);
    EXPECT_GT(m_loop.incoming_queue.front().delayed_run_time, Now() + INT64_MAX / 4);
}

TEST_F(MessageLoopPostTest, PostDelayedTaskWithALockThatFailsThrowsAndQueuesNothing)
{
    // A mutex that notices that its own thread locks it twice.
    pthread_mutex_t* const mutex = m_loop.lock.native_handle();
    ASSERT_EQ(0, pthread_mutex_destroy(mutex));
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
    ASSERT_EQ(0, pthread_mutex_init(mutex, &attributes));
    pthread_mutexattr_destroy(&attributes);

    const boost::lock_guard<boost::mutex> guard(m_loop.lock);
    try {
        m_loop.PostDelayedTask(Says("task"), 0);
        FAIL() << "posted without the lock";
    } catch (const boost::lock_error& error) {
        EXPECT_THAT(error.what(), StartsWith("boost: mutex lock failed in pthread_mutex_lock"));
    }
    EXPECT_THAT(m_loop.incoming_queue, IsEmpty());
    EXPECT_EQ(0U, m_loop.next_sequence_num);
}

// ---- taking what was posted

class MessageLoopDoWorkTest : public LoopTest {};

TEST_F(MessageLoopDoWorkTest, DoWorkMovesPostedTasksToTheDelayedOnesAndRunsNone)
{
    m_loop.PostDelayedTask(Says("later"), 5);
    m_loop.PostDelayedTask(Says("now"), 0);
    EXPECT_FALSE(m_loop.DoWork());
    EXPECT_THAT(m_loop.incoming_queue, IsEmpty());
    EXPECT_EQ(2U, m_loop.delayed_work_queue.size());
    EXPECT_THAT(m_ran, IsEmpty()); // a delay of 0 included
    EXPECT_EQ(Now(), m_loop.delayed_work_queue.front().delayed_run_time);
}

TEST_F(MessageLoopDoWorkTest, DoWorkWithNothingPostedRunsNothing)
{
    EXPECT_FALSE(m_loop.DoWork());
    EXPECT_THAT(m_loop.delayed_work_queue, IsEmpty());
}

TEST_F(MessageLoopDoWorkTest, DoWorkRunsTasksWithoutADueTimeAtOnceInPostingOrder)
{
    Queue(Says("first"), 0);
    Queue(Says("delayed"), 1);
    Queue(Says("second"), 0);
    EXPECT_TRUE(m_loop.DoWork());
    EXPECT_THAT(m_ran, ElementsAre("first", "second"));
    EXPECT_EQ(1U, m_loop.delayed_work_queue.size());
}

TEST_F(MessageLoopDoWorkTest, DoWorkRunsTasksWithoutTheLock)
{
    bool isFree = false;
    Queue(
        [&] {
            const boost::unique_lock<boost::mutex> guard(m_loop.lock, boost::try_to_lock);
            isFree = guard.owns_lock();
        },
        0);
    m_loop.DoWork();
    EXPECT_TRUE(isFree);
}

TEST_F(MessageLoopDoWorkTest, DoWorkWithAnEmptyTaskThrowsTheClosureLibrarysError)
{
    Queue({}, 0);
    try {
        m_loop.DoWork();
        FAIL() << "an empty task ran";
    } catch (const boost::bad_function_call& error) {
        EXPECT_STREQ("call to empty boost::function", error.what());
    }
}

TEST_F(MessageLoopDoWorkTest, TaskPostedWhenTheClockReadsZeroHasNoDueTimeAndRunsAtOnce)
{
    m_clock.Advance(-m_clock.SteadyNow().time_since_epoch());
    m_loop.PostDelayedTask(Says("task"), 0);
    EXPECT_TRUE(m_loop.DoWork());
    EXPECT_THAT(m_ran, ElementsAre("task"));
}

} // namespace
