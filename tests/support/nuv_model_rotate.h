#pragma once

#include "tests/support/nuv_modelimage.h"

#include <cstdint>

namespace nuv {

// Turned clockwise by 0, 90, 180 or 270 degrees: where each pixel of the result comes from.
[[nodiscard]] inline NUV_ModelImage model_rotate(const NUV_ModelImage& image, int angle)
{
    const std::uint32_t w = image.width;
    const std::uint32_t h = image.height;
    const bool exchanges = angle == 90 || angle == 270;
    return image.with(exchanges ? h : w, exchanges ? w : h, image.channels,
                      [&](std::uint32_t x, std::uint32_t y, std::uint32_t c) {
                          switch (angle) {
                          case 90:
                              return image.at(y, h - 1 - x, c);
                          case 180:
                              return image.at(w - 1 - x, h - 1 - y, c);
                          case 270:
                              return image.at(w - 1 - y, x, c);
                          default:
                              return image.at(x, y, c);
                          }
                      });
}

} // namespace nuv
