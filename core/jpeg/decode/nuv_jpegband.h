#pragma once

#include "core/jpeg/decode/nuv_jpeggeometry.h"
#include "core/jpeg/kernels/nuv_jpegsamples.h"
#include "core/jpeg/stream/nuv_jpegcodes.h"
#include "core/jpeg/stream/nuv_jpegmemory.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

// Dequantisation factors of a component in natural order.
using NUV_JPEGFactors = std::array<std::int16_t, 64>;

// The samples of one MCU row, component by component, at the size that each was coded in. What no
// block is put over stays: 128 at first, then what the row above has left there.
class NUV_JPEGBand {
public:
    // `delivered` of the components from `first` on make up the lines; the others are left out.
    [[nodiscard]] NUV_JPEGCode open(const NUV_JPEGAllocator& allocator,
                                    const NUV_JPEGGeometry& geometry, std::size_t first,
                                    std::size_t delivered,
                                    const NUV_JPEGSampleForms& forms) noexcept;
    void close() noexcept;

    [[nodiscard]] bool delivers(std::size_t component) const noexcept
    {
        return component - first_ < delivered_;
    }
    // Transforms a block into its place, counted in blocks within the row. `reached` is the number
    // of its coefficients, from the first one, behind which there are only zeros.
    void put_block(std::size_t component, std::size_t across, std::size_t down,
                   const std::int16_t* coefficients, const NUV_JPEGFactors& factors,
                   std::uint32_t reached) noexcept;
    // The same for samples without the level shift, of an 8 x 8 block.
    void put_sample_block(std::size_t component, std::size_t across, std::size_t down,
                          const std::int16_t* samples) noexcept;

    // Line `line` of the row, counted from 0, as interleaved pixels.
    void get_line(std::size_t line, std::uint8_t* out) const noexcept;
    // Whether there are three components, and two pixels of a line share a sample of the second and
    // one of the third.
    [[nodiscard]] bool has_half_planes() const noexcept;
    // The same line, if so, component by component, each from the geometry's width behind the one
    // before on.
    void get_planes(std::size_t line, std::uint8_t* out) const noexcept;

private:
    struct Rows {
        std::uint8_t* samples = nullptr;
        std::size_t stride = 0;       // bytes
        std::size_t side = 0;         // of a block
        std::uint8_t* wide = nullptr; // a line at the width of the picture, where it needs one
    };

    [[nodiscard]] const std::uint8_t* stored_line(std::size_t component,
                                                  std::size_t line) const noexcept;
    [[nodiscard]] const std::uint8_t* wide_line(std::size_t component,
                                                std::size_t line) const noexcept;
    [[nodiscard]] std::uint8_t* place(const Rows& rows, std::size_t across,
                                      std::size_t down) const noexcept
    {
        return rows.samples + down * rows.side * rows.stride + across * rows.side;
    }

    NUV_JPEGGeometry geometry_;
    std::size_t first_ = 0;
    std::size_t delivered_ = 0;
    const NUV_JPEGSampleForms* forms_ = nullptr;
    std::array<Rows, jpeg_most_components> rows_;
    NUV_JPEGMemory<std::uint8_t> memory_;
};

} // namespace nuv
