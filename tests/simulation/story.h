#ifndef PRODUCT_STORAGE_TESTS_SIMULATION_STORY_H
#define PRODUCT_STORAGE_TESTS_SIMULATION_STORY_H

#include "tests/simulation/world.h"

#include <string>

namespace Simulation {

/// Plays a schedule: its scenario with its events, then an undisturbed init, a cleanup and a tidy; one in four again.
/// Empty, or which promise did not hold.
std::string Play(const Schedule& schedule, const World::Wishes& wishes, const std::string& folder, SharedPage& page);

/// Runs an init, a second one, a cleanup or a tidy (`which`: 0 to 3) on a fresh or prepared node, in which the n-th
/// allocation of memory fails, and then as Play does. `allocations` receives how many the command made.
std::string PlayWithoutMemory(unsigned int which, std::uint64_t n, const World::Wishes& wishes,
                              const std::string& folder, SharedPage& page, std::uint64_t& allocations);

/// A schedule that breaks a promise as well, with as few events as that takes.
Schedule Shrink(const Schedule& schedule, const World::Wishes& wishes, const std::string& folder, SharedPage& page);

} // namespace Simulation

#endif
