#include "extension/scalei2utility/nuv_scalei2kernels.h"
#include "tests/support/nuv_testrow.h"
#include "tests/support/nuv_testsamples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

namespace nuv {
namespace {

constexpr NUV_Cpu portable{};

// Forms against the portable kernels, on random weights as large as a form takes.
class ScaleI2Forms : public ::testing::TestWithParam<std::uint32_t> {
protected:
    void SetUp() override
    {
        if (!NUV_Cpu::current().has_avx2)
            GTEST_SKIP() << "no AVX2 here";
    }
    [[nodiscard]] static std::vector<std::int16_t> random_weights(std::size_t pixels,
                                                                  std::uint32_t taps, int most)
    {
        std::vector<std::int16_t> weights = random_samples<std::int16_t>(pixels * 8, 3);
        for (std::size_t i = 0; i < weights.size(); ++i)
            weights[i] = static_cast<std::int16_t>(i % 8 < taps ? weights[i] % most : 0);
        return weights;
    }
};

// All ranges of result pixels, whose taps jump about and whose last one ends with the line, which
// lies at the end of its memory.
template <class A>
void expect_same_rows(std::uint32_t taps, const std::vector<typename A::Weight>& weights)
{
    using Sample = typename A::Sample;
    using Middle = typename A::Middle;
    constexpr std::size_t pixels = 37;
    constexpr std::uint32_t width = 60;
    for (const std::uint32_t channels : {1U, 3U, 4U}) {
        SCOPED_TRACE(channels);
        const auto form = choose_filter_row<A>(NUV_Cpu::current(), taps, channels, 1500);
        const auto plain = choose_filter_row<A>(portable, taps, channels, 1500);
        ASSERT_NE(form.filter, plain.filter);
        const std::uint32_t samples = width * channels;
        const auto random = random_samples<Sample>(samples, channels);
        const std::unique_ptr<Sample[]> line(new Sample[samples]); // for the sanitizer
        std::copy(random.begin(), random.end(), line.get());
        const std::int64_t last = (samples - form.reach) / channels;
        std::vector<std::int64_t> firsts;
        for (std::size_t k = 0; k < pixels; ++k)
            firsts.push_back(k % 3 == 0 ? last : static_cast<std::int64_t>(k * 7) % last);
        const NUV_ScaleI2RowTable<A> table{firsts.data(), weights.data()};
        for (std::size_t begin = 0; begin < 3; ++begin) {
            for (std::size_t end = begin; end <= pixels; ++end) {
                std::vector<Middle> wanted(pixels * channels + 16, Middle{0x5A5A});
                std::vector<Middle> got(wanted);
                plain.filter(line.get(), table, wanted.data(), begin, end);
                form.filter(line.get(), table, got.data(), begin, end);
                ASSERT_EQ(got, wanted) << begin << " to " << end;
            }
        }
    }
}

TEST_P(ScaleI2Forms, FilterRow)
{
    const std::uint32_t taps = GetParam();
    const auto weights = random_weights(37, taps, 1027);
    expect_same_rows<NUV_ScaleI2FixedArithmetic>(taps, weights);
    std::vector<double> real_weights(weights.begin(), weights.end());
    for (double& weight : real_weights)
        weight /= 1024.7;
    expect_same_rows<NUV_ScaleI2FloatArithmetic>(taps, real_weights);
}

template <class A>
void expect_same_combination(std::uint32_t taps, const std::vector<typename A::Weight>& weights,
                             const std::vector<std::vector<typename A::Middle>>& others)
{
    using Middle = typename A::Middle;
    using Sample = typename A::Sample;
    constexpr std::size_t most = 100;
    for (const int maximum : {int{std::numeric_limits<Sample>::max()}, 63}) {
        for (std::size_t count = 0; count <= most; ++count) {
            std::vector<Sample> wanted(most + 40, Sample{0xA5});
            std::vector<Sample> got(wanted);
            const std::size_t shift = count % 17;
            const Middle* lines[8] = {};
            std::vector<std::vector<Middle>> exact; // so that the sanitizer sees the ends
            for (std::uint32_t i = 0; i < taps; ++i) {
                const auto from = others[i].begin() + static_cast<std::ptrdiff_t>(i);
                exact.emplace_back(from, from + static_cast<std::ptrdiff_t>(count));
            }
            for (std::uint32_t i = 0; i < taps; ++i)
                lines[i] = exact[i].data();
            const auto run = [&](const NUV_Cpu& cpu, std::vector<Sample>& out) {
                choose_combine_middles<A>(cpu, taps, 2000)(
                    lines, weights.data(), out.data() + shift, count, static_cast<Sample>(maximum));
            };
            run(portable, wanted);
            run(NUV_Cpu::current(), got);
            ASSERT_EQ(got, wanted) << "count " << count;
        }
    }
}

TEST_P(ScaleI2Forms, CombineMiddles)
{
    const std::uint32_t taps = GetParam();
    std::vector<std::vector<std::int16_t>> lines;
    std::vector<std::vector<double>> real_lines;
    for (std::uint32_t i = 0; i < taps; ++i) {
        lines.push_back(random_samples<std::int16_t>(120, i));
        // Beyond the range of a sample on both sides, and at the ends of the type.
        for (std::size_t x = 0; x < 120; ++x) {
            if (x % 4 != 0)
                lines[i][x] = static_cast<std::int16_t>(lines[i][x] / 5);
            else if (x % 8 == 0)
                lines[i][x] = std::numeric_limits<std::int16_t>::min();
        }
        real_lines.emplace_back(lines[i].begin(), lines[i].end());
        for (double& sample : real_lines.back())
            sample = sample * 9.7 + 0.3;
    }
    const auto weights = random_weights(1, taps, 1027);
    expect_same_combination<NUV_ScaleI2FixedArithmetic>(taps, weights, lines);
    std::vector<double> real_weights(weights.begin(), weights.end());
    for (double& weight : real_weights)
        weight /= 1024.7;
    expect_same_combination<NUV_ScaleI2FloatArithmetic>(taps, real_weights, real_lines);
}

INSTANTIATE_TEST_SUITE_P(EveryMask, ScaleI2Forms, ::testing::Values(4U, 5U, 6U, 7U, 8U));

// What the forms cannot hold takes another way, whose sums do not overflow.
TEST(ScaleI2Kernels, LargeWeightsAreCalculatedInFull)
{
    using A = NUV_ScaleI2FixedArithmetic;
    const std::vector<std::int16_t> line(50, -32768);
    const std::vector<std::int16_t> weights(8, -32768);
    std::vector<const std::int16_t*> lines(8, line.data());
    std::vector<std::uint8_t> out(50);
    choose_combine_middles<A>(NUV_Cpu::current(), 8, 8 * 32768.0)(lines.data(), weights.data(),
                                                                  out.data(), 50, 255);
    EXPECT_EQ(out, std::vector<std::uint8_t>(50, 255));

    const std::vector<std::uint8_t> white(64, 255);
    const std::vector<std::int64_t> firsts(40, 0);
    const std::vector<std::int16_t> heavy(std::size_t{40} * 8, 32767);
    const NUV_ScaleI2RowTable<A> table{firsts.data(), heavy.data()};
    std::vector<std::int16_t> wanted(std::size_t{40} * 3);
    std::vector<std::int16_t> got(wanted);
    choose_filter_row<A>(portable, 8, 3, 8 * 32767.0)
        .filter(white.data(), table, wanted.data(), 0, 40);
    choose_filter_row<A>(NUV_Cpu::current(), 8, 3, 8 * 32767.0)
        .filter(white.data(), table, got.data(), 0, 40);
    EXPECT_EQ(got, wanted);
}

} // namespace
} // namespace nuv
