#include "core/jpeg/kernels/nuv_jpegforms.h"

#include "core/jpeg/kernels/nuv_jpegdifferences.h"
#include "core/jpeg/kernels/nuv_jpeghuffman.h"
#include "core/jpeg/kernels/nuv_jpegprimitives.h"
#include "core/jpeg/kernels/nuv_jpegsamples.h"
#include "core/jpeg/stream/nuv_jpegstandardtables.h"
#include "core/jpeg/stream/nuv_jpegtables.h"
#include "tests/support/nuv_testforms.h"

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

// Those that are not compared here are run at each level, against libjpeg and the first samples.
TEST(JPEGForms, AreChosenByTheProcessor)
{
    expect_chosen("PSSS", primitive(&Set::huffman_encode_block));
    for (const auto field :
         {&Set::convert_rgb_ycc_444, &Set::convert_rgb_ycc_422, &Set::convert_rgb_ycc_420,
          &Set::split_444, &Set::split_422, &Set::split_420})
        expect_chosen("PSAA", primitive(field));
    expect_chosen("PPAA", sample_form(&Samples::interleave_3));
    expect_chosen("PSSS", primitive(&Set::lossless_first_row));
    expect_chosen("PSSS", primitive(&Set::lossless_other_rows));
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

U16* draw_inverses(NUV_FormDraw& draw)
{
    U16* const inverses = draw.input<U16>(jpeg_block_size);
    for (std::size_t i = 0; draw.number(0, 2) != 0 && i < jpeg_block_size; ++i)
        inverses[i] = static_cast<U16>(32768 / draw.number(1, 255));
    return inverses;
}

TEST(JPEGForms, ForwardTransform)
{
    const auto draw_call = [](NUV_FormDraw& draw, auto compare) {
        const I16* const block = draw_block(draw);
        const U16* const inverses = draw_inverses(draw);
        compare(jpeg_block_size, [&](auto form, I16* out) {
            std::copy_n(block, jpeg_block_size, out);
            static_cast<void>(form(out, inverses));
        });
    };
    expect_same_forms<I16>("PSSS", primitive(&Set::fdct_quant), draw_call, 20000);
}

// Blocks as they come from the colour conversions, and the masks of their coefficients.
TEST(JPEGForms, TransformOfSeveralBlocks)
{
    const auto draw_call = [](NUV_FormDraw& draw, auto compare) {
        constexpr std::size_t most = 2 * Set::transform_group;
        const std::size_t count = draw.number(1, most);
        I16* const samples = draw.input<I16>(most * jpeg_block_size);
        const std::size_t kind = draw.number(0, 2);
        for (std::size_t i = 0; i < most * jpeg_block_size; ++i) {
            const I16 drawn = samples[kind == 2 ? i / jpeg_block_size : i];
            samples[i] = static_cast<I16>(kind == 0 ? drawn >> 8 : drawn < 0 ? -128 : 127);
        }
        const U16* const inverses = draw_inverses(draw);
        compare(count * (jpeg_block_size + 4), [&](auto form, I16* out) {
            std::vector<I16> coefficients(most * jpeg_block_size);
            std::uint64_t masks[most];
            form(samples, count, inverses, coefficients.data(), masks);
            std::memcpy(std::copy_n(coefficients.begin(), count * jpeg_block_size, out), masks,
                        count * sizeof(masks[0]));
        });
    };
    expect_same_forms<I16>("PSAV", primitive(&Set::transform_blocks), draw_call, 10000);
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
    const auto draw_call = [](std::size_t most) {
        return [=](NUV_FormDraw& draw, auto compare) {
            I16* const block = draw_block(draw);
            for (std::size_t k = most; k < jpeg_block_size; ++k)
                block[jpeg_zigzag[k]] = 0;
            const I16* const table = draw_quantisers(draw);
            const std::size_t stride = draw.one_of<std::size_t>({8, 9, 64});
            compare(7 * stride + 8, [&](auto form, U8* out) { form(block, table, out, stride); });
        };
    };
    expect_same_forms<U8>("PSAA", sample_form(&Samples::block_to_samples),
                          draw_call(jpeg_block_size), 20000);
    expect_same_forms<U8>("PSAA", sample_form(&Samples::short_block_to_samples),
                          draw_call(jpeg_short_block), 20000);
}

// Blocks in one go are the same bytes as each by itself, at every size that they just fit, and
// neither has codes for what the tables have none for.
TEST(JPEGForms, CodingOfSeveralBlocks)
{
    const Set& set = jpeg_primitives(NUV_Cpu::current());
    const auto& [dc_counts, dc_values] = jpeg_standard_luminance_dc;
    const auto& [ac_counts, ac_values] = jpeg_standard_luminance_ac;
    NUV_JPEGEncodeTable dc;
    NUV_JPEGWideEncodeTable ac;
    ASSERT_EQ(set.huffman_encode_spec_init(dc_counts.data(), dc_values.data(), &dc),
              NUV_JPEGResult::good);
    ASSERT_EQ(huffman_encode_wide_init(ac_counts.data(), ac_values.data(), &ac),
              NUV_JPEGResult::good);
    for (std::size_t round = 0; round < 5000; ++round) {
        NUV_FormDraw draw(round);
        constexpr std::size_t most = 4;
        const std::size_t count = draw.number(1, most);
        NUV_JPEGEncodeState state = {.accumulator = 0x1234567, .bits = 5, .spare = 0};
        NUV_JPEGEncodeState state_of_all = state;
        I16 previous = 0;
        I16 previous_of_all = 0;
        std::uint64_t masks[most];
        NUV_JPEGBlockToCode blocks[most];
        std::vector<U8> each;
        NUV_JPEGResult result = NUV_JPEGResult::good;
        for (std::size_t i = 0; i < count; ++i) {
            const I16* const block = draw_block(draw);
            masks[i] = mask_in_zigzag(non_zero_mask(block));
            blocks[i] = {block, &masks[i], &dc, &ac, &previous_of_all};
            for (std::int32_t size = 1; result == NUV_JPEGResult::good; ++size) {
                std::int32_t position = 0;
                U8 output[512];
                const I16 before = previous;
                result = set.huffman_encode_block(block, output, size, &position, &previous, &dc,
                                                  &ac.plain, &state, false);
                if (result == NUV_JPEGResult::good) {
                    EXPECT_TRUE(position == size || size == 1) << position << " of " << size;
                    each.insert(each.end(), output, output + position);
                    break;
                }
                if (result == NUV_JPEGResult::bad_size && size < 512) {
                    previous = before;
                    result = NUV_JPEGResult::good;
                }
            }
        }
        std::vector<U8> all(512 * count);
        const U8* const end = set.huffman_encode_blocks(blocks, count, all.data(), &state_of_all);
        ASSERT_EQ(end != nullptr, result == NUV_JPEGResult::good) << round;
        if (end == nullptr)
            continue;
        all.resize(static_cast<std::size_t>(end - all.data()));
        EXPECT_EQ(all, each) << round;
        EXPECT_EQ(state_of_all.bits, state.bits);
    }
}

// Random data under random tables, which have codes without meaning and of all lengths: the same
// differences, and the same end of them, as by the plain tables.
TEST(JPEGForms, LosslessDifferences)
{
    for (std::size_t round = 0; round < 3000; ++round) {
        NUV_FormDraw draw(round);
        NUV_JPEGDifferenceTable table;
        U8 counts[16] = {};
        std::size_t free_codes = 1;
        for (std::size_t i = 0; i < 16; ++i) {
            free_codes = std::min<std::size_t>(2 * free_codes, 200);
            const std::size_t most = std::min<std::size_t>(free_codes - 1, i < 8 ? 3 : 15);
            counts[i] = static_cast<U8>(draw.number(0, most));
            free_codes -= counts[i];
        }
        U8* const symbols = draw.input<U8>(256);
        const std::size_t categories = draw.one_of<std::size_t>({6, 9, 17, 18});
        for (std::size_t i = 0; i < 256; ++i)
            symbols[i] = static_cast<U8>(symbols[i] % categories);
        ASSERT_EQ(huffman_decode_difference_init(counts, symbols, &table), NUV_JPEGResult::good);
        const std::size_t size = draw.number(1, 300);
        U8* const data = draw.input<U8>(size);
        for (std::size_t i = 1; i < size; ++i) {
            if (draw.number(0, 8) == 0)
                data[i] = 0xFF;
            if (data[i - 1] == 0xFF && draw.number(0, 40) != 0)
                data[i] = 0;
        }

        const std::size_t components = draw.number(1, 4);
        constexpr std::size_t columns = 300;
        const NUV_JPEGDifferenceTable* const tables[] = {&table, &table, &table, &table};
        const NUV_JPEGDecodeTable* const plain[] = {&table.plain, &table.plain, &table.plain,
                                                    &table.plain};
        U16 got[4][columns] = {};
        U16 wanted[4][columns] = {};
        U16* const got_rows[] = {got[0], got[1], got[2], got[3]};
        U16* const wanted_rows[] = {wanted[0], wanted[1], wanted[2], wanted[3]};
        const auto bytes = static_cast<std::int32_t>(size);
        NUV_JPEGDecodeState state{};
        std::int32_t position = 0;
        U8 marker = 0;
        const NUV_JPEGResult result = jpeg_primitives({}).lossless_decode_rows(
            data, bytes, &position, wanted_rows, columns, static_cast<std::int32_t>(components),
            &marker, plain, &state);
        U8 other_marker = 0;
        NUV_JPEGBitReader reader(data, bytes, 0, &other_marker, {});
        ASSERT_EQ(
            decode_differences(reader, tables, got_rows, components, round % 2 == 0, 0, columns),
            result)
            << "round " << round;
        ASSERT_TRUE(std::equal(got[0], got[0] + 4 * columns, wanted[0])) << "round " << round;
    }
}

} // namespace
} // namespace nuv
