#pragma once

#include "framework/base/nuv_header.h"

#include <cstdint>

namespace nuv {

// What a mask scaler calculates with: samples of the picture, of the intermediate picture between
// its two passes, and weights.

// 8 bits. The intermediate has 4 fractional bits, weights have 10.
struct NUV_ScaleI2FixedArithmetic {
    using Sample = std::uint8_t;
    using Middle = std::int16_t;
    using Weight = std::int16_t;

    static constexpr int weight_bits = 10;
    static constexpr int middle_bits = 4;
};

// 16 bits, through double precision.
struct NUV_ScaleI2FloatArithmetic {
    using Sample = std::uint16_t;
    using Middle = double;
    using Weight = double;
};

// The smallest width and height of a picture that a mask goes over, and of one that it makes.
inline constexpr std::uint32_t scale_i2_least_size = 8;

// True for pictures whose samples the mask scalers take: raw, without a palette, unsigned of 8 or
// 16 bits, with 1, 3 or 4 channels.
[[nodiscard]] inline bool has_scale_i2_samples(const NUV_Header& header) noexcept
{
    const std::uint16_t channels = header.channels();
    return header.is_raw() && header.palette().is_empty() &&
           header.data_type() == NUV_DataType::u_integer &&
           (header.bits() == 8 || header.bits() == 16) &&
           (channels == 1 || channels == 3 || channels == 4);
}

// And whose size they take.
[[nodiscard]] inline bool takes_scale_i2(const NUV_Header& header) noexcept
{
    return has_scale_i2_samples(header) && header.width() >= scale_i2_least_size &&
           header.height() >= scale_i2_least_size;
}

// True when `bits` significant bits are fewer than the samples have, 0 meaning all of them.
[[nodiscard]] inline bool limits_bits(const NUV_Header& header, std::uint16_t bits) noexcept
{
    return bits != 0 && bits < header.bits();
}

} // namespace nuv
