#pragma once

#include <cstddef>

namespace vossel {

// Asks for memory that will be read soon, so that several misses of the cache are waited for at
// once. Changes nothing but the time that the reading takes; any address will do.
inline void prefetch(const void* address)
{
    __builtin_prefetch(address);
}

// Likewise for `size` bytes, at least one.
inline void prefetch(const void* address, std::size_t size)
{
    constexpr std::size_t cacheLine = 64;
    const auto* bytes = static_cast<const char*>(address);
    for (std::size_t at = 0; at < size; at += cacheLine)
        prefetch(bytes + at);
    prefetch(bytes + size - 1);
}

}
