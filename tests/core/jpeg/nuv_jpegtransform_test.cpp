#include "core/jpeg/kernels/nuv_jpegtransform.h"

#include "core/jpeg/kernels/nuv_jpegsamples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <random>

namespace nuv {
namespace {

TEST(JPEGTransform, QuantisesToNearestWithTiesToEven)
{
    for (const int factor : {0, 1, 3, 128, 129, 8192, 10923, 16384, 16385, 32768, 40000, 65535}) {
        for (int value = -32768; value <= 32767; ++value) {
            const double exact = std::nearbyint(value * static_cast<double>(factor) / 32768);
            ASSERT_EQ(
                quantise(static_cast<std::int16_t>(value), static_cast<std::uint16_t>(factor)),
                std::clamp(exact, -32768.0, 32767.0))
                << value << " x " << factor;
        }
    }
}

// The inverse transform of `side` points, by its formula.
double reduced_sample(const std::array<std::int16_t, 64>& coefficients, std::size_t side,
                      std::size_t x, std::size_t y)
{
    const auto basis = [&](std::size_t place, std::size_t frequency) {
        const double angle = static_cast<double>((2 * place + 1) * frequency) * std::numbers::pi;
        return (frequency == 0 ? std::numbers::sqrt2 / 4 : 0.5) *
               std::cos(angle / static_cast<double>(2 * side));
    };
    double sum = 0;
    for (std::size_t i = 0; i < side * side; ++i)
        sum += coefficients[i / side * 8 + i % side] * basis(x, i % side) * basis(y, i / side);
    return std::clamp(std::round(sum) + 128, 0.0, 255.0);
}

TEST(JPEGTransform, ReducesByFewerPoints)
{
    std::mt19937 random(7);
    const std::array<std::int16_t, 64> twos = [] {
        std::array<std::int16_t, 64> table{};
        table.fill(2);
        return table;
    }();
    for (int round = 0; round < 300; ++round) {
        std::array<std::int16_t, 64> block{};
        std::array<std::int16_t, 64> doubled{};
        for (std::size_t i = 0; i < 64; ++i) {
            block[i] = static_cast<std::int16_t>(static_cast<int>(random() % 61) - 30);
            doubled[i] = static_cast<std::int16_t>(2 * block[i]);
        }
        for (const std::size_t side : {1U, 2U, 4U}) {
            std::array<std::int16_t, 16> samples{};
            reduced_idct(block.data(), twos.data(), side, samples.data());
            for (std::size_t i = 0; i < side * side; ++i)
                ASSERT_NEAR(deliver_sample(samples[i]),
                            reduced_sample(doubled, side, i % side, i / side), 1);
        }
    }
}

} // namespace
} // namespace nuv
