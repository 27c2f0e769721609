#ifndef PRODUCT_STORAGE_COMMON_FRAMEWORK_RANDOM_BYTES_H
#define PRODUCT_STORAGE_COMMON_FRAMEWORK_RANDOM_BYTES_H

#include "common/framework/export.h"

/// Fills `count` bytes at `buffer` with cryptographically random data. Returns a positive value on success; 0 or less
/// on failure, when the buffer's content is undefined. Any thread may call.
PRODUCT_FRAMEWORK_API int getRandBytes(unsigned char* buffer, unsigned int count);

#endif
