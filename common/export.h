#ifndef PRODUCT_STORAGE_COMMON_EXPORT_H
#define PRODUCT_STORAGE_COMMON_EXPORT_H

/// Marks what libProductStorage.so exports; everything else in it is hidden.
#define PRODUCT_STORAGE_API __attribute__((visibility("default")))

#endif
