#ifndef PRODUCT_STORAGE_COMMON_FRAMEWORK_EXPORT_H
#define PRODUCT_STORAGE_COMMON_FRAMEWORK_EXPORT_H

/// Marks what a library that provides the product framework exports, so that it can hide everything else.
#define PRODUCT_FRAMEWORK_API __attribute__((visibility("default")))

#endif
