#pragma once

#include "framework/utility/nuv_endian.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace nuv {

// The byte order of samples in host order; any other stands for the opposite one.
inline constexpr std::int32_t host_byte_order = 1;

// Reverses the bytes of each whole sample. A rest at the end stays as it is.
inline void reverse_samples(std::uint8_t* data, std::size_t bytes, std::size_t sample_bytes)
{
    const std::size_t samples = bytes / sample_bytes;
    if (sample_bytes == 2 || sample_bytes == 4 || sample_bytes == 8) {
        swap_bytes(data, samples, sample_bytes);
        return;
    }
    for (std::size_t i = 0; i < samples; ++i)
        std::reverse(data + i * sample_bytes, data + (i + 1) * sample_bytes);
}

} // namespace nuv
