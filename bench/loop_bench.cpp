#include "bench/topic.h"
#include "disklib/message_loop.h"
#include "disklib/qen_thread.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/chrono/system_clocks.hpp>
#include <boost/thread/lock_guard.hpp>

#include <fcntl.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <deque>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

// From the post of a task to its run.

namespace {

using Task = boost::function<void()>;

std::int64_t Now()
{
    return boost::chrono::steady_clock::now().time_since_epoch().count();
}

/// The least that runs tasks as the loop's contract has it: lock and append, a byte for each post, a heap by due time.
class BareLoop {
public:
    BareLoop()
        : m_epoll(epoll_create1(0))
    {
        if (pipe2(m_pipe.data(), O_NONBLOCK) == -1) {
            throw std::runtime_error("no pipe");
        }
        epoll_event readable = {};
        readable.events = EPOLLIN;
        epoll_ctl(m_epoll, EPOLL_CTL_ADD, m_pipe[0], &readable);
    }
    BareLoop(const BareLoop&) = delete;
    BareLoop& operator=(const BareLoop&) = delete;
    ~BareLoop()
    {
        close(m_pipe[0]);
        close(m_pipe[1]);
        close(m_epoll);
    }

    void Post(const Task& task, std::int64_t delayNanoseconds)
    {
        {
            const boost::lock_guard<boost::mutex> guard(m_lock);
            m_incoming.push_back({task, Now() + delayNanoseconds, m_next++});
        }
        const char byte = 0;
        [[maybe_unused]] const ssize_t ignored = write(m_pipe[1], &byte, 1);
    }

    void Run()
    {
        std::int64_t now = Now();
        while (m_isRunning) {
            Take();
            if (m_heap.empty() || (m_heap.front().due > now && m_heap.front().due > (now = Now()))) {
                Sleep(now);
                continue;
            }
            std::pop_heap(m_heap.begin(), m_heap.end());
            const Pending pending = std::move(m_heap.back());
            m_heap.pop_back();
            pending.task();
        }
    }

    void Stop() { m_isRunning = false; } // by a task

private:
    struct Pending {
        Task task;
        std::int64_t due;
        std::uint64_t number;
        bool operator<(const Pending& other) const
        {
            return due != other.due ? due > other.due : number > other.number;
        }
    };

    void Take()
    {
        std::deque<Pending> taken;
        {
            const boost::lock_guard<boost::mutex> guard(m_lock);
            taken.swap(m_incoming);
        }
        for (Pending& pending : taken) {
            m_heap.push_back(std::move(pending));
            std::push_heap(m_heap.begin(), m_heap.end());
        }
    }

    void Sleep(std::int64_t now)
    {
        constexpr std::int64_t MILLISECOND = 1000000;
        const int wait = m_heap.empty() ? -1 : static_cast<int>((m_heap.front().due - now) / MILLISECOND + 1);
        epoll_event event = {};
        if (epoll_wait(m_epoll, &event, 1, wait) > 0) {
            char byte = 0;
            [[maybe_unused]] const ssize_t ignored = read(m_pipe[0], &byte, 1);
        }
    }

