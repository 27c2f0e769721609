#ifndef PRODUCT_STORAGE_TESTS_FUZZ_SUPPORT_REQUIRE_H
#define PRODUCT_STORAGE_TESTS_FUZZ_SUPPORT_REQUIRE_H

#include <cstdlib>
#include <iostream>
#include <string_view>

namespace Fuzz {

/// Ends the program when `isTrue` does not hold, which is how an engine learns that an input is one to keep. An
/// exception that leaves a target does the same.
inline void Require(bool isTrue, std::string_view property)
{
    if (!isTrue) {
        std::cerr << "This must hold and does not: " << property << std::endl;
        std::abort();
    }
}

} // namespace Fuzz

#endif
