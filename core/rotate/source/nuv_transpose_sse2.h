#pragma once

#include "framework/base/nuv_cpu.h"

#if NUV_X86

#    include <cstddef>
#    include <emmintrin.h>

namespace nuv {

// 16 rows of 16 bytes to 16 columns of 16 bytes.
NUV_TARGET("sse2")
inline void transpose_bytes(__m128i (&rows)[16])
{
    // Each round takes neighbours of the one half and of the other in turn; after four of them a
    // byte's row has become its place and its place its row.
    for (int round = 0; round < 4; ++round) {
        __m128i mixed[16];
        for (std::size_t i = 0; i < 8; ++i) {
            mixed[2 * i] = _mm_unpacklo_epi8(rows[i], rows[i + 8]);
            mixed[2 * i + 1] = _mm_unpackhi_epi8(rows[i], rows[i + 8]);
        }
        for (std::size_t i = 0; i < 16; ++i)
            rows[i] = mixed[i];
    }
}

// 8 rows of 8 pairs of bytes to 8 columns of 8 pairs, in three such rounds.
NUV_TARGET("sse2")
inline void transpose_pairs(__m128i (&rows)[8])
{
    for (int round = 0; round < 3; ++round) {
        __m128i mixed[8];
        for (std::size_t i = 0; i < 4; ++i) {
            mixed[2 * i] = _mm_unpacklo_epi16(rows[i], rows[i + 4]);
            mixed[2 * i + 1] = _mm_unpackhi_epi16(rows[i], rows[i + 4]);
        }
        for (std::size_t i = 0; i < 8; ++i)
            rows[i] = mixed[i];
    }
}

} // namespace nuv

#endif // NUV_X86
