#include "core/scale/kernels/nuv_cubicweights.h"
#include "core/scale/kernels/nuv_linekernels.h"
#include "core/scale/kernels/nuv_ppkernels.h"
#include "core/scale/kernels/nuv_tapkernels.h"
#include "extension/scalei2utility/nuv_scalei2kernels.h"
#include "tests/support/nuv_testforms.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <type_traits>
#include <vector>

namespace nuv {
namespace {

using U8 = std::uint8_t;
using U16 = std::uint16_t;

template <class T, class Weight>
void expect_same_blends(std::initializer_list<Weight> weights)
{
    expect_same_forms<T>(choose_blend_lines<T, Weight>({}), choose_blend_lines<T, Weight>,
                         [&](NUV_FormArguments& arguments) {
                             const std::size_t count = arguments.length(100);
                             const T* upper = arguments.input<T>(count);
                             const T* lower = arguments.input<T>(count);
                             const Weight weight = arguments.one_of(weights);
                             return NUV_FormCall{count, [=](auto form, T* out) {
                                                     form(upper, lower, out, count, weight);
                                                 }};
                         });
}

TEST(ScaleForms, BlendLines)
{
    expect_same_blends<U8, std::int32_t>({0, 1, 1234, 2048, 4095, 4096});
    expect_same_blends<U16, double>({0.0, 0.3, 0.5, 0.9999999999});
}

// Half of the samples are ends of the range, so that sums leave it on both sides.
template <class T, RealNumber R>
void expect_same_combinations()
{
    const auto choose = [](const NUV_Cpu& cpu) {
        return choose_combine_lines<T, ScaleWeight<R>>(cpu, true);
    };
    expect_same_forms<T>(choose({}), choose, [](NUV_FormArguments& arguments) {
        const std::size_t count = arguments.length(100);
        std::array<const T*, 4> lines{};
        for (const T*& line : lines) {
            T* samples = arguments.input<T>(count);
            for (std::size_t i = arguments.number(0, 3); i < count; i += 2)
                samples[i] = arguments.one_of({std::numeric_limits<T>::max(), T{0}});
            line = samples;
        }
        const auto weights =
            cubic_weights<R>(arguments.one_of({0.0, 0.37, 0.75}), arguments.one_of({-1., -4., 4.}));
        const auto limits = NUV_SampleLimits<T>::of_bits(arguments.one_of<U16>({0, 6}));
        return NUV_FormCall{
            count, [=](auto form, T* out) { form(lines.data(), out, count, weights, limits); }};
    });
}

TEST(ScaleForms, CombineLines)
{
    expect_same_combinations<U8, NUV_FixedReal>();
    expect_same_combinations<U16, double>();
}

// A pixel whose taps begin anywhere on a line of 300 samples, often the last ones.
std::size_t draw_offset(NUV_FormArguments& arguments, std::size_t channels)
{
    const std::size_t last = 300 / channels - 4;
    return channels * arguments.one_of({last, arguments.number(0, last)});
}

TEST(ScaleForms, ConvolvePacked)
{
    for (const std::uint32_t channels : {1U, 3U, 4U}) {
        const auto choose = [&](const NUV_Cpu& cpu) {
            return choose_convolve_packed(cpu, channels);
        };
        const auto draw = [&](NUV_FormArguments& arguments) {
            const std::size_t pixels = arguments.length(40);
            const U8* line = arguments.input<U8>(300 + packed_taps_slack_bytes);
            const U8 maximum = arguments.one_of<U8>({255, 63});
            std::vector<NUV_CubicTaps<std::int32_t>> taps(pixels);
            std::array<std::vector<std::int32_t>, 2> pairs;
            std::vector<std::uint32_t> offsets;
            for (auto& entry : taps) {
                entry.offset = draw_offset(arguments, channels);
                offsets.push_back(static_cast<std::uint32_t>(entry.offset));
                const auto weights = cubic_weights<NUV_FixedReal>(
                    static_cast<double>(arguments.number(0, 39)) / 40, arguments.one_of({-1, -4}));
                std::copy_n(weights.tap, 4, entry.weight);
                for (std::size_t i : {0, 1})
                    pairs[i].push_back((weights.tap[2 * i] & 0xFFFF) |
                                       weights.tap[2 * i + 1] * 65536);
            }
            return NUV_FormCall{pixels * channels, [=](ConvolvePackedRow form, U8* out) {
                                    if (!form) // which is the row over the plain table
                                        convolve_cubic_row<0, std::int32_t>(
                                            line, taps.data(), out, pixels, channels,
                                            NUV_SampleLimits<U8>{0, maximum});
                                    else
                                        form(line,
                                             {offsets.data(), pairs[0].data(), pairs[1].data()},
                                             out, pixels, maximum);
                                }};
        };
        expect_same_forms<U8>(choose({}), choose, draw);
    }
}

void draw_weights(NUV_FormArguments& arguments, double t, NUV_CubicTaps<double>& taps)
{
    std::copy_n(cubic_weights<double>(t, arguments.one_of({-1, -4})).tap, 4, taps.weight);
}
void draw_weights(NUV_FormArguments&, double t, NUV_LinearTaps<double>& taps)
{
    taps.first = 1 - t;
    taps.second = t;
}

// The same in double precision.
template <class Taps, class Portable>
void expect_same_real_rows(U16 maximum, Portable portable)
{
    for (const std::uint32_t channels : {3U, 4U}) {
        const auto choose = [&](const NUV_Cpu& cpu) {
            return choose_convolve_real<Taps>(cpu, channels);
        };
        const auto draw = [&](NUV_FormArguments& arguments) {
            const std::size_t pixels = arguments.length(20);
            const U16* line = arguments.input<U16>(300 + packed_taps_slack_bytes / sizeof(U16));
            std::vector<Taps> taps(pixels);
            for (Taps& entry : taps) {
                entry.offset = draw_offset(arguments, channels);
                draw_weights(arguments, static_cast<double>(arguments.number(0, 19)) / 20, entry);
            }
            return NUV_FormCall{pixels * channels, [=](ConvolveRealRow<Taps> form, U16* out) {
                                    if (!form)
                                        portable(line, taps.data(), out, pixels, channels);
                                    else
                                        form(line, taps.data(), out, pixels, maximum);
                                }};
        };
        expect_same_forms<U16>(choose({}), choose, draw);
    }
}

TEST(ScaleForms, ConvolveReal)
{
    expect_same_real_rows<NUV_CubicTaps<double>>(4095, [](auto... call) {
        convolve_cubic_row<0, double>(call..., NUV_SampleLimits<U16>{0, 4095});
    });
    expect_same_real_rows<NUV_LinearTaps<double>>(
        65535, [](auto... call) { convolve_linear_row<0>(call...); });
}

// The line ends with the last pixel.
TEST(ScaleForms, ReduceAreaRow)
{
    for (const std::uint32_t channels : {3U, 4U}) {
        const auto choose = [&](const NUV_Cpu& cpu) {
            return choose_reduce_area_row<U8>(cpu, channels, true);
        };
        const auto draw = [&](NUV_FormArguments& arguments) {
            const std::size_t pixels = 1 + arguments.length(32);
            const double ratio = arguments.one_of({1.25, 2.5, 7.3});
            std::vector<NUV_AreaTaps> taps;
            for (std::size_t k = 0; k < pixels; ++k) {
                const double position = static_cast<double>(k) * ratio;
                const auto pixel = static_cast<std::size_t>(position);
                taps.push_back({pixel * channels, 1 - (position - static_cast<double>(pixel)), .3});
            }
            taps.push_back({taps.back().offset + channels, 0, 0});
            const U8* in = arguments.input<U8>(taps.back().offset + channels);
            return NUV_FormCall{pixels * channels, [=](auto form, U8* out) {
                                    form(in, taps.data(), out, pixels, channels, 1 / ratio);
                                }};
        };
        expect_same_forms<U8>(choose({}), choose, draw);
    }
}

TEST(ScaleForms, ReduceAreaLines)
{
    const auto choose = choose_reduce_area_lines<U8, std::int32_t>;
    expect_same_forms<U8>(choose({}), choose, [](NUV_FormArguments& arguments) {
        const std::size_t count = arguments.length(70);
        const U8* first = arguments.input<U8>(count);
        const U8* last = arguments.input<U8>(count);
        auto* sums = arguments.input<std::int32_t>(count);
        std::transform(sums, sums + count, sums, [](std::int32_t sum) { return sum & 0x1FF; });
        const NUV_AreaTaps taps{0, arguments.one_of({0.0, 0.4, 1.0}), 0.625};
        return NUV_FormCall{
            count, [=](auto form, U8* out) { form(first, sums, last, out, count, taps, 1 / 3.1); }};
    });
}

template <class A>
class ScaleI2Forms : public ::testing::Test {
protected:
    using Weight = typename A::Weight;
    static constexpr bool is_fixed = std::is_same_v<A, NUV_ScaleI2FixedArithmetic>;

