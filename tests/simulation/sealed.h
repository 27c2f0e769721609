#ifndef PRODUCT_STORAGE_TESTS_SIMULATION_SEALED_H
#define PRODUCT_STORAGE_TESTS_SIMULATION_SEALED_H

#include <string>

namespace Simulation {

inline const std::string PASSWORD = "zavsim-admin";

/// How a password stands in an environment here, so that a search for it finds where it should not be; and back.
inline std::string Turned(const std::string& text)
{
    return {text.rbegin(), text.rend()};
}

} // namespace Simulation

#endif
