#include "core/jpeg/kernels/nuv_jpegbitwriter.h"
#include "tests/core/jpeg/nuv_jpegtestforms.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace nuv {
namespace {

using Row = std::vector<std::uint16_t>;

Row random_row(std::mt19937& random, std::size_t columns, unsigned mask)
{
    Row row(columns);
    for (std::uint16_t& sample : row)
        sample = static_cast<std::uint16_t>(random() & mask);
    return row;
}

std::int32_t columns_of(const Row& row)
{
    return static_cast<std::int32_t>(row.size());
}

TEST(JpegLossless, PredictorsAreThoseOfTheStandard)
{
    // Samples above 32767 and a difference that is odd and negative, where signed samples or a
    // division in place of the shift would show: a = 60000, b = 101, c = 40000.
    const Row above = {40000, 101};
    const Row samples = {60000, 7};
    const int predictions[] = {60000, 101, 40000, 20101, 40050, 10101, 30050};
    for (const JPEGTestForm& form : jpeg_test_forms()) {
        for (std::int32_t predictor = 1; predictor <= 7; ++predictor) {
            Row differences(2);
            ASSERT_EQ(form.primitives.lossless_diff_other_rows(samples.data(), above.data(),
                                                               differences.data(), 2, predictor),
                      NUV_JPEGResult::good);
            EXPECT_EQ(differences[0], 20000);
            EXPECT_EQ(differences[1], static_cast<std::uint16_t>(7 - predictions[predictor - 1]))
                << predictor;
        }
    }
}

TEST(JpegLossless, EveryFormUndoesTheDifferences)
{
    std::mt19937 random(10);
    for (const std::size_t columns : {1U, 2U, 7U, 8U, 9U, 10U, 16U, 17U, 63U, 200U}) {
        for (const unsigned mask : {0xFFFFU, 0xFFU, 0xFFFU}) {
            const Row above = random_row(random, columns, mask);
            const Row samples = random_row(random, columns, mask);
            for (const JPEGTestForm& form : jpeg_test_forms()) {
                SCOPED_TRACE(testing::Message() << form.name << ' ' << columns);
                const NUV_JPEGPrimitives& p = form.primitives;
                for (std::int32_t predictor = 1; predictor <= 7; ++predictor) {
                    Row row(columns);
                    p.lossless_diff_other_rows(samples.data(), above.data(), row.data(),
                                               columns_of(row), predictor);
                    // In place, as the decoder does it.
                    EXPECT_EQ(p.lossless_other_rows(row.data(), above.data(), row.data(),
                                                    columns_of(row), predictor),
                              NUV_JPEGResult::good);
                    EXPECT_EQ(row, samples) << predictor;
                }
                Row row(columns);
                p.lossless_diff_first_row(samples.data(), row.data(), columns_of(row), 12, 3);
                EXPECT_EQ(row[0], static_cast<std::uint16_t>(samples[0] - 256));
                EXPECT_EQ(p.lossless_first_row(row.data(), row.data(), columns_of(row), 12, 3),
                          NUV_JPEGResult::good);
                EXPECT_EQ(row, samples);
            }
        }
    }
}

TEST(JpegLossless, RefusesWhatIsOutOfRange)
{
    Row row(4);
    std::uint16_t* r = row.data();
    for (const JPEGTestForm& form : jpeg_test_forms()) {
        const NUV_JPEGPrimitives& p = form.primitives;
        struct First {
            std::int32_t columns, precision, point_transform;
            NUV_JPEGResult result;
        };
        for (const First& c :
             {First{4, 2, 0, NUV_JPEGResult::good}, First{4, 16, 15, NUV_JPEGResult::good},
              First{0, 1, 0, NUV_JPEGResult::bad_size},
              First{4, 1, 0, NUV_JPEGResult::bad_parameter},
              First{4, 17, 0, NUV_JPEGResult::bad_parameter},
              First{4, 8, -1, NUV_JPEGResult::bad_parameter},
              First{4, 8, 8, NUV_JPEGResult::bad_parameter}}) {
            EXPECT_EQ(p.lossless_first_row(r, r, c.columns, c.precision, c.point_transform),
                      c.result);
            Row out(4);
            EXPECT_EQ(
                p.lossless_diff_first_row(r, out.data(), c.columns, c.precision, c.point_transform),
                c.result);
        }
        for (const std::int32_t predictor : {0, 8, -1}) {
            EXPECT_EQ(p.lossless_other_rows(r, r, r, 4, predictor), NUV_JPEGResult::bad_parameter);
            EXPECT_EQ(p.lossless_diff_other_rows(r, r, r, 4, predictor),
                      NUV_JPEGResult::bad_parameter);
        }
        EXPECT_EQ(p.lossless_other_rows(r, r, r, 0, 0), NUV_JPEGResult::bad_size);
        EXPECT_EQ(p.lossless_other_rows(r, nullptr, r, 0, 0), NUV_JPEGResult::null_pointer);
        EXPECT_EQ(p.lossless_diff_other_rows(r, r, nullptr, 0, 0), NUV_JPEGResult::null_pointer);
        EXPECT_EQ(p.lossless_first_row(nullptr, r, 0, 0, 0), NUV_JPEGResult::null_pointer);
        EXPECT_EQ(p.lossless_diff_first_row(r, nullptr, 0, 0, 0), NUV_JPEGResult::null_pointer);
    }
}

// Codes of 5 bits for the categories 0 to 17, in order.
constexpr std::array<std::uint8_t, 16> five_bit_codes = {0, 0, 0, 0, 18};
constexpr std::array<std::uint8_t, 18> categories = {0, 1,  2,  3,  4,  5,  6,  7,  8,
                                                     9, 10, 11, 12, 13, 14, 15, 16, 17};

struct LosslessDecoder {
    std::vector<std::uint8_t> input;
    NUV_JPEGDecodeTable table{};
    std::int32_t position = 0;
    std::uint8_t marker = 0;
    NUV_JPEGDecodeState state = {};