    const int m_epoll;
    std::array<int, 2> m_pipe = {-1, -1};
    boost::mutex m_lock;
    std::deque<Pending> m_incoming; // guarded by m_lock
    std::uint64_t m_next = 0;       // guarded by m_lock
    std::vector<Pending> m_heap;    // as std::priority_queue has it, but what is taken is moved
    std::atomic<bool> m_isRunning{true};
};

// The three loops in the same words, each with a thread that runs it.

class OurLoop {
public:
    OurLoop() { m_thread.Start(); }
    OurLoop(const OurLoop&) = delete;
    OurLoop& operator=(const OurLoop&) = delete;
    ~OurLoop()
    {
        Post([this] { m_thread.message_loop->keep_running = false; });
        m_thread.thread->join();
    }
    void Post(const Task& task) { m_thread.message_loop->PostDelayedTask(task, 0); }

private:
    QenThread m_thread;
};

class RunningBareLoop {
public:
    RunningBareLoop()
        : m_thread([this] { m_loop.Run(); })
    {
    }
    RunningBareLoop(const RunningBareLoop&) = delete;
    RunningBareLoop& operator=(const RunningBareLoop&) = delete;
    ~RunningBareLoop()
    {
        Post([this] { m_loop.Stop(); });
        m_thread.join();
    }
    void Post(const Task& task) { m_loop.Post(task, 0); }

private:
    BareLoop m_loop;
    std::thread m_thread;
};

class AsioLoop {
public:
    AsioLoop()
        : m_guard(boost::asio::make_work_guard(m_io))
        , m_thread([this] { m_io.run(); })
    {
    }
    AsioLoop(const AsioLoop&) = delete;
    AsioLoop& operator=(const AsioLoop&) = delete;
    ~AsioLoop()
    {
        m_guard.reset();
        m_thread.join();
    }
    void Post(const Task& task) { boost::asio::post(m_io, task); }

private:
    boost::asio::io_context m_io;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> m_guard;
    std::thread m_thread;
};

// Each poster waits until the last task of its batch has run.
template <typename Loop>
void PostAndAwait(benchmark::State& state)
{
    constexpr int BATCH = 1000;
    static Loop& loop = *new Loop; // NOLINT: left to the process's end, for its posters share it
    StartSignal done;
    for (auto _ : state) {
        for (int task = 1; task < BATCH; ++task) {
            loop.Post([] {});
        }
        loop.Post([&done] { done.Give(); });
        done.Await();
    }
}

// From the post to the beginning of the task, where the loop sleeps before each.
template <typename Loop>
void WakeUp(benchmark::State& state)
{
    constexpr std::chrono::microseconds UNTIL_ASLEEP(200);
    Loop loop;
    StartSignal done;
    std::vector<std::int64_t> waits;
    std::int64_t began = 0;
    for (auto _ : state) {
        std::this_thread::sleep_for(UNTIL_ASLEEP);
        const std::int64_t posted = Now();
        loop.Post([&] {
            began = Now();
            done.Give();
        });
        done.Await();
        waits.push_back(began - posted);
    }
    constexpr double NANOSECOND = 1e-9;
    std::sort(waits.begin(), waits.end());
    state.counters["median"] = NANOSECOND * static_cast<double>(waits[waits.size() / 2]);
    state.counters["99th"] = NANOSECOND * static_cast<double>(waits[waits.size() * 99 / 100]);
}

constexpr int TASKS = 1000000;

const std::vector<unsigned long>& Delays() // milliseconds; most are over when the last task is posted
{
    static const std::vector<unsigned long> delays = [] {
        std::mt19937 chance(1); // NOLINT: the same for both sides and all runs
        std::vector<unsigned long> drawn(TASKS);
        std::generate(drawn.begin(), drawn.end(), [&chance] { return 1 + chance() % 100; });
        return drawn;
    }();
    return delays;
}

void RunDelayedTasks(benchmark::State& state)
{
    const auto& delays = Delays();
    for (auto _ : state) {
        MessageLoop loop;
        loop.OpenDescriptors();
        int count = 0;
        const auto run = [&count, &loop] { loop.keep_running = ++count < TASKS; };
        for (const unsigned long delay : delays) {
            loop.PostDelayedTask(run, delay);
        }
        loop.Run();
    }
}

void RunBareHeap(benchmark::State& state)
{
    constexpr std::int64_t MILLISECOND = 1000000;
    const auto& delays = Delays();
    for (auto _ : state) {
        BareLoop loop;
        int count = 0;
        const auto run = [&count, &loop] {
            if (++count == TASKS) {
                loop.Stop();
            }
        };
        for (const unsigned long delay : delays) {
            loop.Post(run, static_cast<std::int64_t>(delay) * MILLISECOND);
        }
        loop.Run();
    }
}

} // namespace

Topics LoopTopics()
{
    Topic posts = {"post-run",
                   "1000 tasks from post to run, so many posters",
                   "lock, append, heap, one-byte write, epoll, one-byte read",
                   PostAndAwait<OurLoop>,
                   PostAndAwait<RunningBareLoop>,
                   {{Quantity::WALL, 1.2, 1}, {Quantity::WALL, 1.2, 4}}};
    posts.growth = {Growth::Of::Threads, "posters", {1, 4}};
    posts.remarks = {{"Boost.Asio", PostAndAwait<AsioLoop>}};
    Topic wakeUp = {"wake-up",       "wake-up of the sleeping loop", "pipe and epoll",
                    WakeUp<OurLoop>, WakeUp<RunningBareLoop>,        {{"median", 1.15}, {"99th", 1.15}}};
    wakeUp.seconds = 0.5; // a 99th of many
    Topic delayed = {"delayed-tasks", "1,000,000 delayed tasks", "the same posts into a heap", RunDelayedTasks,
                     RunBareHeap,     {{Quantity::CPU, 1.2}}};
    delayed.repetitions = 5;
    delayed.seconds = 0;
    return {posts, wakeUp, delayed};
}
