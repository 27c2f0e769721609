#include "cli/watch/watch_service.h"

#include "base/printable_text.h"
#include "common/framework/config_reader.h"

#include <algorithm>
#include <string>

namespace {

// More than a round takes that ends by itself, with commands of the node that end at their limit.
std::chrono::seconds LimitOfRound(std::size_t arrays)
{
    constexpr int LEAST_FOR_A_COMMAND = 180;
    constexpr std::size_t COMMANDS = 5;
    const int command = std::max(ConfigReader::getInt("Shell", "TimeoutSeconds", true), LEAST_FOR_A_COMMAND);
    return std::chrono::seconds(arrays * COMMANDS * static_cast<std::size_t>(command));
}

std::string Status(const std::vector<Preparation::Target>& targets, const Preparation::Outcome& outcome)
{
    std::string status = "prepared on " + std::to_string(targets.size() - outcome.failures.size()) + " of " +
                         std::to_string(targets.size()) + " arrays";
    for (const Preparation::Target& target : targets) {
        const auto failure = outcome.failures.find(&target);
        if (failure != outcome.failures.end()) {
            return status + "; " + failure->second.cause;
        }
    }
    return status;
}

} // namespace

WatchService::WatchService(const Targets& targets)
    : m_targets(targets)
    , m_watchdog(m_manager)
{
    BeginRound();
    const std::chrono::microseconds longest = LimitOfRound(targets.size());
    m_manager.Tell("EXTEND_TIMEOUT_USEC=" + std::to_string(longest.count())); // until it is ready
}

void WatchService::BeginRound()
{
    m_watchdog.Promise(LimitOfRound(m_targets.size()), "a round");
}

void WatchService::EndRound(const Preparation::Outcome& outcome)
{
    // Ready is told each time: a manager that is busy may have missed the first.
    // Whatever came of it: a watch that were started anew until an array answers would repeat a refused login.
    m_manager.Tell("READY=1\nSTATUS=" + Base::Printable(Status(m_targets, outcome)));
}

void WatchService::BeginPause(std::chrono::seconds pause)
{
    constexpr std::chrono::seconds TO_WAKE_UP(60);
    m_watchdog.Promise(pause + TO_WAKE_UP, "a pause");
}

void WatchService::Stop() const
{
    m_manager.Tell("STOPPING=1\nSTATUS=stopping");
}
