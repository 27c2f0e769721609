#ifndef ZAVSIM_ARRAY_STABLE_HASH_H
#define ZAVSIM_ARRAY_STABLE_HASH_H

#include <cstdint>
#include <string_view>

namespace ZavSim {

/// FNV-1a: a number of a text that is the same in each run and build, so that names made of it stay good.
constexpr std::uint64_t StableHash(std::string_view text) noexcept
{
    std::uint64_t hash = 14695981039346656037ULL;
    for (const char c : text) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    }
    return hash;
}

} // namespace ZavSim

#endif
