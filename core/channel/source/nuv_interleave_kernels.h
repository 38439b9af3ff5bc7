#pragma once

#include "framework/base/nuv_cpu.h"

#include <cstddef>
#include <cstdint>

namespace nuv {

// Makes pixels of three samples of three planes. Every form gives the same bytes and touches
// nothing past the lines.
template <class T>
using InterleaveTriples = void (*)(const T* first, const T* second, const T* third, T* out,
                                   std::size_t pixels);

template <class T>
void interleave_triples_portable(const T* __restrict first, const T* __restrict second,
                                 const T* __restrict third, T* __restrict out, std::size_t pixels)
{
    for (std::size_t p = 0; p < pixels; ++p) {
        out[3 * p] = first[p];
        out[3 * p + 1] = second[p];
        out[3 * p + 2] = third[p];
    }
}

#if NUV_X86
template <class T>
NUV_TARGET("avx2")
void interleave_triples_avx2(const T* first, const T* second, const T* third, T* out,
                             std::size_t pixels);
#endif

template <class T>
[[nodiscard]] InterleaveTriples<T> choose_interleave_triples([[maybe_unused]] const NUV_Cpu& cpu)
{
#if NUV_X86
    if (cpu.has_avx2)
        return interleave_triples_avx2<T>;
#endif
    return interleave_triples_portable<T>;
}

} // namespace nuv
