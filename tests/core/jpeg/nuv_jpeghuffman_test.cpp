#include "core/jpeg/kernels/nuv_jpeghuffman.h"

#include "core/jpeg/kernels/nuv_jpegcoefficients.h"
#include "core/jpeg/stream/nuv_jpegstandardtables.h"
#include "core/jpeg/stream/nuv_jpegtables.h"
#include "tests/core/jpeg/nuv_jpegtestforms.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;

std::int32_t size_of(const Bytes& bytes)
{
    return static_cast<std::int32_t>(bytes.size());
}

// One pair of tables, for both directions.
struct Tables {
    NUV_JPEGEncodeTable encode_dc, encode_ac;
    NUV_JPEGDecodeTable decode_dc, decode_ac;
    NUV_JPEGWideTable wide_dc, wide_ac;
    NUV_JPEGWideEncodeTable wide_encode_ac;

    template <class Dc, class Ac>
    Tables(const Dc& dc, const Ac& ac)
    {
        const NUV_JPEGPrimitives& p = portable_primitives();
        const std::uint8_t* dc_bits = dc.counts.data();
        const std::uint8_t* ac_bits = ac.counts.data();
        EXPECT_EQ(p.huffman_encode_spec_init(dc_bits, dc.values.data(), &encode_dc),
                  NUV_JPEGResult::good);
        EXPECT_EQ(p.huffman_encode_spec_init(ac_bits, ac.values.data(), &encode_ac),
                  NUV_JPEGResult::good);
        EXPECT_EQ(p.huffman_decode_spec_init(dc_bits, dc.values.data(), &decode_dc),
                  NUV_JPEGResult::good);
        EXPECT_EQ(p.huffman_decode_spec_init(ac_bits, ac.values.data(), &decode_ac),
                  NUV_JPEGResult::good);
        EXPECT_EQ(huffman_decode_wide_init(dc_bits, dc.values.data(), &wide_dc),
                  NUV_JPEGResult::good);
        EXPECT_EQ(huffman_decode_wide_init(ac_bits, ac.values.data(), &wide_ac),
                  NUV_JPEGResult::good);
        EXPECT_EQ(huffman_encode_wide_init(ac_bits, ac.values.data(), &wide_encode_ac),
                  NUV_JPEGResult::good);
    }
};

const Tables& luminance()
{
    static const Tables tables(jpeg_standard_luminance_dc, jpeg_standard_luminance_ac);
    return tables;
}

const Tables& chrominance()
{
    static const Tables tables(jpeg_standard_chrominance_dc, jpeg_standard_chrominance_ac);
    return tables;
}

struct Encoder {
    const NUV_JPEGPrimitives& primitives = portable_primitives();
    const Tables& tables = luminance();
    bool wide = false;
    Bytes output = Bytes(1 << 20);
    std::int32_t position = 0;
    std::int16_t previous_dc = 0;
    NUV_JPEGEncodeState state = {};

    NUV_JPEGResult put(const JPEGTestBlock& block, bool flush = false)
    {
        if (wide)
            return primitives.huffman_encode_block_wide(
                block.data(), output.data(), size_of(output), &position, &previous_dc,
                &tables.encode_dc, &tables.wide_encode_ac, &state, flush);
        return primitives.huffman_encode_block(block.data(), output.data(), size_of(output),
                                               &position, &previous_dc, &tables.encode_dc,
                                               &tables.encode_ac, &state, flush);
    }
    Bytes finish()
    {
        EXPECT_EQ(put({}, true), NUV_JPEGResult::good);
        return {output.begin(), output.begin() + position};
    }
};

struct Decoder {
    Bytes input;
    const Tables& tables = luminance();
    std::int32_t position = 0;
    std::int16_t previous_dc = 0;
    std::uint8_t marker = 0;
    NUV_JPEGDecodeState state = {};
    JPEGTestBlock block{};

    NUV_JPEGResult decode(bool wide)
    {
        if (wide) {
            NUV_JPEGBitReader bits(input.data(), size_of(input), position, &marker, state);
            state.coefficients = 0;
            const NUV_JPEGResult result =
                decode_coefficients(bits, block.data(), previous_dc, tables.wide_dc, tables.wide_ac,
                                    state.coefficients);
            bits.store(position, state);
            return result;
        }
        return portable_primitives().huffman_decode_block(
            input.data(), size_of(input), &position, block.data(), &previous_dc, &marker,
            &tables.decode_dc, &tables.decode_ac, &state);
    }
};

