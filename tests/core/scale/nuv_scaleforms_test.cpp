#include "core/scale/kernels/nuv_cubicweights.h"
#include "core/scale/kernels/nuv_linekernels.h"
#include "core/scale/kernels/nuv_ppkernels.h"
#include "core/scale/kernels/nuv_tapkernels.h"
#include "core/scale/source/nuv_padline.h"
#include "tests/support/nuv_testrow.h"
#include "tests/support/nuv_testsamples.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <initializer_list>
#include <limits>
#include <vector>

namespace nuv {
namespace {

constexpr NUV_Cpu portable{};

// Forms against the portable kernels: every length and misalignment, between guards.
class ScaleForms : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!NUV_Cpu::current().has_avx2)
            GTEST_SKIP() << "no AVX2 here";
    }
};

template <class T, class Weight>
void expect_same_blends(std::vector<Weight> weights)
{
    const NUV_TestRow<T> row(100);
    const auto lower = random_samples<T>(200, 5);
    for (const Weight weight : weights) {
        const auto bind = [&](BlendLines<T, Weight> form) {
            return [&, form](const T* in, T* out, std::size_t count) {
                form(in, lower.data() + 1, out, count, weight);
            };
        };
        row.expect_same(bind(choose_blend_lines<T, Weight>(portable)),
                        bind(choose_blend_lines<T, Weight>(NUV_Cpu::current())));
    }
}

TEST_F(ScaleForms, BlendLines)
{
    expect_same_blends<std::uint8_t, std::int32_t>({0, 1, 1234, 2048, 4095, 4096});
    expect_same_blends<std::uint16_t, double>({0.0, 0.3, 0.5, 0.9999999999});
}

template <class T, RealNumber R>
void expect_same_combinations()
{
    using Weight = ScaleWeight<R>;
    const NUV_TestRow<T> row(100);
    std::vector<T> others[3] = {random_samples<T>(200, 7), random_samples<T>(200, 8),
                                random_samples<T>(200, 9)};
    // Ends of the range, so that sums leave it on both sides.
    for (std::size_t i = 0; i < 200; ++i)
        others[i % 3][i] = i % 2 ? std::numeric_limits<T>::max() : std::numeric_limits<T>::min();
    for (const double a : {-1.0, -4.0, 4.0}) {
        for (const double t : {0.0, 0.37, 0.75}) {
            for (const std::uint16_t bits : std::initializer_list<std::uint16_t>{0, 6}) {
                const auto weights = cubic_weights<R>(t, a);
                const auto limits = NUV_SampleLimits<T>::of_bits(bits);
                const auto bind = [&](CombineLines<T, Weight> form) {
                    return [&, form](const T* in, T* out, std::size_t count) {
                        const T* const lines[4] = {others[0].data() + 1, in, others[1].data() + 2,
                                                   others[2].data() + 3};
                        form(lines, out, count, weights, limits);
                    };
                };
                row.expect_same(bind(choose_combine_lines<T, Weight>(portable, true)),
                                bind(choose_combine_lines<T, Weight>(NUV_Cpu::current(), true)));
            }
        }
    }
}

TEST_F(ScaleForms, CombineLines)
{
    expect_same_combinations<std::uint8_t, NUV_FixedReal>();
    expect_same_combinations<std::uint16_t, double>();
}

// All lengths; offsets that jump about, down to where only the slack lies behind the line.
TEST_F(ScaleForms, ConvolvePacked)
{
    constexpr std::uint32_t samples = 300;
    auto line = random_samples<std::uint8_t>(samples + packed_taps_slack_bytes, 11);
    for (const std::uint32_t channels : {1U, 3U, 4U}) {
        const ConvolvePackedRow form = choose_convolve_packed(NUV_Cpu::current(), channels);
        ASSERT_NE(form, nullptr);
        std::vector<NUV_CubicTaps<std::int32_t>> taps;
        std::vector<std::uint32_t> offsets;
        std::vector<std::int32_t> first;
        std::vector<std::int32_t> second;
        for (std::uint32_t k = 0; k < 40; ++k) {
            const auto weights = cubic_weights<NUV_FixedReal>((k * 7 % 40) / 40.0, k % 2 ? -1 : -4);
            const std::uint32_t pixel = k == 39 ? samples / channels - 4 : k * 13 % 70;
            offsets.push_back(pixel * channels);
            taps.push_back({offsets.back(), {}});
            std::copy(std::begin(weights.tap), std::end(weights.tap), taps.back().weight);
            const auto pair = [](std::int32_t low, std::int32_t high) {
                return (low & 0xFFFF) | high * 65536;
            };
            first.push_back(pair(weights.tap[0], weights.tap[1]));
            second.push_back(pair(weights.tap[2], weights.tap[3]));
        }
        for (std::size_t pixels = 0; pixels <= 40; ++pixels) {
            for (const std::uint8_t maximum : std::initializer_list<std::uint8_t>{255, 63}) {
                // Such that the last pixel is the one at the end of the line.
                const std::size_t skip = 40 - pixels;
                std::vector<std::uint8_t> wanted(40 * channels + 32, 0xA5);
                std::vector<std::uint8_t> got(wanted);
                convolve_cubic_row<0, std::int32_t>(line.data(), taps.data() + skip, wanted.data(),
                                                    pixels, channels,
                                                    NUV_SampleLimits<std::uint8_t>{0, maximum});
                form(line.data(),
                     {offsets.data() + skip, first.data() + skip, second.data() + skip}, got.data(),
                     pixels, maximum);
                ASSERT_EQ(got, wanted) << channels << " channels, " << pixels << " pixels";
            }
        }
    }
}

