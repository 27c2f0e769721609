#ifndef PRODUCT_STORAGE_COMMON_FRAMEWORK_PRODUCT_ROOT_H
#define PRODUCT_STORAGE_COMMON_FRAMEWORK_PRODUCT_ROOT_H

#include "common/framework/export.h"

#include <string>

/// The product's installation root directory, without a final slash. `module` and `requestId` name the caller in log
/// lines. Any thread may call; nothing is thrown.
PRODUCT_FRAMEWORK_API std::string GetVendrixRootPath(const std::string& module, const unsigned long& requestId);

#endif
