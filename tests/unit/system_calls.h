#ifndef PRODUCT_STORAGE_TESTS_UNIT_SYSTEM_CALLS_H
#define PRODUCT_STORAGE_TESTS_UNIT_SYSTEM_CALLS_H

#include <boost/chrono/duration.hpp>
#include <boost/chrono/system_clocks.hpp>

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

struct epoll_event;

/// The functions behind those that SystemCalls needs itself.
namespace RealCalls {

int EpollWait(int epollFd, epoll_event* events, int capacity, int milliseconds);
int Close(int descriptor);

} // namespace RealCalls

/// The system calls and the clock of the message loop, its thread and the mutexes, in a test's hands.
///
/// The unit tests' program defines these functions itself, so that libraries find its definitions first: epoll_create,
/// epoll_ctl, epoll_wait, pipe, fcntl, close, sem_wait, pthread_create, pthread_mutex_init, pthread_mutexattr_init,
/// pthread_mutexattr_settype, explicit_bzero and boost::chrono::steady_clock::now. They are the real ones as long as no
/// SystemCalls lives. While one does, each call is recorded, can be made to fail, and does the real thing otherwise,
/// but for time: the steady clock is Fakes::Clock, and epoll_wait ends by events, or when that clock has come to its
/// end, but never by real time.
///
/// One at a time. No thread that sleeps in epoll_wait may outlive it.
class SystemCalls {
public:
    SystemCalls();
    SystemCalls(const SystemCalls&) = delete;
    SystemCalls& operator=(const SystemCalls&) = delete;
    ~SystemCalls();

    /// After `others` further calls of `function`, one does nothing and fails with `error`.
    void Fail(const std::string& function, int error, int others = 0);

    /// The same with a result of the test's choice, without an error.
    void Answer(const std::string& function, int result, int others = 0);

    /// Every call so far: "pipe()", "fcntl(7, F_GETFL)", "epoll_ctl(5, EPOLL_CTL_ADD, 7, 1)", "epoll_wait(5, 20, -1)".
    std::vector<std::string> Calls() const;

    /// Forgets the calls, sleeps, readings and wipes so far.
    void Forget();

    /// How often `function` was called.
    int Count(const std::string& function) const;

    /// The milliseconds of every epoll_wait.
    std::vector<int> Waits() const;

    /// How often the steady clock was read.
    int ClockReads() const;

    /// What each explicit_bzero was to overwrite, and where.
    struct Wipe {
        const void* place = nullptr;
        std::string bytes;
    };
    std::vector<Wipe> Wipes() const;

    /// For a loop that runs on the test's own thread: epoll_wait calls `step` with its milliseconds instead of
    /// sleeping, and then tells the events that are there.
    void OnWait(const std::function<void(int milliseconds)>& step);

    /// Called when the next sem_wait has ended, on the thread that waited; once.
    void OnSemaphore(const std::function<void()>& step);

    /// Called at the next reading of the steady clock, before it is read; once.
    void OnClockRead(const std::function<void()>& step);

    /// Moves the clock and wakes who has slept long enough by it.
    void PassTime(const boost::chrono::nanoseconds& duration);

    /// Blocks until the loop that made its epoll instance last sleeps, with nothing to read and nothing due.
    void AwaitSleep();

    /// What a call does instead of the real thing.
    struct Scripted {
        int others = 0; ///< how many calls come before it
        int result = 0;
        int error = 0;
    };

    // What the functions call. Script records the call.
    static SystemCalls* Active(); ///< null: nobody scripts
    std::optional<Scripted> Script(const std::string& function, const std::string& arguments);
    void EpollCreated(int epollFd);
    int Wait(int epollFd, epoll_event* events, int capacity, int milliseconds);
    void Wiping(const Wipe& wipe);
    void SemaphoreTaken();
    boost::chrono::steady_clock::time_point Now();

private:
    struct Sleeper {
        int alarm = -1; ///< an eventfd that ends its sleep
        std::optional<boost::chrono::steady_clock::time_point> due;
    };

    int Sleep(int epollFd, epoll_event* events, int capacity, int milliseconds);
    bool IsLatestLoopAsleep() const;

    mutable std::mutex m_lock;
    std::condition_variable m_fellAsleep;
    std::map<std::string, std::vector<Scripted>> m_scripts; // guarded by m_lock
    std::vector<std::string> m_calls;                       // guarded by m_lock
    std::vector<int> m_waits;                               // guarded by m_lock
    std::vector<Wipe> m_wipes;                              // guarded by m_lock
    std::function<void(int)> m_onWait;                      // guarded by m_lock
    std::function<void()> m_onClockRead;                    // guarded by m_lock
    std::function<void()> m_onSemaphore;                    // guarded by m_lock
    std::map<int, Sleeper> m_sleepers;                      // guarded by m_lock; by epoll instance
    int m_latestEpoll = -1;                                 // guarded by m_lock
    int m_clockReads = 0;                                   // guarded by m_lock
};

#endif
