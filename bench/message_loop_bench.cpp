#include "disklib/message_loop.h"

#include <benchmark/benchmark.h>

#include <mutex>
#include <queue>

// A batch of tasks posted to the loop and run by it, beside a locked queue of functions that is filled and emptied.

namespace {

constexpr int TASKS = 1000;

void MessageLoopRunsPostedTasks(benchmark::State& state)
{
    MessageLoop loop;
    loop.OpenDescriptors();
    int count = 0;
    for (auto _ : state) {
        for (int task = 0; task < TASKS; ++task) {
            loop.PostDelayedTask([&count] { ++count; }, 0);
        }
        while (loop.DoWork()) {
        }
    }
    benchmark::DoNotOptimize(count);
    state.SetItemsProcessed(state.iterations() * TASKS);
}
BENCHMARK(MessageLoopRunsPostedTasks);

void BareLockedQueueRunsPostedTasks(benchmark::State& state)
{
    std::mutex mutex;
    std::queue<boost::function<void()>> queue;
    int count = 0;
    for (auto _ : state) {
        for (int task = 0; task < TASKS; ++task) {
            const std::lock_guard<std::mutex> guard(mutex);
            queue.emplace([&count] { ++count; });
        }
        for (;;) {
            std::unique_lock<std::mutex> guard(mutex);
            if (queue.empty()) {
                break;
            }
            const boost::function<void()> task = std::move(queue.front());
            queue.pop();
            guard.unlock();
            task();
        }
    }
    benchmark::DoNotOptimize(count);
    state.SetItemsProcessed(state.iterations() * TASKS);
}
BENCHMARK(BareLockedQueueRunsPostedTasks);

} // namespace
