#include "core/lut/nuv_lut.h"
#include "tests/support/nuv_testchain.h"

#include <gtest/gtest.h>

#include <numeric>

namespace nuv {
namespace {

// What the bytes of a whole table are, one at a time, from a source of exactly the bytes that may
// be read.
[[nodiscard]] std::vector<std::uint8_t> model_expand(const NUV_TestImage& image,
                                                     const std::vector<std::uint8_t>& table,
                                                     std::int64_t entries, std::int64_t bits)
{
    std::int64_t n = 0;
    while ((std::int64_t{1} << n) < entries)
        ++n;
    std::int64_t offset = 0;
    if (image.data_type == NUV_DataType::s_integer)
        offset = (std::int64_t{1} << (image.bits - 1)) - (n > 0 ? std::int64_t{1} << (n - 1) : 0);
    const std::int64_t each = bits * image.channels / 8;
    std::vector<std::uint8_t> wanted(static_cast<std::size_t>(each << image.bits));
    for (std::int64_t i = each * offset; i < each * (entries + offset); ++i) {
        const std::int64_t from = i - offset;
        if (i >= 0 && i < static_cast<std::int64_t>(wanted.size()) && from >= 0 &&
            from < each * entries)
            wanted[static_cast<std::size_t>(i)] = table.at(static_cast<std::size_t>(from));
    }
    return wanted;
}

TEST(ExpandLut, FillsTheWholeRangeOfTheSamples)
{
    const NUV_DataType* u = NUV_DataType::u_integer;
    const NUV_DataType* s = NUV_DataType::s_integer;
    struct Case {
        const char* what;
        const NUV_DataType* type;
        std::uint16_t image_bits;
        std::uint16_t channels;
        std::uint32_t entries;
        std::uint16_t bits;
    };
    const Case cases[] = {
        {"whole", u, 8, 1, 256, 8},
        {"too few", u, 8, 1, 100, 16},
        {"too many", u, 8, 1, 300, 8},
        {"a table for each channel", u, 8, 3, 256, 8},
        {"few entries for each channel", u, 8, 3, 10, 8},
        {"signed", s, 8, 1, 16, 8},
        {"signed, whole", s, 8, 1, 256, 8},
        {"signed, no power of two", s, 8, 1, 17, 8},
        {"signed, wide entries", s, 8, 1, 16, 16},
        {"signed, wide entries, whole", s, 8, 1, 256, 32},
        {"signed, wide entries, three channels", s, 8, 3, 100, 16},
        {"signed, more entries than the range", s, 8, 1, 1000, 8},
        {"signed, more and wide", s, 8, 3, 1000, 32},
        {"signed, one", s, 8, 1, 1, 8},
        {"signed, none", s, 8, 1, 0, 8},
        {"16 bits", u, 16, 1, 65536, 16},
        {"16 bits, signed", s, 16, 1, 4096, 16},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const NUV_TestImage image{
            .channels = c.channels, .bits = c.image_bits, .data_type = c.type};
        std::vector<std::uint8_t> table(std::size_t{c.bits} / 8 * c.channels * c.entries);
        for (std::size_t i = 0; i < table.size(); ++i)
            table[i] = static_cast<std::uint8_t>(1 + i % 251);
        NUV_TestChain chain;
        chain.blank_source(image);
        const auto expanded =
            expand_lut(chain.manager(), &chain.header(), table.data(), c.entries, c.bits);
        ASSERT_TRUE(expanded && expanded->is_valid());
        EXPECT_EQ(expanded->bits, c.bits);
        EXPECT_EQ(expanded->channels, c.channels);
        EXPECT_EQ(expanded->data_type, u);
        const auto wanted = model_expand(image, table, c.entries, c.bits);
        ASSERT_EQ(std::vector<std::uint8_t>(expanded->value(), expanded->value() + wanted.size()),
                  wanted);
        EXPECT_TRUE(chain.append<NUV_Lut>(expanded.get()));
    }
}

TEST(ExpandLut, PutsSixteenSignedEntriesAt120)
{
    NUV_TestChain chain;
    chain.source<std::int8_t>({.width = 5}, {-9, -8, 0, 7, 8});
    std::vector<std::uint8_t> table(16);
    std::iota(table.begin(), table.end(), std::uint8_t{100});
    {
        const auto expanded = expand_lut(chain.manager(), &chain.header(), table.data(), 16, 8);
        ASSERT_TRUE(chain.append<NUV_Lut>(expanded.get()));
    }
    EXPECT_EQ(chain.run<std::uint8_t>(), (std::vector<std::uint8_t>{0, 100, 108, 115, 0}));
}

TEST(ExpandLut, RefusesWhatHasNoTable)
{
    const std::uint8_t table[16] = {};
    struct Case {
        const char* what;
        NUV_TestImage image;
        const std::uint8_t* table;
        std::uint16_t bits;
        NUV_StatusCode code;
    };
    const Case cases[] = {
        {"no table", {}, nullptr, 8, NUV_ERR_ARGUMENT},
        {"bilevel image", {.bits = 1}, table, 8, NUV_ERR_UNSUPPORTED},
        {"wide image", {.bits = 32}, table, 8, NUV_ERR_UNSUPPORTED},
        {"entries of 12 bits", {}, table, 12, NUV_ERR_ARGUMENT},
        {"entries of 64 bits", {}, table, 64, NUV_ERR_ARGUMENT},
        {"more than 32 bits can count",
         {.channels = 65535, .bits = 16},
         table,
         16,
         NUV_ERR_ARGUMENT},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        chain.blank_source(c.image);
        EXPECT_FALSE(expand_lut(chain.manager(), &chain.header(), c.table, 1, c.bits));
        EXPECT_EQ(chain.status().code, c.code);
        EXPECT_STREQ(chain.status().method, "NUV_Lut::engine()");
        EXPECT_EQ(chain.live_objects_behind_source(), 0U);
    }
    NUV_TestChain chain;
    EXPECT_FALSE(expand_lut(chain.manager(), nullptr, table, 1, 8));
    EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
}

TEST(ExpandLut, SurvivesEveryFailedAllocation)
{
    expect_clean_at_every_allocation([](NUV_TestChain& chain) {
        chain.blank_source({});
        const std::uint8_t table[2] = {1, 2};
        static_cast<void>(
            expand_lut(chain.manager(), chain.last() ? &chain.header() : nullptr, table, 2, 8));
    });
}

} // namespace
} // namespace nuv
