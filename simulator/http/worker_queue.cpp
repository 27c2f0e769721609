#include "simulator/http/worker_queue.h"

#include <system_error>

namespace ZavSim {

void WorkerQueue::enqueue(std::function<void()> job)
{
    bool needsThread = false;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_jobs.push_back(std::move(job));
        needsThread = m_jobs.size() > m_idle && m_threads.size() < m_limit;
    }
    if (needsThread) {
        try {
            m_threads.emplace_back([this] { Work(); });
        } catch (const std::system_error&) {
            // The machine gives no more threads: the connection waits for one of those that run.
        }
    }
    m_wake.notify_one();
}

void WorkerQueue::shutdown()
{
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_ending = true;
    }
    m_wake.notify_all();
    for (std::thread& thread : m_threads) {
        thread.join();
    }
    m_threads.clear();
}

void WorkerQueue::Work()
{
    std::unique_lock<std::mutex> guard(m_lock);
    while (true) {
        ++m_idle;
        m_wake.wait(guard, [this] { return m_ending || !m_jobs.empty(); });
        --m_idle;
        if (m_jobs.empty()) {
            return;
        }
        const std::function<void()> job = std::move(m_jobs.front());
        m_jobs.pop_front();
        guard.unlock();
        job();
        guard.lock();
    }
}

} // namespace ZavSim
