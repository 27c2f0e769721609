#include "cli/console/farewell.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace {

struct Registry {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<const std::function<void()>*> actions; // guarded by mutex
    bool isEnding = false;                             // guarded by mutex
    std::size_t underWay = 0;                          // guarded by mutex
};

// Never destroyed: a thread may be in there when the process ends.
Registry& TheRegistry()
{
    static Registry* const registry = std::make_unique<Registry>().release();
    return *registry;
}

} // namespace

Farewell::Farewell(std::function<void()> action)
    : m_action(std::move(action))
{
    Registry& registry = TheRegistry();
    const std::lock_guard<std::mutex> guard(registry.mutex);
    registry.actions.push_back(&m_action);
}

Farewell::~Farewell()
{
    Registry& registry = TheRegistry();
    std::unique_lock<std::mutex> guard(registry.mutex);
    registry.changed.wait(guard, [&registry] { return !registry.isEnding; });
    registry.actions.erase(std::remove(registry.actions.begin(), registry.actions.end(), &m_action),
                           registry.actions.end());
}

void Farewell::SayAll(std::chrono::milliseconds limit)
{
    Registry& registry = TheRegistry();
    std::unique_lock<std::mutex> guard(registry.mutex);
    registry.isEnding = true;
    registry.underWay = registry.actions.size();
    for (auto action = registry.actions.rbegin(); action != registry.actions.rend(); ++action) {
        std::thread([&registry, act = **action] {
            try {
                act();
            } catch (const std::exception&) {
                // It is the end, and nobody listens any more.
            }
            const std::lock_guard<std::mutex> done(registry.mutex);
            --registry.underWay;
            registry.changed.notify_all();
        }).detach();
    }
    registry.changed.wait_for(guard, limit, [&registry] { return registry.underWay == 0; });
}
