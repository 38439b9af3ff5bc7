#pragma once

#include <cstddef>
#include <cstdint>

namespace nuv {

// Asks for the memory that a loop over a line of samples comes to `ahead` bytes later, to read it
// or to write over it: `bytes` from there on. Lines that a caller lends lie one behind the other,
// in memory that is larger than any cache, and a loop with more than a few instructions a sample
// would wait for each piece of it. Where there is nothing, nothing happens.
inline void prefetch_ahead(const void* at, std::size_t bytes, std::size_t ahead = 2048) noexcept
{
    constexpr std::size_t piece = 64;
    const auto begin = reinterpret_cast<std::uintptr_t>(at) + ahead;
    for (std::size_t i = 0; i < bytes; i += piece) {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): an address that need not be in any object
        __builtin_prefetch(reinterpret_cast<const void*>(begin + i));
    }
}

} // namespace nuv
