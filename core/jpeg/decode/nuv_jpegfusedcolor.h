#pragma once

// YCbCr to RGB on the coefficients, before the inverse transform.

#include "core/jpeg/decode/nuv_jpegband.h"
#include "core/jpeg/kernels/nuv_jpegprimitives.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace nuv {

// The coefficient blocks of one MCU. There are `across` x `down` luma blocks, one behind the
// other, row by row, and one block each of the others: 1 x 1, 2 x 1 or 2 x 2.
struct NUV_JPEGRGBBlocks {
    const std::int16_t* luma;
    const std::int16_t* blue_difference;
    const std::int16_t* red_difference;
    std::uint32_t across;
    std::uint32_t down;
};

// Puts MCU `mcu` of the row into a band of three components of full size: red, green, blue.
void put_rgb_blocks(const NUV_JPEGRGBBlocks& blocks,
                    const std::array<const NUV_JPEGFactors*, 3>& factors, std::size_t mcu,
                    const NUV_JPEGPrimitives& primitives, NUV_JPEGBand& band) noexcept;

} // namespace nuv
