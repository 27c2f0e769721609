#ifndef PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_PROBE_H
#define PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_PROBE_H

#include "tests/support/process.h"

/// The program that uses the framework in ways that a test's own process cannot.
inline std::string ProbePath()
{
    return FRAMEWORK_PROBE;
}

#endif