// Dense and sparse blocks of large and small values. DC stays where the standard tables reach.
std::vector<JPEGTestBlock> random_blocks(std::size_t count)
{
    std::mt19937 random(6);
    std::vector<JPEGTestBlock> blocks;
    for (std::size_t i = 0; i < count; ++i) {
        const int densities[] = {100, 40, 12, 3, 0};
        const int reaches[] = {1, 7, 100, 1023};
        const int reach = reaches[random() % 4];
        blocks.push_back(random_block(random, -reach, reach, densities[random() % 5]));
    }
    return blocks;
}

// Bits as text, padded with ones to whole bytes, and with the 0 behind each 0xFF.
Bytes to_bytes(std::string bits)
{
    bits.resize((bits.size() + 7) / 8 * 8, '1');
    Bytes bytes;
    for (std::size_t i = 0; i < bits.size(); i += 8) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(bits.substr(i, 8), nullptr, 2)));
        if (bytes.back() == 0xFF)
            bytes.push_back(0);
    }
    return bytes;
}

TEST(JpegHuffmanEncode, WritesTheCodesOfTheStandard)
{
    const std::string dc_0 = "00";
    const std::string end = "1010";
    const std::string zeros_16 = "11111111001";
    JPEGTestBlock last{}; // 5, then 62 zeros, then 1: no end of block behind it
    last[0] = 5;
    last[63] = 1;
    JPEGTestBlock negative{}; // -3 after 16 zeros exactly
    negative[jpeg_zigzag[17]] = -3;
    JPEGTestBlock first{}; // -1 at once
    first[1] = -1;

    struct Case {
        JPEGTestBlock block;
        std::string bits;
    };
    const Case cases[] = {
        {{}, dc_0 + end},
        {last, "100101" + zeros_16 + zeros_16 + zeros_16 + "1111111111101011" + "1"},
        {negative, dc_0 + zeros_16 + "01" + "00" + end},
        {first, dc_0 + "00" + "0" + end},
    };
    for (const JPEGTestForm& form : jpeg_test_forms()) {
        for (const Case& c : cases) {
            for (const bool wide : {false, true}) {
                Encoder encoder{.primitives = form.primitives, .wide = wide};
                ASSERT_EQ(encoder.put(c.block), NUV_JPEGResult::good);
                EXPECT_EQ(encoder.previous_dc, c.block[0]);
                EXPECT_EQ(encoder.finish(), to_bytes(c.bits)) << form.name << ' ' << c.bits;
                EXPECT_EQ(encoder.state.bits, 0u);
            }
        }
    }
}

TEST(JpegHuffman, EveryFormRoundTripsThroughBothDecoders)
{
    const std::vector<JPEGTestBlock> blocks = random_blocks(2000);
    for (const Tables* tables : {&luminance(), &chrominance()}) {
        Bytes first;
        for (const JPEGTestForm& form : jpeg_test_forms()) {
            for (const bool wide : {false, true}) {
                Encoder encoder{.primitives = form.primitives, .tables = *tables, .wide = wide};
                for (const JPEGTestBlock& block : blocks)
                    ASSERT_EQ(encoder.put(block), NUV_JPEGResult::good);
                const Bytes coded = encoder.finish();
                if (first.empty())
                    first = coded;
                EXPECT_EQ(coded, first) << form.name;
            }
        }
        for (std::size_t i = 0; i + 1 < first.size(); ++i)
            EXPECT_TRUE(first[i] != 0xFF || first[i + 1] == 0);
        EXPECT_GT(std::count(first.begin(), first.end(), 0xFF), 20);

        for (const bool wide : {false, true}) {
            Decoder decoder{.input = first, .tables = *tables};
            for (const JPEGTestBlock& block : blocks) {
                ASSERT_EQ(decoder.decode(wide), NUV_JPEGResult::good);
                ASSERT_EQ(decoder.block, block);
                std::uint32_t reached = 64;
                while (reached > 1 && block[jpeg_zigzag[reached - 1]] == 0)
                    --reached;
                ASSERT_EQ(decoder.state.coefficients, reached);
            }
            EXPECT_EQ(decoder.position, size_of(first));
        }
    }
}

