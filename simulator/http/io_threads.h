#ifndef ZAVSIM_HTTP_IO_THREADS_H
#define ZAVSIM_HTTP_IO_THREADS_H

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace ZavSim {

/// The threads that serve all listeners, each with a context of its own: what is bound to one context runs on one
/// thread, without locks and without waking another. Any thread may call.
class IoThreads {
public:
    IoThreads();
    ~IoThreads() { Stop(); }
    IoThreads(const IoThreads&) = delete;
    IoThreads& operator=(const IoThreads&) = delete;

    /// The context for a further connection; they take turns.
    boost::asio::io_context& Next();

    /// Ends the threads, each after what it is just doing. Not on one of them.
    void Stop();

private:
    void Drain();

    struct Worker {
        boost::asio::io_context context{1};
        boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work{context.get_executor()};
        std::thread thread;
    };

    std::vector<std::unique_ptr<Worker>> m_workers;
    std::atomic<std::size_t> m_next{0};
};

} // namespace ZavSim

#endif
