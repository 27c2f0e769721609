#include "cli/within.h"

#include <future>
#include <thread>
#include <utility>

bool EndsWithin(std::chrono::milliseconds limit, std::function<void()> work)
{
    std::promise<void> ended;
    const std::future<void> end = ended.get_future();
    std::thread([done = std::move(ended), act = std::move(work)]() mutable {
        act();
        done.set_value();
    }).detach();
    return end.wait_for(limit) == std::future_status::ready;
}