// A small output takes what fits, to the last byte; a larger block changes nothing behind it.
TEST(JpegHuffmanEncode, StopsAtTheEndOfTheOutput)
{
    std::mt19937 random(7);
    const JPEGTestBlock block = random_block(random, -1023, 1023);
    Encoder whole;
    ASSERT_EQ(whole.put(block), NUV_JPEGResult::good);
    const Bytes expected = whole.finish();
    for (std::size_t size = 1; size <= expected.size(); ++size) {
        Encoder encoder;
        encoder.output = Bytes(size); // a sanitizer sees what goes beyond
        NUV_JPEGResult result = encoder.put(block);
        if (is_good(result))
            result = encoder.put(block, true);
        EXPECT_EQ(result, size < expected.size() ? NUV_JPEGResult::bad_size : NUV_JPEGResult::good)
            << size;
        if (is_good(result)) {
            EXPECT_EQ(encoder.output, expected);
        }
    }
}

TEST(JpegHuffmanEncode, RefusesValuesWithoutCode)
{
    struct Case {
        const char* what;
        std::int16_t previous_dc, dc, ac;
        NUV_JPEGResult result;
    };
    const Case cases[] = {
        {"largest of the standard tables", -1024, 1023, 1023, NUV_JPEGResult::good},
        {"DC category 12", -2048, 2047, 0, NUV_JPEGResult::bad_huffman},
        {"DC category 16", -32768, 32767, 0, NUV_JPEGResult::bad_huffman},
        {"AC category 11", 0, 0, 1024, NUV_JPEGResult::bad_huffman},
        {"AC category 16", 0, 0, -32768, NUV_JPEGResult::bad_huffman},
    };
    for (const Case& c : cases) {
        for (const bool wide : {false, true}) {
            Encoder encoder{.wide = wide};
            encoder.previous_dc = c.previous_dc;
            JPEGTestBlock block{};
            block[0] = c.dc;
            block[9] = c.ac;
            EXPECT_EQ(encoder.put(block), c.result) << c.what;
        }
    }
    // A table that knows the end of the block alone.
    NUV_JPEGWideEncodeTable bare;
    const std::array<std::uint8_t, 16> one_code = {1};
    const std::uint8_t end_of_block = 0;
    ASSERT_EQ(huffman_encode_wide_init(one_code.data(), &end_of_block, &bare),
              NUV_JPEGResult::good);
    Encoder encoder;
    JPEGTestBlock block{};
    const auto put = [&] {
        return encoder.primitives.huffman_encode_block_wide(
            block.data(), encoder.output.data(), size_of(encoder.output), &encoder.position,
            &encoder.previous_dc, &encoder.tables.encode_dc, &bare, &encoder.state, false);
    };
    EXPECT_EQ(put(), NUV_JPEGResult::good);
    block[1] = 1;
    EXPECT_EQ(put(), NUV_JPEGResult::bad_huffman);
}

// The last block behind its first bytes, with room to spare at the end of the buffer.
TEST(JpegHuffmanDecode, FillBytesAndMarkersAreTold)
{
    const std::vector<JPEGTestBlock> blocks = random_blocks(300);
    Encoder encoder;
    for (const JPEGTestBlock& block : blocks)
        ASSERT_EQ(encoder.put(block), NUV_JPEGResult::good);
    const Bytes coded = encoder.finish();
    Bytes filled;
    for (const std::uint8_t byte : coded) {
        filled.push_back(byte);
        if (byte == 0xFF)
            filled.insert(filled.end(), filled.size() % 3, 0xFF);
    }
    for (const bool wide : {false, true}) {
        Decoder decoder{.input = filled};
        const std::size_t end = filled.size();
        decoder.input.insert(decoder.input.end(), {0xFF, 0xFF, 0xD3, 0, 0, 0, 0, 0, 0, 0, 0});
        for (const JPEGTestBlock& block : blocks) {
            ASSERT_EQ(decoder.decode(wide), NUV_JPEGResult::good);
            ASSERT_EQ(decoder.block, block);
        }
        EXPECT_EQ(decoder.decode(wide), NUV_JPEGResult::no_code);
        EXPECT_EQ(decoder.marker, 0xD3);
        EXPECT_EQ(decoder.position, static_cast<std::int32_t>(end + 3));
        EXPECT_EQ(decoder.state.coefficients, 0u);
        // Nothing is read until the marker is taken.
        EXPECT_EQ(decoder.decode(wide), NUV_JPEGResult::no_code);
        EXPECT_EQ(decoder.position, static_cast<std::int32_t>(end + 3));
    }
}

