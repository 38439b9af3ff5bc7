#include "core/jpeg/kernels/nuv_jpegsamples.h"

#include "tests/core/jpeg/nuv_jpegtestforms.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <random>
#include <vector>

namespace nuv {
namespace {

struct SampleForm {
    const char* name;
    const NUV_JPEGSampleForms& forms;
};

std::vector<SampleForm> sample_forms()
{
    std::vector<SampleForm> all = {{"portable", jpeg_sample_forms({})}};
    if (NUV_Cpu::current().has_sse2)
        all.push_back({"sse2", jpeg_sample_forms({.has_sse2 = true, .has_avx2 = false})});
    if (NUV_Cpu::current().has_avx2)
        all.push_back({"avx2", jpeg_sample_forms({.has_sse2 = true, .has_avx2 = true})});
    return all;
}

// Rows of samples between bytes that nothing may touch.
constexpr std::uint8_t guard = 0xA5;

TEST(JPEGSamples, AreLimitedAndEqualInAllFormsAndStayInTheirBlock)
{
    constexpr std::size_t stride = 24;
    std::mt19937 random(3);
    for (int round = 0; round < 2000; ++round) {
        const int range = round % 2 == 0 ? 60 : 32767; // the second saturates everywhere
        const JPEGTestBlock block = random_block(random, -range, range, round % 3 == 0 ? 100 : 10);
        const JPEGTestBlock table = random_block(random, 1, 255);
        JPEGTestBlock transformed;
        ASSERT_EQ(
            portable_primitives().idct_dequant(block.data(), transformed.data(), table.data()),
            NUV_JPEGResult::good);
        for (const SampleForm& form : sample_forms()) {
            std::vector<std::uint8_t> out(stride * 10, guard);
            form.forms.block_to_samples(block.data(), table.data(), &out[stride + 7], stride);
            for (std::size_t i = 0; i < out.size(); ++i) {
                const std::size_t y = i / stride - 1;
                const std::size_t x = i % stride - 7;
                int expected = guard;
                if (y < 8 && x < 8)
                    expected = std::clamp(transformed[8 * y + x] + 128, 0, 255);
                ASSERT_EQ(out[i], expected) << form.name << ' ' << i;
            }
        }
    }
}

TEST(JPEGSamples, AreInterleavedForEveryWidthAndNoFurther)
{
    std::mt19937 random(4);
    std::array<std::vector<std::uint8_t>, 4> rows;
    for (auto& row : rows) {
        for (int i = 0; i < 70; ++i)
            row.push_back(static_cast<std::uint8_t>(random()));
    }
    for (const SampleForm& form : sample_forms()) {
        for (std::size_t count = 1; count <= 70; ++count) {
            for (const std::size_t channels : {std::size_t{3}, std::size_t{4}}) {
                // Rows of just their samples, so that a sanitizer sees a read beyond them.
                std::array<std::vector<std::uint8_t>, 4> exact;
                std::array<const std::uint8_t*, 4> in{};
                for (std::size_t c = 0; c < channels; ++c) {
                    exact[c].assign(rows[c].begin(),
                                    rows[c].begin() + static_cast<std::ptrdiff_t>(count));
                    in[c] = exact[c].data();
                }
                std::vector<std::uint8_t> out(channels * count + 1, guard);
                (channels == 3 ? form.forms.interleave_3
                               : form.forms.interleave_4)(in.data(), out.data(), count);
                for (std::size_t i = 0; i < channels * count; ++i)
                    ASSERT_EQ(out[i], rows[i % channels][i / channels]) << form.name << count;
                ASSERT_EQ(out.back(), guard) << form.name << count;
            }
            std::vector<std::uint8_t> twice(2 * count + 1, guard);
            form.forms.repeat_twice(rows[0].data(), twice.data(), count);
            for (std::size_t i = 0; i < 2 * count; ++i)
                ASSERT_EQ(twice[i], rows[0][i / 2]);
            ASSERT_EQ(twice.back(), guard);
        }
    }
}

} // namespace
} // namespace nuv
