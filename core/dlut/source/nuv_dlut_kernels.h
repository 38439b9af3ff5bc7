#pragma once

#include "framework/base/nuv_cpu.h"
#include "framework/base/nuv_prefetch.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace nuv {

// Fractions of a step between grid points, and so weights, are in units of 1 / 16384.
inline constexpr int dlut_shift = 14;
inline constexpr std::uint32_t dlut_one = 1U << dlut_shift;
inline constexpr std::uint32_t dlut_half = dlut_one / 2;

// A place on an axis: the grid point below it, above 15 bits of fraction, which reaches one at the
// last point. Grid points stay below 65535.
inline constexpr int dlut_fraction_bits = 15;
inline constexpr std::uint32_t dlut_fraction_mask = (1U << dlut_fraction_bits) - 1;

// A table as the kernels want it: the samples of a point fill up whole groups of four.
template <class T>
struct NUV_DLutGrid {
    const T* samples = nullptr;
    const std::uint32_t* places = nullptr; // of each sample value
    std::array<std::size_t, 4> strides{};  // of each axis, in samples
    std::size_t outputs = 0;               // samples of a pixel of the result
};

// Interpolates `pixels` pixels. The rows do not overlap.
template <class T>
using DLutRow = void (*)(const T* in, T* out, std::size_t pixels, const NUV_DLutGrid<T>& grid);

// A simplex of Inputs + 1 points and their weights, which sum up to one.
template <class T, int Inputs>
struct NUV_Simplex {
    NUV_Simplex(const T* in, const NUV_DLutGrid<T>& grid) noexcept
    {
        // Fractions to be sorted, each with its axis in the low two bits. The order of equal ones
        // does not matter: the point between them gets no weight.
        std::array<std::uint32_t, Inputs> keys{};
        const T* point = grid.samples;
        for (std::uint32_t axis = 0; axis < Inputs; ++axis) {
            const std::uint32_t place = grid.places[in[axis]];
            point += grid.strides[axis] * (place >> dlut_fraction_bits);
            keys[axis] = (place & dlut_fraction_mask) << 2 | axis;
        }
        for (std::size_t end = Inputs - 1; end > 0; --end) {
            for (std::size_t k = 0; k < end; ++k) {
                const std::uint32_t smaller = std::min(keys[k], keys[k + 1]);
                keys[k] = std::max(keys[k], keys[k + 1]);
                keys[k + 1] = smaller;
            }
        }
        std::uint32_t above = dlut_one;
        for (std::size_t k = 0; k < Inputs; ++k) {
            points[k] = point;
            weights[k] = above - (keys[k] >> 2);
            above = keys[k] >> 2;
            point += grid.strides[keys[k] & 3];
        }
        points[Inputs] = point;
        weights[Inputs] = above;
    }

    std::array<const T*, Inputs + 1> points;
    std::array<std::uint32_t, Inputs + 1> weights;
};

template <class T, int Inputs>
void dlut_row_portable(const T* in, T* out, std::size_t pixels, const NUV_DLutGrid<T>& grid)
{
    const std::size_t outputs = grid.outputs;
    for (std::size_t i = 0; i < pixels; ++i, in += Inputs, out += outputs) {
        const NUV_Simplex<T, Inputs> simplex(in, grid);
        for (std::size_t j = 0; j < outputs; j += 4) {
            // At most 65535 x 16384 + 8192: it fits 32 bits, and what comes out fits a sample.
            std::array<std::uint32_t, 4> sums{dlut_half, dlut_half, dlut_half, dlut_half};
            for (std::size_t k = 0; k <= Inputs; ++k) {
                for (std::size_t c = 0; c < 4; ++c)
                    sums[c] += simplex.points[k][j + c] * simplex.weights[k];
            }
            const std::size_t count = std::min<std::size_t>(4, outputs - j);
            for (std::size_t c = 0; c < count; ++c)
                out[j + c] = static_cast<T>(sums[c] >> dlut_shift);
        }
    }
}

#if NUV_X86
// Three inputs, and 1, 3 or 4 outputs; the table has fewer than 2^29 points.
void dlut_row_avx2(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                   const NUV_DLutGrid<std::uint8_t>& grid);
void dlut_row_avx2(const std::uint16_t* in, std::uint16_t* out, std::size_t pixels,
                   const NUV_DLutGrid<std::uint16_t>& grid);
#endif

template <class T>
[[nodiscard]] DLutRow<T> choose_dlut_row_portable(std::uint32_t inputs) noexcept
{
    switch (inputs) {
    case 1:
        return dlut_row_portable<T, 1>;
    case 2:
        return dlut_row_portable<T, 2>;
    case 3:
        return dlut_row_portable<T, 3>;
    default:
        return dlut_row_portable<T, 4>;
    }
}

// The fastest form that `cpu` can run, for 1 to 4 inputs and a table of `points` points.
template <class T>
[[nodiscard]] DLutRow<T> choose_dlut_row([[maybe_unused]] const NUV_Cpu& cpu, std::uint32_t inputs,
                                         [[maybe_unused]] std::uint32_t outputs,
                                         [[maybe_unused]] std::size_t points) noexcept
{
#if NUV_X86
    const bool is_served = outputs == 1 || outputs == 3 || outputs == 4;
    if (cpu.has_avx2 && inputs == 3 && is_served && points < (std::size_t{1} << 29))
        return dlut_row_avx2;
#endif
    return choose_dlut_row_portable<T>(inputs);
}

} // namespace nuv
