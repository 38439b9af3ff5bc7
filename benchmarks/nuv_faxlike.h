#pragma once

#include "tests/support/nuv_faxpage.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <random>
#include <vector>

namespace nuv {

// An A4 page at 600 dpi as scanners and printers make them, out of nothing but numbers.
class NUV_FaxLike {
public:
    static constexpr std::uint32_t width = 4960;
    static constexpr std::uint32_t height = 7016;

    // Letters of stems, bars, bowls and slanted strokes, as high as those of 10 points, in lines
    // with blank ones between paragraphs.
    [[nodiscard]] static NUV_FaxPage text()
    {
        NUV_FaxLike page;
        page.print();
        return page.packed();
    }
    // The same with edges that are not quite straight, specks and pinholes.
    [[nodiscard]] static NUV_FaxPage scan()
    {
        NUV_FaxLike page;
        page.print();
        page.wear();
        return page.packed();
    }
    // A slope of gray in dots that grow from a grid turned by 45 degrees, 85 to the inch.
    [[nodiscard]] static NUV_FaxPage halftone()
    {
        NUV_FaxLike page;
        for (std::size_t y = 0; y < height; ++y) {
            for (std::size_t x = 0; x < width; ++x) {
                const auto wave = [](std::size_t at) {
                    return std::cos(std::numbers::pi * static_cast<double>(at) / 5);
                };
                const double gray = static_cast<double>(x + y) / (width + height);
                page.dot(x, y) = (wave(x + y) + wave(x + height - y)) / 4 + 0.5 < gray ? 1 : 0;
            }
        }
        return page.packed();
    }

private:
    static constexpr std::size_t margin = 500;
    static constexpr std::size_t letter_width = 36;
    static constexpr std::size_t letter_height = 60;
    static constexpr std::size_t pitch = 100;

    NUV_FaxLike() : dots_(std::size_t{width} * height) {}

    std::uint8_t& dot(std::size_t x, std::size_t y) { return dots_[y * width + x]; }

    void print()
    {
        for (std::size_t y = margin; y + pitch < height - margin; y += pitch) {
            const std::size_t line = y / pitch;
            const std::size_t end = line % 9 == 7 ? width / 2 : width - margin;
            for (std::size_t x = margin; x + letter_width < end && line % 9 != 8;
                 x += letter_width + 4) {
                const auto letter = static_cast<unsigned>(random_() % 52);
                if (random_() % 6 != 0)
                    draw_letter(letter, x, y);
            }
        }
    }
    void draw_letter(unsigned letter, std::size_t left, std::size_t top)
    {
        std::mt19937 shape(letter);
        const double high = letter % 3 == 0 ? 0 : 20; // where it begins
        const double low = letter % 7 == 0 ? letter_height + 15 : letter_height;
        const double middle = (high + letter_height) / 2;
        for (int strokes = 2; strokes > 0; --strokes) {
            const auto kind = shape() % 4;
            const double at = 6 + static_cast<double>(shape() % 24);
            for (double y = high; y < low; ++y) {
                for (double x = 0; x < letter_width; ++x) {
                    const double around = std::hypot((x - 17) * 1.2, y - middle);
                    const double away = kind == 0   ? std::abs(x - at)
                                        : kind == 1 ? std::abs(y - high - at)
                                        : kind == 2 ? std::abs(around - 18)
                                                    : std::abs(x - 6 - (y - high) * at / 60);
                    if (away < 3.3)
                        dot(left + static_cast<std::size_t>(x), top + static_cast<std::size_t>(y)) =
                            1;
                }
            }
        }
    }
    void wear()
    {
        const std::vector<std::uint8_t> clean = dots_;
        for (std::size_t at = width + 1; at + width + 1 < clean.size(); ++at) {
            const bool is_edge =
                clean[at - 1] != clean[at + 1] || clean[at - width] != clean[at + width];
            if (random_() % (is_edge ? 8 : 20000) == 0)
                dots_[at] ^= 1;
        }
    }
    [[nodiscard]] NUV_FaxPage packed() const
    {
        NUV_FaxPage page{width, height, height};
        for (std::size_t at = 0; at < dots_.size(); ++at) // a line is whole bytes
            page.bits[at / 8] |= static_cast<std::uint8_t>(dots_[at] << (7 - at % 8));
        return page;
    }

    std::vector<std::uint8_t> dots_; // 1 for black
    std::mt19937 random_{1};
};

} // namespace nuv
