#pragma once

#include "tests/support/nuv_modelimage.h"

#include <algorithm>
#include <cstdint>

namespace nuv {

[[nodiscard]] inline NUV_ModelImage model_crop(const NUV_ModelImage& image, std::uint32_t x0,
                                               std::uint32_t y0, std::uint32_t w, std::uint32_t h)
{
    const auto pick = [&](std::uint32_t x, std::uint32_t y, std::uint32_t c) {
        return image.at(x0 + x, y0 + y, c);
    };
    return image.with(std::min(w, image.width - x0), std::min(h, image.height - y0), image.channels,
                      pick);
}

} // namespace nuv
