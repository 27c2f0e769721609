#ifndef PRODUCT_STORAGE_BENCH_CHILD_H
#define PRODUCT_STORAGE_BENCH_CHILD_H

#include <string>
#include <vector>

/// What a program took of the machine, its own children that it waited for included.
struct ChildUsage {
    double cpuSeconds = 0;
    double peakBytes = 0; ///< of the largest of them, and of the calling process as it started them
};

/// Runs a program to its end; what it prints is dropped. Throws std::runtime_error when it does not end with 0.
ChildUsage RunChild(std::vector<std::string> words);

#endif
