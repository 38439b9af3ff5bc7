#include "core/jpeg/kernels/nuv_jpegprimitives.h"
#include "core/jpeg/kernels/nuv_jpegsamples.h"
#include "tests/support/nuv_testforms.h"

#include <gtest/gtest.h>

namespace nuv {
namespace {

using Set = NUV_JPEGPrimitives;

template <class... Fields>
void expect_primitives_chosen(const char (&forms)[5], Fields... fields)
{
    (expect_chosen(forms, [=](auto& cpu) { return jpeg_primitives(cpu).*fields; }), ...);
}

TEST(JPEGForms, AreChosenByTheProcessor)
{
    expect_primitives_chosen("PSAA", &Set::convert_rgb_ycc_444, &Set::convert_rgb_ycc_422,
                             &Set::convert_rgb_ycc_420, &Set::split_444, &Set::split_422,
                             &Set::split_420, &Set::fdct_quant, &Set::idct_dequant);
    expect_primitives_chosen("PSSS", &Set::huffman_encode_block, &Set::huffman_encode_block_wide,
                             &Set::lossless_first_row, &Set::lossless_other_rows);
    expect_chosen("PSAA", [](auto& cpu) { return jpeg_sample_forms(cpu).block_to_samples; });
    expect_chosen("PPAA", [](auto& cpu) { return jpeg_sample_forms(cpu).interleave_3; });
}

} // namespace
} // namespace nuv
