#include "framework/http/curl_library.h"

#include "base/files.h"

#include <malloc.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace Framework {

namespace {

// The memory functions that libcurl is given. All that a block holds is overwritten before it is given back.

void FreeWiped(void* block)
{
    if (block != nullptr) {
        explicit_bzero(block, ::malloc_usable_size(block));
        std::free(block); // NOLINT: this is an allocator
    }
}

// A block that grows is always moved, because realloc would give the old one back as it is.
void* ReallocWiped(void* block, size_t size)
{
    void* const larger = std::malloc(std::max<size_t>(size, 1)); // NOLINT: this is an allocator
    if (larger == nullptr || block == nullptr) {
        return larger;
    }
    std::memcpy(larger, block, std::min(size, ::malloc_usable_size(block)));
    FreeWiped(block);
    return larger;
}

char* CopyText(const char* text)
{
    return ::strdup(text);
}

void InitialiseOnce()
{
    static std::once_flag isInitialised;
    std::call_once(isInitialised, curl_global_init_mem, CURL_GLOBAL_DEFAULT, std::malloc, FreeWiped, ReallocWiped,
                   CopyText, std::calloc);
}

// libcurl's own would be inherited by every program that the process starts, and keep the connection open.
curl_socket_t OpenSocket(void* /*unused*/, curlsocktype /*purpose*/, curl_sockaddr* address)
{
    return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

} // namespace

CurlHandle MakeCurlHandle()
{
    InitialiseOnce();
    CurlHandle handle(curl_easy_init());
    if (handle != nullptr) {
        curl_easy_setopt(handle.get(), CURLOPT_OPENSOCKETFUNCTION, OpenSocket);
    }
    return handle;
}

CurlMultiHandle MakeCurlMultiHandle()
{
    InitialiseOnce();
    return CurlMultiHandle(curl_multi_init());
}

std::string FailureText(CURL* curl, CURLcode code, const char* details)
{
    std::string text = *details != '\0' ? details : curl_easy_strerror(code);
    long systemError = 0;
    if (code == CURLE_COULDNT_CONNECT && curl_easy_getinfo(curl, CURLINFO_OS_ERRNO, &systemError) == CURLE_OK &&
        systemError != 0) {
        text += ": " + Base::ErrorText(static_cast<int>(systemError));
    }
    return text;
}

} // namespace Framework
