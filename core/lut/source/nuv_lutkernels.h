#pragma once

#include "framework/base/nuv_cpu.h"

#include <cstddef>
#include <cstdint>

namespace nuv {

// Entries are moved, never calculated with, so that their width alone matters: a float travels as
// 32 bits. The same holds for samples, which index the table by their bits; the table of signed
// samples stands with its halves exchanged.

// out[i] = table[in[i]], i < count. The table has an entry for every I. The rows do not overlap.
template <class I, class O>
using LutRow = void (*)(const I* in, O* out, std::size_t count, const O* table);

template <class I, class O>
void lut_row_portable(const I* in, O* out, std::size_t count, const O* table)
{
    for (std::size_t i = 0; i < count; ++i)
        out[i] = table[in[i]];
}

// One channel of a line of `pixels` pixels of `stride` samples.
template <class I, class O>
void lut_channel(const I* in, O* out, std::size_t pixels, std::size_t stride, const O* table)
{
    for (std::size_t i = 0; i < pixels * stride; i += stride)
        out[i] = table[in[i]];
}

void lut_row_avx2(const std::uint8_t* in, std::uint8_t* out, std::size_t count,
                  const std::uint8_t* table);

// The fastest form that `cpu` can run.
template <class I, class O>
[[nodiscard]] LutRow<I, O> choose_lut_row([[maybe_unused]] const NUV_Cpu& cpu) noexcept
{
#if NUV_X86
    if constexpr (sizeof(I) == 1 && sizeof(O) == 1) {
        if (cpu.has_avx2)
            return lut_row_avx2;
    }
#endif
    return lut_row_portable<I, O>;
}

} // namespace nuv
