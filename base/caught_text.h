#ifndef PRODUCT_STORAGE_BASE_CAUGHT_TEXT_H
#define PRODUCT_STORAGE_BASE_CAUGHT_TEXT_H

#include <string>

namespace Base {

/// What the exception that is being handled says of itself, never empty: for a `catch (...)` block, and only there. A
/// thread's cancellation is no exception: it passes through this function, and so out of the block.
std::string CaughtText();

} // namespace Base

#endif
