#pragma once

#include <cstddef>
#include <cstdint>

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
    // As numbers: what is asked for may reach beyond what the address belongs to.
    const auto first = reinterpret_cast<std::uintptr_t>(address);
    for (std::size_t at = 0; at < size; at += cacheLine)
        prefetch(reinterpret_cast<const void*>(first + at)); // NOLINT(performance-no-int-to-ptr)
    prefetch(reinterpret_cast<const void*>(first + size - 1)); // NOLINT(performance-no-int-to-ptr)
}

}
