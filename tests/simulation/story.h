#ifndef PRODUCT_STORAGE_TESTS_SIMULATION_STORY_H
#define PRODUCT_STORAGE_TESTS_SIMULATION_STORY_H

#include "tests/simulation/world.h"

#include <string>

namespace Simulation {

/// Plays a schedule: its scenario with its events, then an undisturbed init, a cleanup and a tidy; one in four again.
/// Empty, or which promise did not hold.
std::string Play(const Schedule& schedule, const World::Wishes& wishes, const std::string& folder, SharedPage& page);

/// A command in which an allocation of memory fails.
struct MemoryStory {
    unsigned int which = 0;     ///< an init of a fresh node, a second one, a cleanup or a tidy (0 to 3)
    std::uint64_t failing = 0;  ///< which allocation; none when there are fewer
    bool looksForLeaks = false; ///< runs the command again in the same process, and counts what that holds
};

struct MemoryOutcome {
    std::string problem;           ///< as of Play
    std::uint64_t allocations = 0; ///< that the command made
    std::int64_t heldBlocks = 0;   ///< with looksForLeaks; against another run's
};

/// Runs the command, and then goes on as Play does.
MemoryOutcome PlayWithoutMemory(const MemoryStory& story, const World::Wishes& wishes, const std::string& folder,
                                SharedPage& page);

/// A schedule that breaks a promise as well, with as few events as that takes.
Schedule Shrink(const Schedule& schedule, const World::Wishes& wishes, const std::string& folder, SharedPage& page);

} // namespace Simulation

#endif
