#include "core/colormatrix/source/nuv_colormatrixkernels.h"
#include "core/dlut/source/nuv_dlutkernels.h"
#include "core/jpeg/kernels/nuv_jpegprimitives.h"
#include "core/jpeg/kernels/nuv_jpegsamples.h"
#include "core/lut/source/nuv_lutkernels.h"
#include "core/mirror/source/nuv_mirrorx_kernels.h"
#include "core/rotate/source/nuv_rotate90_1_kernels.h"
#include "core/rotate/source/nuv_rotate90_8xn_kernels.h"
#include "core/scale/kernels/nuv_linekernels.h"
#include "core/scale/kernels/nuv_ppkernels.h"
#include "core/scale/kernels/nuv_tapkernels.h"
#include "extension/scalei2utility/nuv_scalei2kernels.h"
#include "tests/support/nuv_testforms.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace nuv {
namespace {

using U8 = std::uint8_t;
using U16 = std::uint16_t;

// No form may reach a processor below its level, and none may be forgotten.
TEST(ChosenForms, OfPixels)
{
    expect_chosen("lut, 1", "PPAV", [](auto& cpu) { return choose_lut_row<U8, U8>(cpu, 1); });
    expect_chosen("lut, 4", "PPPV", [](auto& cpu) { return choose_lut_row<U8, U8>(cpu, 4); });
    expect_chosen("lut, 5", "PPPP", [](auto& cpu) { return choose_lut_row<U8, U8>(cpu, 5); });
    expect_chosen("lut, 16", "PPPP", [](auto& cpu) { return choose_lut_row<U16, U8>(cpu, 1); });
    expect_chosen("dlut", "PPAA", [](auto& cpu) { return choose_dlut_row<U8>(cpu, 3, 4, 9); });
    expect_chosen("dlut, 4", "PPPP", [](auto& cpu) { return choose_dlut_row<U8>(cpu, 4, 4, 9); });
    constexpr std::int32_t factors[] = {1, 2, 32767, 4, 5, 32768, 7, 8, 9};
    const auto matrix = [&](std::size_t first, std::size_t rows, std::size_t columns) {
        return [=](const NUV_Cpu& cpu) {
            return choose_matrix_row<U8, std::int32_t>(cpu,
                                                       {factors + first, nullptr, rows, columns});
        };
    };
    expect_chosen("matrix 1 x 3", "PPAA", matrix(0, 1, 3));
    expect_chosen("matrix 3 x 1", "PPAA", matrix(2, 3, 1));
    expect_chosen("matrix of large factors", "PPPP", matrix(3, 1, 3));
    expect_chosen("matrix 2 x 2", "PPPP", matrix(0, 2, 2));
    for (const std::size_t bytes : {1, 2, 3, 6})
        expect_chosen("mirror", "PPAA", [&](auto& cpu) { return choose_mirror_row(cpu, bytes); });
    expect_chosen("rotated bits", "PSAA", choose_rotate90groups);
    expect_chosen("tile", "PSSS", [](auto& cpu) { return choose_rotate90tile(1, cpu); });
    expect_chosen("tile of 3", "PPAA", [](auto& cpu) { return choose_rotate90tile(3, cpu); });
}

TEST(ChosenForms, OfScaling)
{
    expect_chosen("blend", "PPAA", choose_blend_lines<U8, std::int32_t>);
    expect_chosen("blend, 16", "PPAA", choose_blend_lines<U16, double>);
    const auto combine = []<class T, class Weight>(bool narrow) {
        return [=](const NUV_Cpu& cpu) { return choose_combine_lines<T, Weight>(cpu, narrow); };
    };
    expect_chosen("combine", "PPAA", combine.operator()<U8, std::int32_t>(true));
    expect_chosen("combine, wide", "PPPP", combine.operator()<U8, std::int32_t>(false));
    expect_chosen("combine, 16", "PPAA", combine.operator()<U16, double>(false));
    const auto area = [](std::uint32_t channels, bool small) {
        return [=](const NUV_Cpu& cpu) { return choose_reduce_area_row<U8>(cpu, channels, small); };
    };
    expect_chosen("area, wide sums", "PPPP", area(3, false));
    for (const std::uint32_t channels : {3U, 4U}) {
        expect_chosen("area", "PPAA", area(channels, true));
        expect_chosen("real cubic", "PPAA", [&](auto& cpu) {
            return choose_convolve_real<NUV_CubicTaps<double>>(cpu, channels);
        });
        expect_chosen("real linear", "PPAA", [&](auto& cpu) {
            return choose_convolve_real<NUV_LinearTaps<double>>(cpu, channels);
        });
    }
    expect_chosen("area, lines", "PPAA", choose_reduce_area_lines<U8, std::int32_t>);
    for (const std::uint32_t channels : {1U, 3U, 4U})
        expect_chosen("packed", "PPAA",
                      [&](auto& cpu) { return choose_convolve_packed(cpu, channels); });
}

TEST(ChosenForms, OfMasks)
{
    using Fixed = NUV_ScaleI2FixedArithmetic;
    using Float = NUV_ScaleI2FloatArithmetic;
    const auto row = []<class A>(double most_weight) {
        return
            [=](const NUV_Cpu& cpu) { return choose_filter_row<A>(cpu, 8, 3, most_weight).filter; };
    };
    const auto combine = []<class A>(double most_weight) {
        return [=](const NUV_Cpu& cpu) { return choose_combine_middles<A>(cpu, 8, most_weight); };
    };
    expect_chosen("row", "PPAA", row.operator()<Fixed>(most_packed_row_weight));
    expect_chosen("row of heavy taps", "PPPP", row.operator()<Fixed>(most_packed_row_weight + 1));
    expect_chosen("row, 16", "PPAA", row.operator()<Float>(1e9));
    expect_chosen("lines", "PPAA", combine.operator()<Fixed>(most_narrow_line_weight));
    expect_chosen("heavy lines", "PPPP", combine.operator()<Fixed>(most_narrow_line_weight + 1));
    expect_chosen("lines, 16", "PPAA", combine.operator()<Float>(1e9));
}

TEST(ChosenForms, OfJPEG)
{
    using Set = NUV_JPEGPrimitives;
    const auto expect = [](const char* family, const auto& forms, auto... fields) {
        (expect_chosen(family, forms, [=](auto& cpu) { return jpeg_primitives(cpu).*fields; }),
         ...);
    };
    expect("colour", "PSAA", &Set::convert_rgb_ycc_444, &Set::convert_rgb_ycc_422,
           &Set::convert_rgb_ycc_420, &Set::split_444, &Set::split_422, &Set::split_420);
    expect("transform", "PSAA", &Set::fdct_quant, &Set::idct_dequant);
    expect("Huffman", "PSSS", &Set::huffman_encode_block, &Set::huffman_encode_block_wide);
    expect("lossless", "PSSS", &Set::lossless_first_row, &Set::lossless_other_rows);
    using Samples = NUV_JPEGSampleForms;
    const auto of = [](auto field) {
        return [=](const NUV_Cpu& cpu) { return jpeg_sample_forms(cpu).*field; };
    };
    expect_chosen("samples", "PSAA", of(&Samples::block_to_samples));
    expect_chosen("three channels", "PPAA", of(&Samples::interleave_3));
}

} // namespace
} // namespace nuv
