#include "core/jpeg/kernels/nuv_jpegtransform.h"

#include "core/jpeg/stream/nuv_jpegtables.h"
#include "tests/core/jpeg/nuv_jpegtestforms.h"

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

using RealBlock = std::array<double, 64>;

// T.81, A.3.3, one dimension at a time. cosine(u, x) is C(u) / 2 cos((2 x + 1) u pi / 16).
const RealBlock& cosines()
{
    static const RealBlock table = [] {
        RealBlock values{};
        for (std::size_t i = 0; i < 64; ++i) {
            const std::size_t row = i / 8;
            const std::size_t column = i % 8;
            const auto u = static_cast<double>(row);
            const auto x = static_cast<double>(column);
            values[i] = (i < 8 ? std::numbers::sqrt2 / 4 : 0.5) *
                        std::cos((2 * x + 1) * u * std::numbers::pi / 16);
        }
        return values;
    }();
    return table;
}

template <bool Forward>
RealBlock transform(const RealBlock& in)
{
    const auto factor = [](std::size_t out, std::size_t from) {
        return Forward ? cosines()[out * 8 + from] : cosines()[from * 8 + out];
    };
    RealBlock rows{};
    RealBlock result{};
    for (std::size_t i = 0; i < 64; ++i) {
        for (std::size_t k = 0; k < 8; ++k)
            rows[i] += factor(i % 8, k) * in[i / 8 * 8 + k];
    }
    for (std::size_t i = 0; i < 64; ++i) {
        for (std::size_t k = 0; k < 8; ++k)
            result[i] += factor(i / 8, k) * rows[k * 8 + i % 8];
    }
    return result;
}

RealBlock to_real(const JPEGTestBlock& block)
{
    RealBlock real;
    std::copy(block.begin(), block.end(), real.begin());
    return real;
}

JPEGTestBlock round_and_clamp(const RealBlock& real, double low, double high)
{
    JPEGTestBlock block;
    for (std::size_t i = 0; i < 64; ++i)
        block[i] = static_cast<std::int16_t>(std::clamp(std::round(real[i]), low, high));
    return block;
}

JPEGTestBlock filled(std::int16_t value)
{
    JPEGTestBlock block;
    block.fill(value);
    return block;
}

JPEGTestBlock inverse(const JPEGTestForm& form, const JPEGTestBlock& coefficients,
                      const JPEGTestBlock& table)
{
    JPEGTestBlock out;
    EXPECT_EQ(form.primitives.idct_dequant(coefficients.data(), out.data(), table.data()),
              NUV_JPEGResult::good);
    return out;
}

using ForwardTable = std::array<std::uint16_t, 64>;

JPEGTestBlock forward(const JPEGTestForm& form, JPEGTestBlock block, const ForwardTable& table)
{
    EXPECT_EQ(form.primitives.fdct_quant(block.data(), table.data()), NUV_JPEGResult::good);
    return block;
}

ForwardTable forward_table(std::uint16_t factor)
{
    ForwardTable table;
    table.fill(factor);
    return table;
}

// The random numbers that IEEE 1180-1990 prescribes.
class Ieee1180Random {
public:
    int next(int low, int high)
    {
        state_ = state_ * 1103515245 + 12345;
        const double fraction = static_cast<double>(state_ & 0x7FFFFFFE) / 0x7FFFFFFF;
        return static_cast<int>(fraction * (low + high + 1)) - low;
    }

private:
    std::uint32_t state_ = 1;
};

