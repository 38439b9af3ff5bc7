#pragma once

#include "tests/support/nuv_modelimage.h"

#include <cstdint>
#include <random>
#include <vector>

namespace nuv {

// Bilevel images and their run form, pixel by pixel.

[[nodiscard]] inline std::vector<std::uint8_t> model_run_bytes(NUV_ModelImage image)
{
    image.encode_type = NUV_EncodeType::qd_rle;
    return image.bytes();
}

[[nodiscard]] inline NUV_TestImage run_description(std::uint32_t width, std::uint32_t height)
{
    return {.width = width, .height = height, .bits = 1, .encode_type = NUV_EncodeType::qd_rle};
}

// Black with the given chance, in stretches.
[[nodiscard]] inline NUV_ModelImage random_bilevel(std::uint32_t width, std::uint32_t height,
                                                   std::mt19937& random)
{
    NUV_ModelImage image{width, height, 1, 1};
    std::uniform_int_distribution<int> percent(0, 99);
    const int change = 5 + 95 * percent(random) / 100;
    int black = percent(random) % 2;
    for (std::uint64_t i = 0; i < std::uint64_t{width} * height; ++i) {
        if (percent(random) < change)
            black = 1 - black;
        image.samples.push_back(black);
    }
    return image;
}

} // namespace nuv
