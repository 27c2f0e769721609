#ifndef PRODUCT_STORAGE_TESTS_SUPPORT_SANITIZERS_H
#define PRODUCT_STORAGE_TESTS_SUPPORT_SANITIZERS_H

// Which sanitizer this is compiled with; g++ and clang++ tell it in words of their own.
#if defined(__SANITIZE_ADDRESS__)
#define SANITIZES_ADDRESSES
#endif
#if defined(__SANITIZE_THREAD__)
#define SANITIZES_THREADS
#endif
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define SANITIZES_ADDRESSES
#endif
#if __has_feature(thread_sanitizer)
#define SANITIZES_THREADS
#endif
#endif

#endif
