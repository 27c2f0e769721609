#include "bench/curl_memory.h"

#include <curl/curl.h>

#include <dlfcn.h>

#include <cstdlib>
#include <stdexcept>

namespace {

// What the framework gave libcurl; null until then.
curl_free_callback frameworkFree = nullptr;
curl_realloc_callback frameworkRealloc = nullptr;

thread_local bool isPlain = false;

void Free(void* block)
{
    isPlain ? std::free(block) : frameworkFree(block); // NOLINT: this is an allocator
}

void* Realloc(void* block, size_t size)
{
    return isPlain ? std::realloc(block, size) : frameworkRealloc(block, size); // NOLINT: this is an allocator
}

} // namespace

// Stands in front of libcurl's own for all that the program loads.
extern "C" [[gnu::visibility("default")]] CURLcode
curl_global_init_mem(long flags, curl_malloc_callback allocate, curl_free_callback give, curl_realloc_callback resize,
                     curl_strdup_callback copy, curl_calloc_callback clear)
{
    frameworkFree = give;
    frameworkRealloc = resize;
    const auto own = reinterpret_cast<decltype(&curl_global_init_mem)>(dlsym(RTLD_NEXT, "curl_global_init_mem"));
    return own(flags, allocate, Free, Realloc, copy, clear);
}

PlainCurlMemory::PlainCurlMemory()
{
    if (frameworkFree == nullptr) {
        throw std::logic_error("the framework has not started libcurl");
    }
    isPlain = true;
}

PlainCurlMemory::~PlainCurlMemory()
{
    isPlain = false;
}
