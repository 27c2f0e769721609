#ifndef PRODUCT_STORAGE_BENCH_CURL_MEMORY_H
#define PRODUCT_STORAGE_BENCH_CURL_MEMORY_H

/// The framework starts libcurl with memory functions that wipe what is given back, and libcurl has one set of them for
/// the whole process. Within the life of an object of this class the calling thread's blocks are given back as they
/// are, as where libcurl is used by hand. Both kinds of functions take the C library's blocks, so that either may give
/// back what the other made.
class PlainCurlMemory {
public:
    /// Throws std::logic_error where libcurl was started by somebody else than the framework: there is nothing to
    /// compare with then.
    PlainCurlMemory();
    PlainCurlMemory(const PlainCurlMemory&) = delete;
    PlainCurlMemory& operator=(const PlainCurlMemory&) = delete;
    ~PlainCurlMemory();
};

#endif
