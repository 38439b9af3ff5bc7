#pragma once

#include "framework/base/nuv_cpu.h"

#include <cstddef>
#include <cstdint>

namespace nuv {

// Makes a line of pixels of a line of units: Across x Down pixels each, their luma line by line,
// one Cb, one Cr (TIFF 6.0, section 21). `row` is the line's number in the units, `width` its
// pixels; the last unit may reach beyond them. Every form gives the same bytes and touches nothing
// past the units and the line.
using ExpandChromaUnits = void (*)(const std::uint8_t* units, std::uint8_t* out, std::size_t width,
                                   std::size_t row);

template <std::size_t Across, std::size_t Down>
constexpr std::size_t chroma_unit_bytes = Across* Down + 2;

template <std::size_t Across, std::size_t Down>
void expand_chroma_units_portable(const std::uint8_t* __restrict units,
                                  std::uint8_t* __restrict out, std::size_t width, std::size_t row)
{
    const std::uint8_t* luma = units + row * Across;
    const std::uint8_t* chroma = units + Across * Down;
    const auto put = [&](std::size_t pixels) {
        for (std::size_t i = 0; i < pixels; ++i) {
            out[3 * i] = luma[i];
            out[3 * i + 1] = chroma[0];
            out[3 * i + 2] = chroma[1];
        }
    };
    for (; width >= Across; width -= Across) {
        put(Across);
        luma += chroma_unit_bytes<Across, Down>;
        chroma += chroma_unit_bytes<Across, Down>;
        out += 3 * Across;
    }
    put(width);
}

#if NUV_X86
template <std::size_t Across, std::size_t Down>
NUV_TARGET("avx2")
void expand_chroma_units_avx2(const std::uint8_t* units, std::uint8_t* out, std::size_t width,
                              std::size_t row);
#endif

template <std::size_t Across, std::size_t Down>
[[nodiscard]] ExpandChromaUnits choose_expand_chroma_units([[maybe_unused]] const NUV_Cpu& cpu)
{
#if NUV_X86
    if (cpu.has_avx2)
        return expand_chroma_units_avx2<Across, Down>;
#endif
    return expand_chroma_units_portable<Across, Down>;
}

} // namespace nuv