// The same in double precision, for tables of four and of two weights.
TEST_F(ScaleForms, ConvolveReal)
{
    constexpr std::uint32_t samples = 300;
    const auto line =
        random_samples<std::uint16_t>(samples + packed_taps_slack_bytes / sizeof(std::uint16_t), 2);
    for (const std::uint32_t channels : {3U, 4U}) {
        std::vector<NUV_CubicTaps<double>> cubic;
        std::vector<NUV_LinearTaps<double>> linear;
        for (std::uint32_t k = 0; k < 20; ++k) {
            const double t = (k * 7 % 20) / 20.0;
            const auto weights = cubic_weights<double>(t, k % 2 ? -1 : -4);
            const std::size_t pixel = k == 19 ? samples / channels - 4 : k * 13 % 70;
            cubic.push_back({pixel * channels, {}});
            std::copy(std::begin(weights.tap), std::end(weights.tap), cubic.back().weight);
            linear.push_back({pixel * channels, 1 - t, t});
        }
        for (std::size_t pixels = 0; pixels <= 20; ++pixels) {
            const std::size_t skip = 20 - pixels;
            std::vector<std::uint16_t> wanted(20 * channels + 16, 0xA5A5);
            std::vector<std::uint16_t> got(wanted);
            convolve_cubic_row<0, double>(line.data(), cubic.data() + skip, wanted.data(), pixels,
                                          channels, NUV_SampleLimits<std::uint16_t>{0, 4095});
            choose_convolve_real<NUV_CubicTaps<double>>(NUV_Cpu::current(), channels)(
                line.data(), cubic.data() + skip, got.data(), pixels, 4095);
            ASSERT_EQ(got, wanted) << channels << " channels, " << pixels << " pixels";
            convolve_linear_row<0>(line.data(), linear.data() + skip, wanted.data(), pixels,
                                   channels);
            choose_convolve_real<NUV_LinearTaps<double>>(NUV_Cpu::current(), channels)(
                line.data(), linear.data() + skip, got.data(), pixels, 65535);
            ASSERT_EQ(got, wanted) << channels << " channels, " << pixels << " pixels";
        }
    }
}

// The line ends with the last pixel, in memory of exactly its size.
TEST_F(ScaleForms, ReduceAreaRow)
{
    for (const std::uint32_t channels : {3U, 4U}) {
        for (const double ratio : {1.25, 2.5, 7.3}) {
            for (std::size_t pixels = 1; pixels <= 33; ++pixels) {
                std::vector<NUV_AreaTaps> taps;
                for (std::size_t k = 0; k < pixels; ++k) {
                    const double position = static_cast<double>(k) * ratio;
                    taps.push_back({static_cast<std::size_t>(position) * channels,
                                    1 - (position - std::trunc(position)), 0.3});
                }
                const std::size_t last = taps.back().offset / channels + 1;
                taps.push_back({last * channels, 0, 0});
                const auto in = random_samples<std::uint8_t>((last + 1) * channels, pixels);
                std::vector<std::uint8_t> wanted(pixels * channels, 0);
                std::vector<std::uint8_t> got(pixels * channels, 0);
                choose_reduce_area_row<std::uint8_t>(portable, channels, true)(
                    in.data(), taps.data(), wanted.data(), pixels, channels, 1 / ratio);
                choose_reduce_area_row<std::uint8_t>(NUV_Cpu::current(), channels, true)(
                    in.data(), taps.data(), got.data(), pixels, channels, 1 / ratio);
                ASSERT_EQ(got, wanted) << channels << " channels, " << pixels << " pixels";
            }
        }
    }
}

TEST_F(ScaleForms, ReduceAreaLines)
{
    const NUV_TestRow<std::uint8_t> row(70);
    const auto last = random_samples<std::uint8_t>(100, 3);
    std::vector<std::int32_t> sums(100);
    for (std::size_t i = 0; i < sums.size(); ++i)
        sums[i] = static_cast<std::int32_t>(i * 7 % 511);
    for (const double share : {0.0, 0.4, 1.0}) {
        const NUV_AreaTaps taps{0, share, 0.625};
        const auto bind = [&](ReduceAreaLines<std::uint8_t, std::int32_t> form) {
            return [&, form](const std::uint8_t* in, std::uint8_t* out, std::size_t count) {
                form(in, sums.data() + 1, last.data() + 2, out, count, taps, 1 / 3.1);
            };
        };
        row.expect_same(
            bind(choose_reduce_area_lines<std::uint8_t, std::int32_t>(portable)),
            bind(choose_reduce_area_lines<std::uint8_t, std::int32_t>(NUV_Cpu::current())));
    }
}

} // namespace
} // namespace nuv