TEST(JpegInverseTransform, MeetsTheStatisticsOfIeee1180)
{
    constexpr int blocks = 10000;
    const JPEGTestForm form = jpeg_test_forms().back();
    const JPEGTestBlock ones = filled(1);
    struct Range {
        int low, high; // from -low to high
    };
    for (const Range range : {Range{256, 255}, {5, 5}, {300, 300}}) {
        for (const int sign : {1, -1}) {
            Ieee1180Random random;
            int peak = 0;
            RealBlock errors{};
            RealBlock squares{};
            for (int n = 0; n < blocks; ++n) {
                RealBlock samples;
                for (double& sample : samples)
                    sample = sign * random.next(range.low, range.high);
                const JPEGTestBlock coefficients =
                    round_and_clamp(transform<true>(samples), -2048, 2047);
                const JPEGTestBlock exact =
                    round_and_clamp(transform<false>(to_real(coefficients)), -256, 255);
                const JPEGTestBlock got = inverse(form, coefficients, ones);
                for (std::size_t i = 0; i < 64; ++i) {
                    const int error = std::clamp<int>(got[i], -256, 255) - exact[i];
                    peak = std::max(peak, std::abs(error));
                    errors[i] += error;
                    squares[i] += error * error;
                }
            }
            double mean = 0;
            double mean_square = 0;
            for (std::size_t i = 0; i < 64; ++i) {
                EXPECT_LE(std::abs(errors[i] / blocks), 0.015);
                EXPECT_LE(squares[i] / blocks, 0.06);
                mean += errors[i] / blocks / 64;
                mean_square += squares[i] / blocks / 64;
            }
            EXPECT_LE(peak, 1);
            EXPECT_LE(std::abs(mean), 0.0015);
            EXPECT_LE(mean_square, 0.02);
        }
    }
    EXPECT_EQ(inverse(form, filled(0), ones), filled(0));
}

TEST(JpegForwardTransform, IsCloseToTheRealOneAtTheScaleOfTheStandard)
{
    std::mt19937 random(4);
    const ForwardTable ones = forward_table(32768);
    for (const JPEGTestForm& form : jpeg_test_forms()) {
        double worst = 0;
        for (int n = 0; n < 3000; ++n) {
            const JPEGTestBlock samples = n % 2 == 0
                                              ? random_block(random, -128, 127)
                                              : random_block(random, 0, 1); // times 255 below
            JPEGTestBlock block = samples;
            if (n % 2 != 0) {
                for (std::int16_t& sample : block)
                    sample = static_cast<std::int16_t>(sample * 255 - 128);
            }
            const RealBlock exact = transform<true>(to_real(block));
            const JPEGTestBlock got = forward(form, block, ones);
            for (std::size_t i = 0; i < 64; ++i)
                worst = std::max(worst, std::abs(got[i] - exact[i]));
        }
        EXPECT_LT(worst, 0.7) << form.name;
        JPEGTestBlock flat{};
        flat[0] = 8 * 100;
        EXPECT_EQ(forward(form, filled(100), ones), flat) << form.name;
    }
}

// Blocks as pictures have them, sparse ones, and the two ends of the range in every mixture.
JPEGTestBlock hard_block(std::mt19937& random, int n)
{
    JPEGTestBlock block;
    switch (n % 6) {
    case 0:
        return random_block(random, -1100, 1100, 15);
    case 1:
        return random_block(random, -32768, 32767);
    case 2:
        return random_block(random, -32768, 32767, 4);
    case 3:
        for (std::int16_t& value : block)
            value = random() % 2 == 0 ? 32767 : -32768;
        return block;
    case 4:
        return filled(random() % 2 == 0 ? 32767 : -32768);
    default:
        block.fill(0);
        block[random() % 3 == 0 ? random() % 64 : 0] = static_cast<std::int16_t>(random());
        return block;
    }
}

TEST(JpegTransforms, EveryFormAgreesWithThePortableOneOnAnyInput)
{
    std::mt19937 random(5);
    const auto forms = jpeg_test_forms();
    for (int n = 0; n < 30000; ++n) {
        const JPEGTestBlock block = hard_block(random, n);
        const JPEGTestBlock table =
            n % 5 == 0 ? hard_block(random, n / 5) : random_block(random, 1, 255);
        ForwardTable factors;
        for (std::uint16_t& factor : factors) {
            const auto kind = random() % 4;
            factor = kind == 0   ? std::uint16_t{32768}
                     : kind == 1 ? static_cast<std::uint16_t>(random())
                                 : static_cast<std::uint16_t>(32768 / (1 + random() % 255));
        }
        const JPEGTestBlock back = inverse(forms[0], block, table);
        const JPEGTestBlock there = forward(forms[0], block, factors);
        for (const JPEGTestForm& form : forms) {
            ASSERT_EQ(inverse(form, block, table), back) << form.name << ' ' << n;
            ASSERT_EQ(forward(form, block, factors), there) << form.name << ' ' << n;
            JPEGTestBlock in_place = block;
            form.primitives.idct_dequant(in_place.data(), in_place.data(), table.data());
            ASSERT_EQ(in_place, back) << form.name << ' ' << n;
        }
    }
}

