#ifndef PRODUCT_STORAGE_CLI_CONSOLE_WITHIN_H
#define PRODUCT_STORAGE_CLI_CONSOLE_WITHIN_H

#include <chrono>
#include <functional>
#include <vector>

/// Whether `work`, which runs on a thread of its own and throws nothing, ended within `limit`. It goes on when it did
/// not, and may use nothing that ends before the process does.
bool EndsWithin(std::chrono::milliseconds limit, std::function<void()> work);

/// The same for several that run side by side: which of them ended within `limit`, which is that of all together.
std::vector<bool> WhichEndWithin(std::chrono::milliseconds limit, std::vector<std::function<void()>> works);

/// Whether one that did not end within its limit goes on still: what is static must not be destroyed then.
bool DoesAnyGoOn();

#endif
