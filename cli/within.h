#ifndef PRODUCT_STORAGE_CLI_WITHIN_H
#define PRODUCT_STORAGE_CLI_WITHIN_H

#include <chrono>
#include <functional>

/// Whether `work`, which runs on a thread of its own and throws nothing, ended within `limit`. It goes on when it did
/// not, and may use nothing that ends before the process does.
bool EndsWithin(std::chrono::milliseconds limit, std::function<void()> work);

#endif
