#pragma once

#include <cstddef>
#include <limits>

// The library's heap policy for programs that are linked with nuv_failingheap.cpp: counted, and
// with one allocation that fails.
namespace nuv {

inline constexpr std::size_t never_fails = std::numeric_limits<std::size_t>::max();
inline std::size_t heap_allocations = 0;        // since somebody set it to 0
inline std::size_t heap_fails_at = never_fails; // the allocation with this number
inline long heap_live = 0;                      // blocks
inline std::size_t heap_largest = 0;            // request, in bytes

} // namespace nuv
