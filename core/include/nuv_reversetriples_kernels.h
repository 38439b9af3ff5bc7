#pragma once

#include "framework/base/nuv_cpu.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace nuv {

// Turns the three bytes of each pixel around: blue, green, red become red, green, blue. The rows do
// not overlap. Every form gives the same bytes and touches nothing past the rows.
using ReverseTriples = void (*)(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels);

// All pixels but the last one are turned as words of four bytes: the fourth is a zero that the next
// pixel overwrites.
inline void reverse_triples_portable(const std::uint8_t* __restrict in,
                                     std::uint8_t* __restrict out, std::size_t pixels)
{
    std::size_t p = 0;
    for (; std::endian::native == std::endian::little && p + 1 < pixels; ++p) {
        std::uint32_t pixel = 0;
        std::memcpy(&pixel, in + 3 * p, sizeof(pixel));
        pixel = __builtin_bswap32(pixel) >> 8;
        std::memcpy(out + 3 * p, &pixel, sizeof(pixel));
    }
    for (; p < pixels; ++p) {
        for (std::size_t c = 0; c < 3; ++c)
            out[3 * p + c] = in[3 * p + 2 - c];
    }
}

#if NUV_X86
void reverse_triples_avx2(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels);
#endif

// Calls visit.operator()<Form>() with the fastest form that `cpu` can run, for a caller whose rows
// go through functions of another signature.
template <class Visit>
auto visit_reverse_triples([[maybe_unused]] const NUV_Cpu& cpu, Visit&& visit)
{
#if NUV_X86
    if (cpu.has_avx2)
        return visit.template operator()<reverse_triples_avx2>();
#endif
    return visit.template operator()<reverse_triples_portable>();
}

} // namespace nuv