    explicit LosslessDecoder(std::vector<std::uint8_t> bytes) : input(std::move(bytes))
    {
        EXPECT_EQ(portable_primitives().huffman_decode_spec_init(five_bit_codes.data(),
                                                                 categories.data(), &table),
                  NUV_JPEGResult::good);
    }
    NUV_JPEGResult decode(std::vector<std::uint16_t*> rows, std::int32_t columns)
    {
        const std::vector<const NUV_JPEGDecodeTable*> tables(rows.size(), &table);
        return portable_primitives().lossless_decode_rows(
            input.data(), static_cast<std::int32_t>(input.size()), &position, rows.data(), columns,
            static_cast<std::int32_t>(rows.size()), &marker, tables.data(), &state);
    }
};

std::vector<std::uint8_t> encode_differences(const std::vector<int>& differences)
{
    std::vector<std::uint8_t> bytes(differences.size() * 8 + 16);
    NUV_JPEGEncodeState state = {};
    NUV_JPEGBitWriter writer(bytes.data(), state);
    for (const int difference : differences) {
        const int magnitude = difference < 0 ? -difference : difference;
        std::uint32_t category = 0;
        while (magnitude >> category != 0)
            ++category;
        writer.put(category, 5);
        if (category == 0 || category == 16)
            continue;
        const int bits = difference < 0 ? difference - 1 + (1 << category) : difference;
        writer.put(static_cast<std::uint64_t>(bits), category);
    }
    writer.flush();
    bytes.resize(static_cast<std::size_t>(writer.finish(state) - bytes.data()));
    return bytes;
}

TEST(JpegLosslessDecode, InterleavesComponentsAndKeepsTheStateBetweenPieces)
{
    std::mt19937 random(11);
    const std::size_t columns = 150;
    for (std::size_t components = 1; components <= 4; ++components) {
        std::vector<int> differences = {32768, 0, -32767, 32767, 1, -1, 2, -2};
        while (differences.size() < columns * components)
            differences.push_back(static_cast<int>(random() % 65536) - 32767);
        LosslessDecoder decoder(encode_differences(differences));
        std::vector<Row> rows(components, Row(columns));
        for (std::size_t x = 0; x < columns; x += 50) {
            std::vector<std::uint16_t*> pieces;
            pieces.reserve(components);
            for (Row& row : rows)
                pieces.push_back(row.data() + x);
            ASSERT_EQ(decoder.decode(pieces, 50), NUV_JPEGResult::good);
        }
        for (std::size_t i = 0; i < columns * components; ++i)
            ASSERT_EQ(rows[i % components][i / components],
                      static_cast<std::uint16_t>(differences[i]));
    }
}

TEST(JpegLosslessDecode, TellsBadCategoriesAndTheEndOfTheData)
{
    struct Case {
        std::vector<std::uint8_t> bytes;
        NUV_JPEGResult result;
    };
    const Case cases[] = {
        {{0x8B}, NUV_JPEGResult::no_code},             // 10001: category 17
        {{0xF8, 0x00, 0x00}, NUV_JPEGResult::no_code}, // 11111: no code
        {{0x78}, NUV_JPEGResult::out_of_data},         // 01111: 15 bits should follow
        {{0x7B, 0xFF, 0xD9}, NUV_JPEGResult::no_code}, // the same before a marker
        {{0x7B, 0xFF}, NUV_JPEGResult::out_of_data},   // what follows the 0xFF is not known yet
    };
    for (const Case& c : cases) {
        LosslessDecoder decoder(c.bytes);
        Row row(1);
        EXPECT_EQ(decoder.decode({row.data()}, 1), c.result);
    }
    LosslessDecoder decoder({0});
    Row row(1);
    std::uint16_t* r = row.data();
    EXPECT_EQ(decoder.decode({r, nullptr}, 0), NUV_JPEGResult::null_pointer);
    EXPECT_EQ(decoder.decode({r}, 0), NUV_JPEGResult::bad_size);
    EXPECT_EQ(decoder.decode({r, r, r, r, r}, 1), NUV_JPEGResult::bad_parameter);
    EXPECT_EQ(decoder.decode({r}, 1), NUV_JPEGResult::good);
}

} // namespace
} // namespace nuv
