#ifndef PRODUCT_STORAGE_DISKLIB_MESSAGE_LOOP_H
#define PRODUCT_STORAGE_DISKLIB_MESSAGE_LOOP_H

#include <boost/function.hpp>
#include <boost/thread/mutex.hpp>

#include <semaphore.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <deque>
#include <vector>

/// Lets one thread wait until another has begun. A signal handler that runs meanwhile does not end the wait, as it
/// would that of the Boost semaphores, which throw then.
class StartSignal {
public:
    StartSignal() { sem_init(&m_semaphore, 0, 0); } // cannot fail: it is not shared, and 0 is a valid count
    StartSignal(const StartSignal&) = delete;
    StartSignal& operator=(const StartSignal&) = delete;
    ~StartSignal() { sem_destroy(&m_semaphore); }

    /// Releases one wait: one that waits, or the next.
    void Give() { sem_post(&m_semaphore); }

    void Await()
    {
        while (sem_wait(&m_semaphore) == -1 && errno == EINTR) {
        }
    }

private:
    sem_t m_semaphore = {};
};

/// Runs closures one at a time on the thread that calls Run, in the order of their due times.
///
/// Any thread posts; one thread runs. The loop sleeps in epoll_wait and is woken through a pipe to itself. Without a
/// pipe (the process is out of descriptors) it still works by its timeouts, but a post does not wake it; without an
/// epoll instance it works as well, and does not sleep.
/// To stop it: clear `keep_running` under `lock`, call WakeUp, and join the running thread.
/// The header is installed because ZavStorageDiskLib holds one; none of its functions is exported.
class MessageLoop {
public:
    struct PendingTask {
        boost::function<void()> task;
        std::int64_t delayed_run_time = 0; ///< steady clock, nanoseconds; 0: run as soon as it is taken
        std::uint64_t sequence_num = 0;    ///< posting order
    };

    /// Throws the threading library's resource error when the mutex cannot be made.
    MessageLoop() = default;
    MessageLoop(const MessageLoop&) = delete;
    MessageLoop& operator=(const MessageLoop&) = delete;

    /// Destroys the tasks that are still queued without running them.
    ~MessageLoop();

    /// Makes the descriptors that the loop sleeps on; once, before Run. Failures are not reported; see above.
    void OpenDescriptors();

    /// Posts `task` to run `delay` milliseconds from now. Any thread. Throws the threading library's lock error.
    void PostDelayedTask(const boost::function<void()>& task, unsigned long delay);

    /// Runs tasks until `keep_running` is false. A task that throws ends it with its exception.
    void Run();

    /// Takes what was posted. True when it ran a task: one without a due time. Run only.
    bool DoWork();

    /// Ends a sleep of the loop. Any thread.
    void WakeUp() const;

    std::deque<PendingTask> incoming_queue;      // guarded by lock; any thread, first in first out
    std::vector<PendingTask> delayed_work_queue; // worker only; heap: earliest due first, then posting order
    std::int64_t recent_time = 0;                // worker only; steady clock, nanoseconds
    boost::mutex lock;                           // never held while a task runs
    std::atomic<bool> keep_running{true};        // read by the worker without lock
    std::uint64_t next_sequence_num = 0;         // guarded by lock
    std::int32_t epoll_fd = -1;
    std::int32_t wakeup_read_fd = -1;
    std::int32_t wakeup_write_fd = -1;
    StartSignal running; // given when Run begins: a stop is not lost from then on

private:
    bool RunDueTask(int& waitMilliseconds);
    void Sleep(int waitMilliseconds);
};

#endif
