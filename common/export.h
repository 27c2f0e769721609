#ifndef PRODUCT_STORAGE_COMMON_EXPORT_H
#define PRODUCT_STORAGE_COMMON_EXPORT_H

/// Marks what libProductStorage.so exports; everything else in it is hidden.
#define PRODUCT_STORAGE_API __attribute__((visibility("default")))

/// Keeps a helper inside an exported class from being exported with it.
#define PRODUCT_STORAGE_LOCAL __attribute__((visibility("hidden")))

#endif