// Every prefix gives the blocks that are whole in it and says that data is missing; with the copies
// put back and more data the decoder goes on as if nothing had been.
TEST(JpegHuffmanDecode, TruncatedDataIsToldAndCanBeContinued)
{
    const std::vector<JPEGTestBlock> blocks = random_blocks(12);
    Encoder encoder;
    for (const JPEGTestBlock& block : blocks)
        ASSERT_EQ(encoder.put(block), NUV_JPEGResult::good);
    const Bytes coded = encoder.finish();
    for (const bool wide : {false, true}) {
        for (std::size_t size = 1; size < coded.size(); ++size) {
            Decoder decoder{
                .input = Bytes(coded.begin(), coded.begin() + static_cast<std::ptrdiff_t>(size))};
            for (const JPEGTestBlock& block : blocks) {
                const auto position = decoder.position;
                const auto previous_dc = decoder.previous_dc;
                const auto state = decoder.state;
                NUV_JPEGResult result = decoder.decode(wide);
                if (!is_good(result)) {
                    ASSERT_EQ(result, NUV_JPEGResult::out_of_data);
                    ASSERT_EQ(decoder.state.coefficients, 0u);
                    decoder.position = position;
                    decoder.previous_dc = previous_dc;
                    decoder.state = state;
                    decoder.input = coded;
                    result = decoder.decode(wide);
                }
                ASSERT_EQ(result, NUV_JPEGResult::good);
                ASSERT_EQ(decoder.block, block);
            }
        }
    }
}

TEST(JpegHuffmanDecode, RunsOutOfTheBlockAreRefused)
{
    const std::string zeros_16 = "11111111001";
    struct Case {
        std::string bits;
        NUV_JPEGResult result;
    };
    const Case cases[] = {
        // 48 zeros, then 14 and a value: coefficient 63. With 15 it is out.
        {"00" + zeros_16 + zeros_16 + zeros_16 + "1111111111101011" + "1", NUV_JPEGResult::good},
        {"00" + zeros_16 + zeros_16 + zeros_16 + "1111111111110101" + "1",
         NUV_JPEGResult::run_past_block},
        // Zeros past the end alone just end the block.
        {"00" + zeros_16 + zeros_16 + zeros_16 + zeros_16, NUV_JPEGResult::good},
        {"1111111111111111111", NUV_JPEGResult::no_code},
    };
    for (const Case& c : cases) {
        for (const bool wide : {false, true}) {
            Decoder decoder{.input = to_bytes(c.bits)};
            decoder.input.resize(decoder.input.size() + 20); // what follows is not looked at
            EXPECT_EQ(decoder.decode(wide), c.result) << c.bits;
            EXPECT_EQ(decoder.state.coefficients, is_good(c.result) ? 64u : 0u) << c.bits;
        }
    }
}

TEST(JpegHuffmanDecode, BothDecodersAgreeOnNoise)
{
    std::mt19937 random(8);
    for (int n = 0; n < 3000; ++n) {
        Bytes noise(1 + random() % 300);
        for (std::uint8_t& byte : noise)
            byte = static_cast<std::uint8_t>(random() % 8 == 0 ? random() % 2 * 0xFF : random());
        const Tables& tables = n % 2 == 0 ? luminance() : chrominance();
        Decoder plain{.input = noise, .tables = tables};
        Decoder wide{.input = noise, .tables = tables};
        for (NUV_JPEGResult result = NUV_JPEGResult::good; is_good(result);) {
            result = plain.decode(false);
            ASSERT_EQ(wide.decode(true), result);
            if (is_good(result)) {
                ASSERT_EQ(wide.block, plain.block);
                ASSERT_EQ(wide.previous_dc, plain.previous_dc);
                ASSERT_EQ(wide.state.coefficients, plain.state.coefficients);
            }
        }
    }
}

