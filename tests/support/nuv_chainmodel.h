#pragma once

#include "tests/support/nuv_testchain.h"

#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace nuv {

// An image that stands whole in memory, one entry for each sample, for computing naively what a
// chain is to deliver.
struct NUV_ModelImage {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t channels = 0;
    std::uint16_t bits = 0; // 1, 8 or 16, unsigned
    std::vector<std::uint16_t> samples;

    [[nodiscard]] static NUV_ModelImage random(std::mt19937& random);

    [[nodiscard]] std::uint16_t at(std::uint32_t x, std::uint32_t y, std::uint32_t c) const
    {
        return samples[(std::size_t{y} * width + x) * channels + c];
    }
    // The image of another size whose samples are pick(x, y, c).
    template <class Pick>
    [[nodiscard]] NUV_ModelImage with(std::uint32_t new_width, std::uint32_t new_height,
                                      std::uint16_t new_channels, Pick pick) const
    {
        NUV_ModelImage out{new_width, new_height, new_channels, bits, {}};
        for (std::uint32_t y = 0; y < new_height; ++y) {
            for (std::uint32_t x = 0; x < new_width; ++x) {
                for (std::uint32_t c = 0; c < new_channels; ++c)
                    out.samples.push_back(pick(x, y, c));
            }
        }
        return out;
    }
    // As the library has it: lines of packed samples, 16-bit ones in host order.
    [[nodiscard]] std::vector<std::uint8_t> bytes() const;
    [[nodiscard]] NUV_TestImage description() const;
};

// One operation: how it is appended, and what it does to a whole image. Some need an image of a
// certain kind; the numbers that an operation wants are drawn in `model`, for both.
struct NUV_ModelStage {
    std::string name;
    std::function<bool(const NUV_ModelImage& image)> applies;
    std::function<NUV_ModelImage(const NUV_ModelImage& image, std::mt19937& random,
                                 std::function<bool(NUV_TestChain&)>& append)>
        model;
};

} // namespace nuv
