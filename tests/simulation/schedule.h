#ifndef PRODUCT_STORAGE_TESTS_SIMULATION_SCHEDULE_H
#define PRODUCT_STORAGE_TESTS_SIMULATION_SCHEDULE_H

#include <cstdint>
#include <string>
#include <vector>

namespace Simulation {

/// What happens at one effect.
enum class Happening {
    Fault,           ///< what can go wrong with an effect of its kind; `detail` draws which
    KillBefore,      ///< the process is killed before the effect
    KillAfter,       ///< the process is killed right behind it
    PowerCut,        ///< the node loses its power: processes, sessions, and what was not flushed
    ClockJump,       ///< wall clock and steady clock go on by themselves
    OperatorDeletes, ///< somebody deletes one of our objects on the array
    OperatorUnties,  ///< somebody takes one of our associations away
    OperatorMaps,    ///< somebody puts a LUN into our LUN group
    StartInit,       ///< a further process
    StartTidy,
};

struct Event {
    std::uint64_t effect = 0; ///< counts from 1, over all processes
    Happening what = Happening::Fault;
    std::uint64_t detail = 0;
};

enum class Scenario { Once, Twice, Watched, Several };

/// All that chance decides. The same schedule gives the same run.
struct Schedule {
    std::uint64_t seed = 0; ///< of random bytes, and of the order of processes
    Scenario scenario = Scenario::Once;
    std::vector<Event> events; ///< by effect
};

Schedule Draw(std::uint64_t seed);

/// One line, "17 several 12:fault:3 40:kill-after:0", and back. Throws std::invalid_argument.
std::string ToText(const Schedule& schedule);
Schedule FromText(const std::string& text);

} // namespace Simulation

#endif