// A coefficient of 0 times anything is 0: with another one that dequantises to 0 the block goes
// the long way.
TEST(JpegInverseTransform, TheShortWayForFlatBlocksGivesWhatTheLongOneGives)
{
    for (const JPEGTestForm& form : jpeg_test_forms()) {
        for (int dc = -32768; dc <= 32767; dc += 5) {
            JPEGTestBlock block{};
            block[0] = static_cast<std::int16_t>(dc);
            JPEGTestBlock table = filled(2);
            const JPEGTestBlock flat = inverse(form, block, table);
            block[63] = 1;
            table[63] = 0;
            ASSERT_EQ(inverse(form, block, table), flat) << form.name << ' ' << dc;
        }
    }
}

TEST(JpegQuantiser, RoundsTheScaledProductToNearestWithTiesToEven)
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

TEST(JpegQuantiser, InversesDivideByEveryQuantiser)
{
    for (int quantiser = 1; quantiser <= 255; ++quantiser) {
        std::array<std::uint8_t, 64> raw;
        raw.fill(static_cast<std::uint8_t>(quantiser));
        ForwardTable table;
        ASSERT_EQ(portable_primitives().quant_forward_init(raw.data(), table.data()),
                  NUV_JPEGResult::good);
        ASSERT_EQ(table[0], std::nearbyint(32768.0 / quantiser));
        // Beyond half a step only by what 15 bits of the inverse cannot tell.
        for (int value = -1024; value <= 1024; ++value) {
            const int got = quantise(static_cast<std::int16_t>(value), table[63]);
            ASSERT_LE(std::abs(got - static_cast<double>(value) / quantiser), 0.517)
                << value << " / " << quantiser;
        }
    }
}

TEST(JpegQuantiser, TablesArriveInZigZagOrderAndZeroIsAWarning)
{
    std::array<std::uint8_t, 64> raw;
    for (std::size_t i = 0; i < 64; ++i)
        raw[i] = static_cast<std::uint8_t>(i + 1);
    raw[63] = 0;
    ForwardTable table;
    EXPECT_EQ(portable_primitives().quant_forward_init(raw.data(), table.data()),
              NUV_JPEGResult::zero_quantiser);
    EXPECT_EQ(table[0], 32768);
    EXPECT_EQ(table[1], 16384); // right of DC comes second
    EXPECT_EQ(table[8], 10923); // below DC third
    EXPECT_EQ(table[62], 520);  // 32768 / 63, the last but one
    EXPECT_EQ(table[63], 65535);
    for (std::size_t i = 64; i < jpeg_zigzag.size(); ++i)
        EXPECT_EQ(jpeg_zigzag[i], 63);
}

TEST(JpegTransforms, RefuseNullPointers)
{
    JPEGTestBlock block{};
    ForwardTable table{};
    std::array<std::uint8_t, 64> raw{};
    for (const JPEGTestForm& form : jpeg_test_forms()) {
        const NUV_JPEGPrimitives& p = form.primitives;
        EXPECT_EQ(p.fdct_quant(nullptr, table.data()), NUV_JPEGResult::null_pointer);
        EXPECT_EQ(p.fdct_quant(block.data(), nullptr), NUV_JPEGResult::null_pointer);
        EXPECT_EQ(p.idct_dequant(nullptr, block.data(), block.data()),
                  NUV_JPEGResult::null_pointer);
        EXPECT_EQ(p.idct_dequant(block.data(), nullptr, block.data()),
                  NUV_JPEGResult::null_pointer);
        EXPECT_EQ(p.idct_dequant(block.data(), block.data(), nullptr),
                  NUV_JPEGResult::null_pointer);
        EXPECT_EQ(p.quant_forward_init(nullptr, table.data()), NUV_JPEGResult::null_pointer);
        EXPECT_EQ(p.quant_forward_init(raw.data(), nullptr), NUV_JPEGResult::null_pointer);
    }
}

} // namespace
} // namespace nuv
