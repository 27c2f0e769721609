#include "simulator/http/io_threads.h"

#include "base/printable_text.h"

#include <algorithm>
#include <exception>
#include <iostream>

namespace ZavSim {

namespace {

// More than processors: a request that has the data plane changed waits for other programs.
constexpr unsigned int LEAST_THREADS = 4;

void Run(boost::asio::io_context& context)
{
    while (!context.stopped()) {
        try {
            context.run();
        } catch (const std::exception& error) { // one connection is lost by it; the others go on
            std::cerr << "zavsim: " << Base::Printable(error.what()) << std::endl;
        }
    }
}

// How many handlers were ready, and ran.
std::size_t RunReady(boost::asio::io_context& context)
{
    try {
        return context.poll();
    } catch (const std::exception& error) {
        std::cerr << "zavsim: " << Base::Printable(error.what()) << std::endl;
        return 1;
    }
}

} // namespace

IoThreads::IoThreads()
{
    const unsigned int count = std::max(LEAST_THREADS, std::thread::hardware_concurrency());
    for (unsigned int i = 0; i < count; ++i) {
        m_workers.push_back(std::make_unique<Worker>());
        Worker& worker = *m_workers.back();
        worker.thread = std::thread([&worker] { Run(worker.context); });
    }
}

boost::asio::io_context& IoThreads::Next()
{
    return m_workers[m_next++ % m_workers.size()]->context;
}

void IoThreads::Stop()
{
    for (const auto& worker : m_workers) {
        worker->context.stop();
    }
    for (const auto& worker : m_workers) {
        if (worker->thread.joinable()) {
            worker->thread.join();
        }
    }
    Drain();
}

// What was cancelled is still queued: an accept, say, which is bound to the context of its listener and holds a socket
// of another. It goes here, while all contexts live.
void IoThreads::Drain()
{
    constexpr int MOST_ROUNDS = 100; // clients that go on sending shall not keep this from ending
    std::size_t count = 1;
    for (int round = 0; count > 0 && round < MOST_ROUNDS; ++round) {
        count = 0;
        for (const auto& worker : m_workers) {
            worker->context.restart();
            count += RunReady(worker->context);
        }
    }
}

} // namespace ZavSim
