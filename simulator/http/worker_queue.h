#ifndef ZAVSIM_HTTP_WORKER_QUEUE_H
#define ZAVSIM_HTTP_WORKER_QUEUE_H

#include <httplib.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace ZavSim {

/// Threads for the HTTP library, which occupies one for as long as a connection is kept alive: started as connections
/// come, used again when they go, never more than the limit. Connections beyond it wait until another one ends.
class WorkerQueue final : public httplib::TaskQueue {
public:
    explicit WorkerQueue(std::size_t limit)
        : m_limit(limit)
    {
    }
    WorkerQueue(const WorkerQueue&) = delete;
    WorkerQueue& operator=(const WorkerQueue&) = delete;
    ~WorkerQueue() override { shutdown(); }

    void enqueue(std::function<void()> job) override;

    /// Lets what was enqueued finish and ends the threads.
    void shutdown() override;

private:
    void Work();

    const std::size_t m_limit;
    std::mutex m_lock;
    std::condition_variable m_wake;
    std::deque<std::function<void()>> m_jobs; // guarded by m_lock
    std::size_t m_idle = 0;                   // guarded by m_lock
    bool m_ending = false;                    // guarded by m_lock
    std::vector<std::thread> m_threads;       // the accepting thread only
};

} // namespace ZavSim

#endif
