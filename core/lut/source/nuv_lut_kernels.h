#pragma once

#include "framework/base/nuv_cpu.h"
#include "framework/base/nuv_prefetch.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace nuv {

// Entries are moved, never calculated with, so that their width alone matters: a float travels as
// 32 bits. The same holds for samples, which index the table by their bits; the table of signed
// samples stands with its halves exchanged.

// Looks up `pixels` pixels of `channels` samples, each channel in a table of its own. The tables
// follow one another and have an entry for every I. The rows do not overlap.
template <class I, class O>
using LutRow = void (*)(const I* in, O* out, std::size_t pixels, std::size_t channels,
                        const O* tables);

// Of Channels channels; 0 is what the call says.
template <class I, class O, std::size_t Channels>
inline void look_up_pixels(const I* in, O* out, std::size_t pixels, std::size_t asked,
                           const O* tables)
{
    constexpr std::size_t range = std::size_t{1} << (8 * sizeof(I));
    const std::size_t channels = Channels > 0 ? Channels : asked;
    std::size_t i = 0;
    if constexpr (Channels == 1) { // in groups of four
        for (; i + 4 <= pixels; i += 4, in += 4, out += 4) {
            const O found[4] = {tables[in[0]], tables[in[1]], tables[in[2]], tables[in[3]]};
            std::copy_n(found, 4, out);
        }
    }
    for (; i < pixels; ++i, in += channels, out += channels) {
        for (std::size_t c = 0; c < channels; ++c)
            out[c] = tables[c * range + in[c]];
    }
}

template <class I, class O, std::size_t Channels = 0>
void lut_row_portable(const I* in, O* out, std::size_t pixels, std::size_t asked, const O* tables)
{
    constexpr std::size_t block = 32;
    const std::size_t channels = Channels > 0 ? Channels : asked;
    const std::size_t samples = block * channels;
    for (; pixels >= block; pixels -= block, in += samples, out += samples) {
        prefetch_ahead(in, samples * sizeof(I));
        prefetch_ahead(out, samples * sizeof(O));
        look_up_pixels<I, O, Channels>(in, out, block, asked, tables);
    }
    look_up_pixels<I, O, Channels>(in, out, pixels, asked, tables);
}

#if NUV_X86
// One channel.
void lut_row_avx2(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                  std::size_t channels, const std::uint8_t* tables);
// One to four channels.
void lut_row_avx512vbmi(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                        std::size_t channels, const std::uint8_t* tables);
// One channel.
void lut_row_to_16_avx512vbmi(const std::uint8_t* in, std::uint16_t* out, std::size_t pixels,
                              std::size_t channels, const std::uint16_t* entries);
#endif

// The fastest form that `cpu` can run.
template <class I, class O>
[[nodiscard]] LutRow<I, O> choose_lut_row([[maybe_unused]] const NUV_Cpu& cpu,
                                          std::size_t channels) noexcept
{
#if NUV_X86
    if constexpr (sizeof(I) == 1 && sizeof(O) == 1) {
        if (cpu.has_avx512vbmi && channels <= 4)
            return lut_row_avx512vbmi;
        if (cpu.has_avx2 && channels == 1)
            return lut_row_avx2;
    }
    if constexpr (sizeof(I) == 1 && sizeof(O) == 2) {
        if (cpu.has_avx512vbmi && channels == 1)
            return lut_row_to_16_avx512vbmi;
    }
#endif
    if (channels == 1)
        return lut_row_portable<I, O, 1>;
    return channels == 3 ? lut_row_portable<I, O, 3> : lut_row_portable<I, O>;
}

} // namespace nuv
