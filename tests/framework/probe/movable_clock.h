#ifndef PRODUCT_STORAGE_TESTS_FRAMEWORK_PROBE_MOVABLE_CLOCK_H
#define PRODUCT_STORAGE_TESTS_FRAMEWORK_PROBE_MOVABLE_CLOCK_H

#include <chrono>

namespace Probe {

/// Moves all clocks of the probe, and of the libraries in it, forward by so much.
void LetPass(std::chrono::seconds duration);

} // namespace Probe

#endif
