#include "disklib/message_loop.h"

#include <boost/chrono/system_clocks.hpp>
#include <boost/thread/lock_guard.hpp>

#include <fcntl.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <utility>

namespace {

constexpr int EPOLL_SIZE_HINT = 256;
constexpr int MAX_EPOLL_EVENTS = 20; // of which the content is never looked at
constexpr int WAIT_WITHOUT_LIMIT = -1;
constexpr std::int64_t NANOSECONDS_PER_MILLISECOND = 1000000;

std::int64_t SteadyNanoseconds()
{
    return boost::chrono::steady_clock::now().time_since_epoch().count();
}

std::int64_t ToNanoseconds(unsigned long milliseconds)
{
    constexpr auto LONGEST = static_cast<unsigned long>(INT64_MAX / 2 / NANOSECONDS_PER_MILLISECOND); // 146 years
    return static_cast<std::int64_t>(std::min(milliseconds, LONGEST)) * NANOSECONDS_PER_MILLISECOND;
}

// Heap order: the task that is to run first is the greatest.
bool RunsLater(const MessageLoop::PendingTask& left, const MessageLoop::PendingTask& right)
{
    if (left.delayed_run_time != right.delayed_run_time) {
        return left.delayed_run_time > right.delayed_run_time;
    }
    return left.sequence_num > right.sequence_num;
}

bool SetNonBlocking(int descriptor)
{
    const int flags = fcntl(descriptor, F_GETFL);
    if (flags == -1) {
        return false;
    }
    return (flags & O_NONBLOCK) != 0 || fcntl(descriptor, F_SETFL, flags | O_NONBLOCK) != -1;
}

void Close(std::int32_t& descriptor)
{
    if (descriptor >= 0) {
        close(descriptor);
        descriptor = -1;
    }
}

} // namespace

MessageLoop::~MessageLoop()
{
    Close(wakeup_read_fd);
    Close(wakeup_write_fd);
    Close(epoll_fd);
}

void MessageLoop::OpenDescriptors()
{
    epoll_fd = epoll_create(EPOLL_SIZE_HINT);
    if (epoll_fd == -1) {
        return;
    }
    std::array<int, 2> ends = {-1, -1};
    if (pipe(ends.data()) == 0 && SetNonBlocking(ends[0]) && SetNonBlocking(ends[1])) {
        wakeup_read_fd = ends[0];
        wakeup_write_fd = ends[1];
    }
    // A pipe whose ends cannot be made non-blocking is neither used nor closed, on purpose: the loop then works by its
    // timeouts, as it does without any pipe.
}

void MessageLoop::PostDelayedTask(const boost::function<void()>& task, unsigned long delay)
{
    {
        const boost::lock_guard<boost::mutex> guard(lock);
        PendingTask pending;
        pending.task = task;
        pending.sequence_num = next_sequence_num++;
        pending.delayed_run_time = SteadyNanoseconds() + ToNanoseconds(delay);
        incoming_queue.push_back(pending);
    }
    WakeUp();
}

void MessageLoop::WakeUp() const
{
    const char wakeUpByte = 0;
    // A full pipe wakes the loop as well as this byte would, and without a pipe there is nobody to tell.
    [[maybe_unused]] const ssize_t ignored = write(wakeup_write_fd, &wakeUpByte, sizeof(wakeUpByte));
}

bool MessageLoop::DoWork()
{
    std::deque<PendingTask> taken;
    {
        const boost::lock_guard<boost::mutex> guard(lock);
        taken.swap(incoming_queue);
    }
    bool hasRunTask = false;
    for (PendingTask& pending : taken) {
        if (pending.delayed_run_time != 0) {
            delayed_work_queue.push_back(std::move(pending));
            std::push_heap(delayed_work_queue.begin(), delayed_work_queue.end(), RunsLater);
        } else {
            pending.task();
            hasRunTask = true;
        }
    }
    return hasRunTask;
}

void MessageLoop::Run()
{
    epoll_event readable = {};
    readable.events = EPOLLIN;
    epoll_ctl(epoll_fd, EPOLL_CTL_ADD, wakeup_read_fd, &readable);
    {
        const boost::lock_guard<boost::mutex> guard(lock);
        keep_running = true;
    }
    recent_time = SteadyNanoseconds();
    running.Give();

    do {
        const bool hasRunTask = DoWork();
        int waitMilliseconds = WAIT_WITHOUT_LIMIT;
        if (RunDueTask(waitMilliseconds)) {
            continue; // without a wait: due tasks run back to back, one a round
        }
        if (!hasRunTask) {
            Sleep(waitMilliseconds);
        }
    } while (keep_running);
}

// True when it ran the first delayed task. Otherwise `waitMilliseconds` is how long to sleep until that task is due,
// rounded up so that the loop never wakes early, or unchanged when there is none. The clock is read only when the task
// lies after the last reading.
bool MessageLoop::RunDueTask(int& waitMilliseconds)
{
    if (delayed_work_queue.empty()) {
        return false;
    }
    const std::int64_t due = delayed_work_queue.front().delayed_run_time;
    if (due > recent_time) {
        recent_time = SteadyNanoseconds();
        if (due > recent_time) {
            const std::int64_t wait = (due - recent_time) / NANOSECONDS_PER_MILLISECOND + 1;
            waitMilliseconds = static_cast<int>(std::min<std::int64_t>(wait, INT_MAX));
            return false;
        }
    }
    std::pop_heap(delayed_work_queue.begin(), delayed_work_queue.end(), RunsLater);
    const PendingTask pending = std::move(delayed_work_queue.back());
    delayed_work_queue.pop_back();
    pending.task();
    return true;
}

void MessageLoop::Sleep(int waitMilliseconds)
{
    {
        const boost::lock_guard<boost::mutex> guard(lock);
        if (!incoming_queue.empty()) {
            return;
        }
    }
    std::array<epoll_event, MAX_EPOLL_EVENTS> events = {};
    if (epoll_wait(epoll_fd, events.data(), MAX_EPOLL_EVENTS, waitMilliseconds) > 0) {
        char wakeUpByte = 0;
        // One byte a wake-up, on purpose: a backlog only causes empty rounds.
        [[maybe_unused]] const ssize_t ignored = read(wakeup_read_fd, &wakeUpByte, sizeof(wakeUpByte));
    }
}
