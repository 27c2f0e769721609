#include "tests/simulation/schedule.h"

#include <algorithm>
#include <array>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace Simulation {

namespace {

struct HappeningRow {
    Happening what;
    std::string_view word;
    unsigned int weight;
};

constexpr std::array<HappeningRow, 10> HAPPENINGS = {{
    {Happening::Fault, "fault", 12},
    {Happening::KillBefore, "kill-before", 3},
    {Happening::KillAfter, "kill-after", 3},
    {Happening::PowerCut, "power-cut", 3},
    {Happening::ClockJump, "clock-jump", 1},
    {Happening::OperatorDeletes, "operator-deletes", 1},
    {Happening::OperatorUnties, "operator-unties", 1},
    {Happening::OperatorMaps, "operator-maps", 1},
    {Happening::StartInit, "start-init", 1},
    {Happening::StartTidy, "start-tidy", 1},
}};

struct ScenarioRow {
    Scenario scenario;
    std::string_view word;
    std::uint64_t effects; ///< about how many there are
};

constexpr std::array<ScenarioRow, 4> SCENARIOS = {{
    {Scenario::Once, "once", 150},
    {Scenario::Twice, "twice", 300},
    {Scenario::Watched, "watched", 400},
    {Scenario::Several, "several", 500},
}};

Event DrawEvent(std::mt19937_64& random, std::uint64_t effects)
{
    Event event;
    event.effect = 1 + random() % effects;
    std::uint64_t sum = 0;
    for (const HappeningRow& row : HAPPENINGS) {
        sum += row.weight;
    }
    std::uint64_t drawn = random() % sum;
    const auto* row = HAPPENINGS.begin();
    for (; drawn >= row->weight; ++row) {
        drawn -= row->weight;
    }
    event.what = row->what;
    event.detail = random() % 1000;
    return event;
}

template <typename Rows, typename Value>
std::string_view WordOf(const Rows& rows, Value Rows::value_type::*member, Value value)
{
    return std::find_if(rows.begin(), rows.end(), [&](const auto& row) { return row.*member == value; })->word;
}

template <typename Rows>
const auto& RowOf(const Rows& rows, std::string_view word)
{
    const auto row = std::find_if(rows.begin(), rows.end(), [&](const auto& each) { return each.word == word; });
    if (row == rows.end()) {
        throw std::invalid_argument("'" + std::string(word) + "' is no part of a schedule");
    }
    return *row;
}

} // namespace

Schedule Draw(std::uint64_t seed)
{
    constexpr std::uint64_t MOST_EVENTS = 4;
    std::mt19937_64 random(seed);
    Schedule schedule;
    schedule.seed = seed;
    const ScenarioRow& scenario = SCENARIOS[random() % SCENARIOS.size()];
    schedule.scenario = scenario.scenario;
    const std::uint64_t count = 1 + random() % MOST_EVENTS;
    for (std::uint64_t i = 0; i < count; ++i) {
        schedule.events.push_back(DrawEvent(random, scenario.effects));
    }
    std::sort(schedule.events.begin(), schedule.events.end(),
              [](const Event& one, const Event& other) { return one.effect < other.effect; });
    return schedule;
}

std::string ToText(const Schedule& schedule)
{
    std::string text = std::to_string(schedule.seed) + " ";
    text += WordOf(SCENARIOS, &ScenarioRow::scenario, schedule.scenario);
    for (const Event& event : schedule.events) {
        text += " " + std::to_string(event.effect) + ":";
        text += WordOf(HAPPENINGS, &HappeningRow::what, event.what);
        text += ":" + std::to_string(event.detail);
    }
    return text;
}

Schedule FromText(const std::string& text)
{
    std::istringstream words(text);
    Schedule schedule;
    std::string word;
    if (!(words >> schedule.seed >> word)) {
        throw std::invalid_argument("a schedule is a number, a scenario and events, as '17 once 12:fault:3'");
    }
    schedule.scenario = RowOf(SCENARIOS, word).scenario;
    while (words >> word) {
        std::istringstream parts(word);
        Event event;
        std::string what;
        char colon = 0;
        if (!(parts >> event.effect >> colon) || !std::getline(parts, what, ':') || !(parts >> event.detail)) {
            throw std::invalid_argument("'" + word + "' is no event, as '12:fault:3' is");
        }
        event.what = RowOf(HAPPENINGS, what).what;
        schedule.events.push_back(event);
    }
    return schedule;
}

} // namespace Simulation