TEST(JpegHuffmanTables, ImpossibleOnesAreRefused)
{
    using Counts = std::array<std::uint8_t, 16>;
    struct Case {
        const char* what;
        Counts counts;
        NUV_JPEGResult result;
    };
    const Case cases[] = {
        {"empty", {}, NUV_JPEGResult::good},
        {"incomplete", {1}, NUV_JPEGResult::good},
        {"complete at 1 bit", {2}, NUV_JPEGResult::good},
        {"three codes of 1 bit", {3}, NUV_JPEGResult::bad_huffman},
        {"full, and one more below", {1, 2, 1}, NUV_JPEGResult::bad_huffman},
        {"257 codes", {0, 0, 0, 0, 0, 0, 0, 0, 0, 255, 2}, NUV_JPEGResult::bad_huffman},
        {"256 codes", {0, 0, 0, 0, 0, 0, 0, 0, 0, 255, 1}, NUV_JPEGResult::good},
        {"16 ones", {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 2}, NUV_JPEGResult::bad_huffman},
        {"15 ones and a zero",
         {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1},
         NUV_JPEGResult::good},
    };
    const NUV_JPEGPrimitives& p = portable_primitives();
    std::array<std::uint8_t, 256> values{};
    for (const Case& c : cases) {
        NUV_JPEGEncodeTable encode;
        NUV_JPEGDecodeTable decode;
        NUV_JPEGWideTable wide;
        const std::uint8_t* bits = c.counts.data();
        EXPECT_EQ(p.huffman_encode_spec_init(bits, values.data(), &encode), c.result) << c.what;
        EXPECT_EQ(p.huffman_decode_spec_init(bits, values.data(), &decode), c.result) << c.what;
        EXPECT_EQ(huffman_decode_wide_init(bits, values.data(), &wide), c.result) << c.what;
    }
}

using Frequencies = std::array<std::uint64_t, 257>;
struct Optimal {
    std::array<std::uint8_t, 16> counts{};
    std::array<std::uint8_t, 256> values{};
    NUV_JPEGEncodeTable codes{};
};

Optimal optimal_table(const Frequencies& frequencies)
{
    Optimal table;
    const NUV_JPEGPrimitives& p = portable_primitives();
    EXPECT_EQ(p.huffman_optimal_table(frequencies.data(), table.counts.data(), table.values.data()),
              NUV_JPEGResult::good);
    EXPECT_EQ(p.huffman_encode_spec_init(table.counts.data(), table.values.data(), &table.codes),
              NUV_JPEGResult::good);
    for (std::size_t i = 0; i < 256; ++i) {
        EXPECT_EQ(table.codes.words[i] != 0, frequencies[i] != 0) << i;
        const std::uint32_t length = table.codes.words[i] >> 16;
        EXPECT_TRUE(length == 0 || (table.codes.words[i] & 0xFFFF) != (1U << length) - 1);
    }
    return table;
}

TEST(JpegHuffmanTables, OptimalOnesAreShortAndLegal)
{
    EXPECT_EQ(optimal_table({}).counts, (std::array<std::uint8_t, 16>{}));

    Frequencies one{};
    one[7] = 1000;
    EXPECT_EQ(optimal_table(one).counts, (std::array<std::uint8_t, 16>{1}));

    // 5: 1 bit; 3: 2; 1 and the reserved code: 3.
    Frequencies three{};
    three[10] = 5;
    three[0] = 3;
    three[200] = 1;
    const Optimal small = optimal_table(three);
    EXPECT_EQ(small.counts, (std::array<std::uint8_t, 16>{1, 1, 1}));
    EXPECT_EQ(small.values[0], 10);
    EXPECT_EQ(small.values[1], 0);
    EXPECT_EQ(small.values[2], 200);

    Frequencies equal{};
    std::fill_n(equal.begin(), 256, std::uint64_t{9});
    EXPECT_EQ(optimal_table(equal).counts[7], 255);
    EXPECT_EQ(optimal_table(equal).counts[8], 1);

    // Each as rare as all rarer ones together: an unlimited tree would have codes of 60 bits.
    Frequencies steep{};
    std::uint64_t frequency = 1;
    for (std::size_t i = 0; i < 60; ++i, frequency *= 2)
        steep[i] = frequency;
    const Optimal limited = optimal_table(steep);
    EXPECT_EQ(limited.codes.words[59] >> 16, 1u);
    EXPECT_EQ(limited.codes.words[0] >> 16, 16u);

    // Frequencies for which the standard's own table is meant to be good: fewer bits for all.
    std::mt19937 random(9);
    for (int n = 0; n < 50; ++n) {
        Frequencies frequencies{};
        for (std::size_t i = 0; i < 162; ++i)
            frequencies[jpeg_standard_luminance_ac.values[i]] =
                1 + random() % (1 + (1U << 20) / (1 + i * i));
        const Optimal table = optimal_table(frequencies);
        std::uint64_t best = 0;
        std::uint64_t standard = 0;
        for (std::size_t i = 0; i < 256; ++i) {
            best += frequencies[i] * (table.codes.words[i] >> 16);
            standard += frequencies[i] * (luminance().encode_ac.words[i] >> 16);
        }
        EXPECT_LT(best, standard);
    }
}

