#include "cli/console/within.h"

#include <atomic>
#include <future>
#include <thread>
#include <utility>

namespace {

std::atomic<unsigned int> underWay{0};

} // namespace

bool EndsWithin(std::chrono::milliseconds limit, std::function<void()> work)
{
    return WhichEndWithin(limit, {std::move(work)}).front();
}

std::vector<bool> WhichEndWithin(std::chrono::milliseconds limit, std::vector<std::function<void()>> works)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    std::vector<std::future<void>> ends;
    for (std::function<void()>& work : works) {
        std::promise<void> ended;
        ends.push_back(ended.get_future());
        ++underWay;
        std::thread([done = std::move(ended), act = std::move(work)]() mutable {
            act();
            act = nullptr; // what it held is given back before anybody is told
            --underWay;
            done.set_value();
        }).detach();
    }
    std::vector<bool> haveEnded;
    haveEnded.reserve(ends.size());
    for (const std::future<void>& each : ends) {
        haveEnded.push_back(each.wait_until(end) == std::future_status::ready);
    }
    return haveEnded;
}

bool DoesAnyGoOn()
{
    return underWay != 0;
}
