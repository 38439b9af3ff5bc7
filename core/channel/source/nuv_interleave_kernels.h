#pragma once

#include "framework/base/nuv_cpu.h"

#include <cstddef>
#include <cstdint>

namespace nuv {

// Makes pixels of three bytes of three planes. Every form gives the same bytes and touches nothing
// past the lines.
using InterleaveTriples = void (*)(const std::uint8_t* first, const std::uint8_t* second,
                                   const std::uint8_t* third, std::uint8_t* out,
                                   std::size_t pixels);

inline void interleave_triples_portable(const std::uint8_t* __restrict first,
                                        const std::uint8_t* __restrict second,
                                        const std::uint8_t* __restrict third,
                                        std::uint8_t* __restrict out, std::size_t pixels)
{
    for (std::size_t p = 0; p < pixels; ++p) {
        out[3 * p] = first[p];
        out[3 * p + 1] = second[p];
        out[3 * p + 2] = third[p];
    }
}

#if NUV_X86
void interleave_triples_avx2(const std::uint8_t* first, const std::uint8_t* second,
                             const std::uint8_t* third, std::uint8_t* out, std::size_t pixels);
#endif

[[nodiscard]] inline InterleaveTriples choose_interleave_triples(
    [[maybe_unused]] const NUV_Cpu& cpu)
{
#if NUV_X86
    if (cpu.has_avx2)
        return interleave_triples_avx2;
#endif
    return interleave_triples_portable;
}

} // namespace nuv
