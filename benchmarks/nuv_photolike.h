#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace nuv {

// Red, green and blue pixels with the statistics of a photograph, the same on every machine: value
// noise whose octaves fall off as 1/f, colours that change more slowly than brightness, some hard
// edges and a little sensor noise.
class NUV_PhotoLike {
public:
    NUV_PhotoLike(std::uint32_t width, std::uint32_t height)
        : width_(width),
          pixels_(std::size_t{3} * width * height)
    {
        std::vector<int> luma(width);
        std::vector<int> red(width);
        std::vector<int> blue(width);
        for (std::uint32_t y = 0; y < height; ++y) {
            std::fill(luma.begin(), luma.end(), 0);
            std::fill(red.begin(), red.end(), 0);
            std::fill(blue.begin(), blue.end(), 0);
            for (std::uint32_t octave = 1; octave <= 9; ++octave) {
                add_octave(luma, y, octave, 1, 28 + octave * octave + 8 * octave);
                if (octave >= 5) {
                    add_octave(red, y, octave, 2, octave * octave / 2);
                    add_octave(blue, y, octave, 3, octave * octave / 2);
                }
            }
            finish_line(y, luma, red, blue);
        }
    }

    [[nodiscard]] const std::vector<std::uint8_t>& pixels() const noexcept { return pixels_; }

private:
    static std::uint32_t hash(std::uint32_t x, std::uint32_t y, std::uint32_t seed) noexcept
    {
        std::uint32_t h = x * 0x9E3779B1U ^ y * 0x85EBCA77U ^ seed * 0xC2B2AE3DU;
        h ^= h >> 15;
        h *= 0x2C1B3C6DU;
        h ^= h >> 12;
        h *= 0x297A2D39U;
        return h ^ h >> 15;
    }

    // -128 to 127 at the corner of a lattice cell.
    static int corner(std::uint32_t x, std::uint32_t y, std::uint32_t seed) noexcept
    {
        return static_cast<int>(hash(x, y, seed) & 255U) - 128;
    }

    // Cells of 2^octave pixels, interpolated; `amplitude` in 1/128 levels of a corner.
    static void add_octave(std::vector<int>& line, std::uint32_t y, std::uint32_t octave,
                           std::uint32_t seed, std::uint32_t amplitude)
    {
        const std::uint32_t side = 1U << octave;
        const int down = static_cast<int>(y & (side - 1));
        const int shift = static_cast<int>(octave);
        const auto between = [&](std::uint32_t x) {
            const int above = corner(x, y >> octave, seed + octave * 8);
            const int below = corner(x, (y >> octave) + 1, seed + octave * 8);
            return above * (1 << shift) + (below - above) * down;
        };
        int left = between(0);
        for (std::uint32_t x = 0; x < line.size(); x += side) {
            const int right = between((x >> octave) + 1);
            const std::uint32_t end =
                std::min<std::uint32_t>(side, static_cast<std::uint32_t>(line.size()) - x);
            for (std::uint32_t i = 0; i < end; ++i) {
                const int value =
                    (left * (1 << shift) + (right - left) * static_cast<int>(i)) >> (2 * shift);
                line[x + i] += value * static_cast<int>(amplitude) / 128;
            }
            left = right;
        }
    }

    void finish_line(std::uint32_t y, const std::vector<int>& luma, const std::vector<int>& red,
                     const std::vector<int>& blue)
    {
        std::uint8_t* out = pixels_.data() + std::size_t{3} * width_ * y;
        for (std::uint32_t x = 0; x < width_; ++x) {
            const bool in_shape = (hash(x / 301, y / 233, 99) & 7U) == 0 && (x % 301) > y % 233;
            const int noise = static_cast<int>(hash(x, y, 7) % 19U) - 9;
            const int base = 120 + luma[x] / 2 + (in_shape ? 50 : 0) + noise;
            const int levels[] = {base + red[x] / 2, base - (red[x] + blue[x]) / 6,
                                  base + blue[x] / 2};
            for (const int level : levels)
                *out++ = static_cast<std::uint8_t>(std::clamp(level, 0, 255));
        }
    }

    std::uint32_t width_;
    std::vector<std::uint8_t> pixels_;
};

} // namespace nuv
