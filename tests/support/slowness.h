#ifndef PRODUCT_STORAGE_TESTS_SUPPORT_SLOWNESS_H
#define PRODUCT_STORAGE_TESTS_SUPPORT_SLOWNESS_H

#include "tests/support/sanitizers.h"

/// How many times as long things may take, but for waits, in the build that this is compiled for.
#if defined(SANITIZES_ADDRESSES) || defined(SANITIZES_THREADS)
inline constexpr double SLOWNESS = 4;
#else
inline constexpr double SLOWNESS = 1;
#endif

#endif