    // As large as a form takes.
    static const Weight* draw_mask(NUV_FormArguments& arguments, std::size_t pixels, int taps)
    {
        auto* weights = arguments.input<Weight>(pixels * 8);
        for (std::size_t i = 0; i < pixels * 8; ++i) {
            const auto weight = static_cast<int>(arguments.number(0, 2052)) - 1026;
            weights[i] = static_cast<Weight>(static_cast<int>(i % 8) >= taps ? 0
                                             : is_fixed                      ? weight
                                                                             : weight / 1024.7);
        }
        return weights;
    }
};
using Arithmetics = ::testing::Types<NUV_ScaleI2FixedArithmetic, NUV_ScaleI2FloatArithmetic>;
TYPED_TEST_SUITE(ScaleI2Forms, Arithmetics);

// The taps jump about, often to where they end with the line.
TYPED_TEST(ScaleI2Forms, FilterRow)
{
    using A = TypeParam;
    for (const std::uint32_t taps : {4U, 5U, 6U, 7U, 8U}) {
        for (const std::uint32_t channels : {1U, 3U, 4U}) {
            const auto choose = [&](const NUV_Cpu& cpu) {
                return choose_filter_row<A>(cpu, taps, channels, 1500).filter;
            };
            const std::uint32_t reach =
                choose_filter_row<A>(NUV_Cpu::current(), taps, channels, 1500).reach;
            const std::size_t samples = std::size_t{60} * channels;
            const auto draw = [&](NUV_FormArguments& arguments) {
                const std::size_t end = arguments.length(37);
                const std::size_t begin = arguments.number(0, std::min<std::size_t>(end, 2));
                const auto* line = arguments.input<typename A::Sample>(samples);
                const auto* weights =
                    TestFixture::draw_mask(arguments, end, static_cast<int>(taps));
                std::vector<std::int64_t> firsts(end);
                const std::size_t last = (samples - reach) / channels;
                for (std::int64_t& first : firsts)
                    first = static_cast<std::int64_t>(
                        arguments.one_of({last, arguments.number(0, last)}));
                return NUV_FormCall{end * channels, [=](auto form, typename A::Middle* out) {
                                        form(line, {firsts.data(), weights}, out, begin, end);
                                    }};
            };
            expect_same_forms<typename A::Middle>(choose({}), choose, draw, 400);
        }
    }
}

// Lines beyond the range of a sample on both sides, and at the end of their type.
TYPED_TEST(ScaleI2Forms, CombineMiddles)
{
    using A = TypeParam;
    using Middle = typename A::Middle;
    using Sample = typename A::Sample;
    for (const std::uint32_t taps : {4U, 5U, 6U, 7U, 8U}) {
        const auto choose = [&](const NUV_Cpu& cpu) {
            return choose_combine_middles<A>(cpu, taps, 2000);
        };
        const auto draw = [&](NUV_FormArguments& arguments) {
            const std::size_t count = arguments.length(100);
            std::array<const Middle*, 8> lines{};
            for (std::size_t i = 0; i < taps; ++i) {
                auto* line = arguments.input<Middle>(count);
                for (std::size_t x = 0; x < count; ++x) {
                    const int value = arguments.one_of(
                        {-32768, 32767, static_cast<int>(arguments.number(0, 13107)) - 6553});
                    line[x] = static_cast<Middle>(TestFixture::is_fixed ? value : value * 9.7 + .3);
                }
                lines[i] = line;
            }
            const auto* weights = TestFixture::draw_mask(arguments, 1, static_cast<int>(taps));
            const auto maximum = arguments.one_of<Sample>({std::numeric_limits<Sample>::max(), 63});
            return NUV_FormCall{count, [=](auto form, Sample* out) {
                                    form(lines.data(), weights, out, count, maximum);
                                }};
        };
        expect_same_forms<Sample>(choose({}), choose, draw, 500);
    }
}

// What the forms cannot hold takes another way, whose sums do not overflow.
TEST(ScaleI2Kernels, LargeWeightsAreCalculatedInFull)
{
    const std::vector<std::int16_t> line(50, -32768);
    const std::vector<std::int16_t> weights(8, -32768);
    std::vector<const std::int16_t*> lines(8, line.data());
    std::vector<U8> out(50);
    choose_combine_middles<NUV_ScaleI2FixedArithmetic>(NUV_Cpu::current(), 8, 8 * 32768.0)(
        lines.data(), weights.data(), out.data(), 50, 255);
    EXPECT_EQ(out, std::vector<U8>(50, 255));
}

} // namespace
} // namespace nuv
