#pragma once

#include "tests/support/nuv_chainmodel.h"

#include <cstdint>
#include <random>
#include <vector>

namespace nuv {

// Bilevel images and their run form, pixel by pixel.

inline void append_record(std::vector<std::uint8_t>& bytes, std::uint32_t start, std::uint32_t end)
{
    for (const std::uint32_t word : {start, end}) {
        for (int shift = 0; shift < 32; shift += 8)
            bytes.push_back(static_cast<std::uint8_t>(word >> shift));
    }
}

[[nodiscard]] inline std::vector<std::uint8_t> model_run_bytes(const NUV_ModelImage& image)
{
    std::vector<std::uint8_t> bytes;
    for (std::uint32_t y = 0; y < image.height; ++y) {
        for (std::uint32_t x = 0; x < image.width; ++x) {
            if (image.at(x, y, 0) == 0 || (x > 0 && image.at(x - 1, y, 0) != 0))
                continue;
            std::uint32_t end = x;
            while (end + 1 < image.width && image.at(end + 1, y, 0) != 0)
                ++end;
            append_record(bytes, x, end);
        }
        append_record(bytes, 0xFFFFFFFF, 0xFFFFFFFF);
    }
    return bytes;
}

[[nodiscard]] inline NUV_TestImage run_description(std::uint32_t width, std::uint32_t height)
{
    return {.width = width, .height = height, .bits = 1, .encode_type = NUV_EncodeType::qd_rle};
}

// Black with the given chance, in stretches.
[[nodiscard]] inline NUV_ModelImage random_bilevel(std::uint32_t width, std::uint32_t height,
                                                   std::mt19937& random)
{
    NUV_ModelImage image{width, height, 1, 1, {}};
    std::uniform_int_distribution<int> percent(0, 99);
    const int change = 5 + 95 * percent(random) / 100;
    int black = percent(random) % 2;
    for (std::uint64_t i = 0; i < std::uint64_t{width} * height; ++i) {
        if (percent(random) < change)
            black = 1 - black;
        image.samples.push_back(static_cast<std::uint16_t>(black));
    }
    return image;
}

} // namespace nuv
