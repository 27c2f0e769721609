#include "tests/unit/freed_memory.h"

#include "tests/support/sanitizers.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>

#include <malloc.h>

namespace {

thread_local FreedMemory* current = nullptr;

} // namespace

// The program's way of taking memory and giving it back.

#if !defined(SANITIZES_ADDRESSES) && !defined(SANITIZES_THREADS)

// NOLINTBEGIN(bugprone-reserved-identifier): the C library's name for its own
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void __libc_free(void* block);

extern "C" __attribute__((visibility("default"))) void* malloc(std::size_t size) noexcept
{
    void* const block = __libc_malloc(size);
    FreedMemory::Clear(block);
    return block;
}

extern "C" __attribute__((visibility("default"))) void free(void* block) noexcept
{
    FreedMemory::Inspect(block);
    __libc_free(block);
}
// NOLINTEND(bugprone-reserved-identifier)

#else

void* operator new(std::size_t size)
{
    if (void* const block = operator new(size, std::nothrow)) {
        return block;
    }
    throw std::bad_alloc();
}

void* operator new[](std::size_t size)
{
    return operator new(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    void* const block = std::malloc(size);
    FreedMemory::Clear(block);
    return block;
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return operator new(size, std::nothrow);
}

void operator delete(void* block) noexcept
{
    FreedMemory::Inspect(block);
    std::free(block);
}

void operator delete[](void* block) noexcept
{
    operator delete(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    operator delete(block);
}

void operator delete[](void* block, std::size_t) noexcept
{
    operator delete(block);
}

void operator delete(void* block, const std::nothrow_t&) noexcept
{
    operator delete(block);
}

void operator delete[](void* block, const std::nothrow_t&) noexcept
{
    operator delete(block);
}

#endif

// What is done with it.

FreedMemory::FreedMemory(const std::vector<std::string>& secrets)
{
    for (const std::string& secret : secrets) {
        m_secrets.push_back({secret});
    }
}

void FreedMemory::Watch(FreedMemory* memory)
{
    current = memory;
}

int FreedMemory::Holding(const std::string& secret) const
{
    for (const Secret& candidate : m_secrets) {
        if (candidate.text == secret) {
            return candidate.blocks;
        }
    }
    throw std::invalid_argument("not one of the secrets: " + secret);
}

void FreedMemory::Follow(const std::string& text)
{
    m_followed = text.data();
    m_followedSize = text.size();
    m_wasFreedWiped = false;
}

void FreedMemory::Clear(void* block)
{
    if (current != nullptr && block != nullptr) {
        std::memset(block, 0, malloc_usable_size(block));
    }
}

void FreedMemory::Inspect(void* block)
{
    if (current != nullptr && block != nullptr) {
        current->Inspect(static_cast<char*>(block), malloc_usable_size(block));
    }
}

void FreedMemory::Inspect(char* block, std::size_t size)
{
    if (block == m_followed) {
        m_wasFreedWiped = std::all_of(block, block + m_followedSize, [](char byte) { return byte == '\0'; });
        m_followed = nullptr;
    }
    for (Secret& secret : m_secrets) {
        secret.blocks += memmem(block, size, secret.text.data(), secret.text.size()) != nullptr ? 1 : 0;
    }
}
