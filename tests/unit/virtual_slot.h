#ifndef PRODUCT_STORAGE_TESTS_UNIT_VIRTUAL_SLOT_H
#define PRODUCT_STORAGE_TESTS_UNIT_VIRTUAL_SLOT_H

#include <cstddef>
#include <cstring>

/// The place of a virtual operation among its class's, from 0; a destructor takes two. Programs that were built against
/// the library call its operations by their places.
template <typename Member>
std::ptrdiff_t SlotOf(Member member)
{
    std::ptrdiff_t words[sizeof(member) / sizeof(std::ptrdiff_t)] = {};
    std::memcpy(words, &member, sizeof(member));
    return (words[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void*)); // as the Itanium ABI encodes it
}

#endif
