#include "core/jpeg/kernels/nuv_jpegprimitives.h"
#include "core/jpeg/kernels/nuv_jpegsamples.h"
#include "tests/support/nuv_testforms.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace nuv {
namespace {

using U8 = std::uint8_t;
using I16 = std::int16_t;
using U16 = std::uint16_t;
using Set = NUV_JPEGPrimitives;
using Samples = NUV_JPEGSampleForms;

template <class Field>
auto primitive(Field field)
{
    return [=](const NUV_Cpu& cpu) { return jpeg_primitives(cpu).*field; };
}

template <class Field>
auto sample_form(Field field)
{
    return [=](const NUV_Cpu& cpu) { return jpeg_sample_forms(cpu).*field; };
}

TEST(JPEGForms, AreChosenByTheProcessor)
{
    expect_chosen("PSSS", primitive(&Set::huffman_encode_block_wide));
}

// Blocks as pictures have them, sparse ones, flat ones, and the two ends of the range.
I16* draw_block(NUV_FormDraw& draw)
{
    I16* const block = draw.input<I16>(jpeg_block_size);
    const std::size_t kept = draw.one_of<std::size_t>({0, 1, 4, 16, 64});
    const int shift = draw.one_of({0, 0, 5, 8, 15});
    for (std::size_t i = 0; i < jpeg_block_size; ++i) {
        if (shift == 15)
            block[i] = block[i] < 0 ? -32768 : 32767;
        else
            block[i] = static_cast<I16>(block[i] >> shift);
        if (i > 0 && draw.number(0, 63) >= kept)
            block[i] = 0;
    }
    return block;
}

I16* draw_quantisers(NUV_FormDraw& draw)
{
    I16* const table = draw.input<I16>(jpeg_block_size);
    if (draw.number(0, 3) != 0) {
        for (std::size_t i = 0; i < jpeg_block_size; ++i)
            table[i] = static_cast<I16>((table[i] & 0xFF) | 1);
    }
    return table;
}

TEST(JPEGForms, Color)
{
    struct Shape {
        Set::PixelsToBlocks Set::*convert;
        Set::PixelsToBlocks Set::*split;
        std::size_t across, down; // pixels in a cell
    };
    for (const Shape& shape : {Shape{&Set::convert_rgb_ycc_444, &Set::split_444, 1, 1},
                               {&Set::convert_rgb_ycc_422, &Set::split_422, 2, 1},
                               {&Set::convert_rgb_ycc_420, &Set::split_420, 2, 2}}) {
        for (const auto field : {shape.convert, shape.split}) {
            expect_same_forms<I16>("PSAA", primitive(field), [&](NUV_FormDraw& draw, auto compare) {
                const std::size_t step = 24 * shape.across + draw.one_of<std::size_t>({0, 1, 64});
                const std::size_t bytes = (8 * shape.down - 1) * step + 24 * shape.across;
                U8* const pixels = draw.input<U8>(bytes);
                if (draw.number(0, 2) == 0)
                    std::transform(pixels, pixels + bytes, pixels,
                                   [](U8 value) { return value < 128 ? U8{0} : U8{255}; });
                const std::size_t luma = jpeg_block_size * shape.across * shape.down;
                compare(luma + 2 * jpeg_block_size, [&](auto form, I16* out) {
                    static_cast<void>(form(pixels, static_cast<std::int32_t>(step), out, out + luma,
                                           out + luma + jpeg_block_size));
                });
            });
        }
    }
}

TEST(JPEGForms, ForwardTransform)
{
    const auto draw_call = [](NUV_FormDraw& draw, auto compare) {
        const I16* const block = draw_block(draw);
        U16* const inverses = draw.input<U16>(jpeg_block_size);
        for (std::size_t i = 0; draw.number(0, 2) != 0 && i < jpeg_block_size; ++i)
            inverses[i] = static_cast<U16>(32768 / draw.number(1, 255));
        compare(jpeg_block_size, [&](auto form, I16* out) {
            std::copy_n(block, jpeg_block_size, out);
            static_cast<void>(form(out, inverses));
        });
    };
    expect_same_forms<I16>("PSAA", primitive(&Set::fdct_quant), draw_call, 20000);
}

TEST(JPEGForms, InverseTransform)
{
    const auto draw_call = [](NUV_FormDraw& draw, auto compare) {
        const I16* const block = draw_block(draw);
        const I16* const table = draw_quantisers(draw);
        const bool is_in_place = draw.number(0, 1) == 0;
        compare(jpeg_block_size, [&](auto form, I16* out) {
            std::copy_n(block, jpeg_block_size, out);
            static_cast<void>(form(is_in_place ? out : block, out, table));
        });
    };
    expect_same_forms<I16>("PSAA", primitive(&Set::idct_dequant), draw_call, 20000);
}

TEST(JPEGForms, SamplesOfABlock)
{
    const auto draw_call = [](NUV_FormDraw& draw, auto compare) {
        const I16* const block = draw_block(draw);
        const I16* const table = draw_quantisers(draw);
        const std::size_t stride = draw.one_of<std::size_t>({8, 9, 64});
        compare(7 * stride + 8, [&](auto form, U8* out) { form(block, table, out, stride); });
    };
    expect_same_forms<U8>("PSAA", sample_form(&Samples::block_to_samples), draw_call, 20000);
}

TEST(JPEGForms, PixelsOfThreeSamples)
{
    const auto draw_call = [](NUV_FormDraw& draw, auto compare) {
        const std::size_t count = draw.length(100);
        const std::array<const U8*, 3> rows = {draw.input<U8>(count), draw.input<U8>(count),
                                               draw.input<U8>(count)};
        compare(3 * count, [&](auto form, U8* out) { form(rows.data(), out, count); });
    };
    expect_same_forms<U8>("PPAA", sample_form(&Samples::interleave_3), draw_call);
}

// In place, as the decoder does it.
TEST(JPEGForms, LosslessRows)
{
    const auto with = [](auto work) {
        return [=](NUV_FormDraw& draw, auto compare) {
            const std::size_t count = draw.length(99) + 1;
            const U16* const differences = draw.input<U16>(count);
            const U16* const above = draw.input<U16>(count);
            const auto predictor = static_cast<std::int32_t>(draw.number(1, 7));
            compare(count, [&](auto form, U16* out) {
                std::copy_n(differences, count, out);
                work(form, above, out, static_cast<std::int32_t>(count), predictor);
            });
        };
    };
    expect_same_forms<U16>("PSSS", primitive(&Set::lossless_first_row),
                           with([](auto form, const U16*, U16* out, auto count, auto low) {
                               static_cast<void>(form(out, out, count, 12, low));
                           }));
    expect_same_forms<U16>("PSSS", primitive(&Set::lossless_other_rows),
                           with([](auto form, const U16* above, U16* out, auto count, auto by) {
                               static_cast<void>(form(out, above, out, count, by));
                           }));
}

} // namespace
} // namespace nuv