TEST(JpegHuffmanTables, SizesAreThoseOfTheStructures)
{
    const NUV_JPEGPrimitives& p = portable_primitives();
    std::int32_t size = 0;
    EXPECT_EQ(p.huffman_encode_spec_size(&size), NUV_JPEGResult::good);
    EXPECT_EQ(size, 1024);
    EXPECT_EQ(p.huffman_decode_spec_size(&size), NUV_JPEGResult::good);
    EXPECT_EQ(size, 1644);
    EXPECT_EQ(p.huffman_state_size(&size), NUV_JPEGResult::good);
    EXPECT_EQ(size, 24);
    EXPECT_EQ(p.huffman_size(&size), NUV_JPEGResult::good);
    EXPECT_EQ(size, 257 * 8);
    EXPECT_EQ(p.huffman_size(nullptr), NUV_JPEGResult::null_pointer);

    NUV_JPEGDecodeState state = {
        .accumulator = 1, .bits = 2, .spare = 3, .coefficients = 4, .owner = 5};
    EXPECT_EQ(p.huffman_state_init(&state), NUV_JPEGResult::good);
    EXPECT_EQ(state.accumulator + state.bits + state.spare + state.coefficients, 0u);
    EXPECT_EQ(state.owner, 5u);
}

// Each argument wrong for itself, and two at once: the pointer counts, then the size.
TEST(JpegHuffman, RefusesBadArgumentsInOrder)
{
    Encoder encoder;
    Decoder decoder{.input = Bytes(4)};
    const JPEGTestBlock block{};
    const auto encode = [&](const std::int16_t* from, std::int32_t size, std::int32_t position) {
        encoder.position = position;
        return encoder.primitives.huffman_encode_block(
            from, encoder.output.data(), size, &encoder.position, &encoder.previous_dc,
            &encoder.tables.encode_dc, &encoder.tables.encode_ac, &encoder.state, false);
    };
    EXPECT_EQ(encode(nullptr, 0, -1), NUV_JPEGResult::null_pointer);
    EXPECT_EQ(encode(block.data(), 0, -1), NUV_JPEGResult::bad_size);
    EXPECT_EQ(encode(block.data(), 10, -1), NUV_JPEGResult::bad_parameter);
    EXPECT_EQ(encode(block.data(), 10, 11), NUV_JPEGResult::bad_parameter);

    const auto decode = [&](std::uint8_t* marker, std::int32_t size, std::int32_t position) {
        return portable_primitives().huffman_decode_block(
            decoder.input.data(), size, &position, decoder.block.data(), &decoder.previous_dc,
            marker, &decoder.tables.decode_dc, &decoder.tables.decode_ac, &decoder.state);
    };
    EXPECT_EQ(decode(nullptr, 0, -1), NUV_JPEGResult::null_pointer);
    EXPECT_EQ(decode(&decoder.marker, 0, -1), NUV_JPEGResult::bad_size);
    EXPECT_EQ(decode(&decoder.marker, 4, -1), NUV_JPEGResult::bad_parameter);
    EXPECT_EQ(decode(&decoder.marker, 4, 5), NUV_JPEGResult::bad_parameter);
    EXPECT_EQ(decode(&decoder.marker, 4, 4), NUV_JPEGResult::out_of_data);
}

} // namespace
} // namespace nuv
