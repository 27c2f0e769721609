#ifndef PRODUCT_STORAGE_TESTS_SIMULATION_SHARED_PAGE_H
#define PRODUCT_STORAGE_TESTS_SIMULATION_SHARED_PAGE_H

#include <cstdint>

namespace Simulation {

/// What a world and the processes of its node look at together. Only one of them runs at a time: the world, or the one
/// process that it has answered.
struct SharedPage {
    std::int64_t steadyNanoseconds = 0;
    std::int64_t wallNanoseconds = 0; ///< since the epoch

    std::uint64_t effects = 0;           ///< how many there were
    std::uint64_t nextEvent = 0;         ///< no effect before this one is disturbed
    std::uint64_t allocations = 0;       ///< of the processes' simulated threads, so far
    std::uint64_t failingAllocation = 0; ///< the one that fails; 0: none
    std::int64_t heldBlocks = 0;         ///< what the last process had allocated and not freed when it ended
    bool runsAgain = false;              ///< processes run their command again, undisturbed, before they end

    bool asksForAll = true; ///< also for effects on files that nobody disturbs
};

} // namespace Simulation

#endif
