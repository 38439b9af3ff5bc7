#include "core/sunras/nuv_readsunras.h"
#include "framework/utility/nuv_endian.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_teststored.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;

// The fields of a header as they are stored; 3 x 1 gray pixels unless it says otherwise.
struct Stored {
    std::uint32_t width = 3;
    std::uint32_t height = 1;
    std::uint32_t depth = 8;
    std::uint32_t length = 0;
    std::uint32_t type = 1;
    std::uint32_t map_type = 0;
    std::uint32_t map_length = 0;
};

[[nodiscard]] Bytes file_of(const Stored& header, const Bytes& behind)
{
    Bytes bytes;
    for (const std::uint32_t field :
         {0x59A66A95U, header.width, header.height, header.depth, header.length, header.type,
          header.map_type, header.map_length}) {
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<std::uint8_t>(field >> shift));
    }
    bytes.insert(bytes.end(), behind.begin(), behind.end());
    return bytes;
}

struct Outcome {
    Bytes bytes;
    NUV_StatusCode code = NUV_STATUS_OK;
    std::string method;
};

[[nodiscard]] Outcome read(const Bytes& stored)
{
    NUV_TestChain chain;
    const NUV_TestStored image(chain.manager(), stored);
    chain.last(NUV_ReadSunras(chain.manager()).engine(image.storage()));
    Outcome outcome;
    outcome.bytes = chain.run_bytes();
    outcome.code = chain.status().code;
    outcome.method = chain.status().method;
    return outcome;
}

// The samples at the end of a binary anymap.
[[nodiscard]] Bytes last_bytes(const char* file, std::size_t count)
{
    const Bytes bytes = test_data(file);
    return {bytes.end() - static_cast<std::ptrdiff_t>(std::min(count, bytes.size())), bytes.end()};
}

TEST(Sunras, DecodesToTheSamplesOfTheToolsThatWroteIt)
{
    EXPECT_EQ(read(test_data("sunras/bilevel.ras")).bytes,
              last_bytes("pnm/bilevel_24.pbm", std::size_t{5} * 3));
    EXPECT_EQ(read(test_data("sunras/many_colours.ras")).bytes,
              last_bytes("pnm/many_colours.ppm", std::size_t{15} * 19 * 3));
    EXPECT_EQ(read(test_data("sunras/colour_im.sun")).bytes,
              last_bytes("pnm/colour.ppm", std::size_t{5} * 13 * 3));
}

TEST(Sunras, IndicesAndTheirPaletteGiveTheColors)
{
    struct Case {
        const char* file;
        const char* colors;
        std::size_t samples_per_pixel; // of the anymap
    };
    for (const Case& c : {Case{"sunras/seven_colours.ras", "pnm/seven_colours.ppm", 3},
                          Case{"sunras/gray_map.ras", "pnm/gray.pgm", 1}}) {
        SCOPED_TRACE(c.file);
        NUV_TestChain chain;
        const NUV_TestStored image(chain.manager(), test_data(c.file));
        chain.last(NUV_ReadSunras(chain.manager()).engine(image.storage()));
        ASSERT_TRUE(chain.last());
        const NUV_Header::NUV_Palette& palette = chain.header().palette();
        EXPECT_EQ(palette.entries, 256u);
        EXPECT_EQ(chain.header().color_type(), NUV_ColorType::s_rgb);
        const Bytes entries(palette.value(), palette.value() + 3 * std::size_t{palette.entries});
        Bytes colors;
        for (const std::uint8_t index : chain.run_bytes()) {
            for (std::size_t s = 0; s < c.samples_per_pixel; ++s)
                colors.push_back(entries[std::size_t{3} * index + s]);
        }
        EXPECT_EQ(colors, last_bytes(c.colors, 65 * c.samples_per_pixel));
    }
}

// Lines have an even number of bytes in the file, and colours lie blue first but in type 3.
TEST(Sunras, TurnsColorsAroundUnlessTheyAreStoredRedFirst)
{
    struct Case {
        const char* what;
        Stored header;
        std::uint16_t channels, bits;
        Bytes behind;
        Bytes wanted;
        const NUV_ColorType* color;
    };
    const auto gray = NUV_ColorType::gray;
    const auto rgb = NUV_ColorType::s_rgb;
    const Case cases[] = {
        {"gray, padded", {.height = 2}, 1, 8, {1, 2, 3, 99, 4, 5, 6, 99}, {1, 2, 3, 4, 5, 6}, gray},
        {"1 bit, padded",
         {.width = 9, .height = 2, .depth = 1},
         1,
         1,
         {0xFF, 0x80, 0x0F, 0x00},
         {0xFF, 0x80, 0x0F, 0x00},
         NUV_ColorType::gray_reverse},
        {"1 bit, 1 byte",
         {.width = 8, .height = 2, .depth = 1},
         1,
         1,
         {0xFF, 99, 0x0F, 99},
         {0xFF, 0x0F},
         NUV_ColorType::gray_reverse},
        {"old", {.width = 1, .depth = 24, .type = 0}, 3, 8, {1, 2, 3, 0}, {3, 2, 1}, rgb},
        {"standard", {.width = 1, .depth = 24}, 3, 8, {1, 2, 3, 0}, {3, 2, 1}, rgb},
        {"red first", {.width = 1, .depth = 24, .type = 3}, 3, 8, {1, 2, 3, 0}, {1, 2, 3}, rgb},
        {"four channels",
         {.width = 2, .depth = 32},
         4,
         8,
         {1, 2, 3, 4, 5, 6, 7, 8},
         {4, 3, 2, 1, 8, 7, 6, 5},
         NUV_ColorType::cmyk},
        {"bytes behind no map",
         {.width = 2, .map_type = 0, .map_length = 3},
         1,
         8,
         {9, 9, 9, 1, 2},
         {1, 2},
         gray},
        {"a map that no pixel uses",
         {.width = 1, .depth = 24, .map_type = 1, .map_length = 2},
         3,
         8,
         {9, 9, 1, 2, 3, 0},
         {3, 2, 1},
         rgb},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        const NUV_TestStored image(chain.manager(), file_of(c.header, c.behind));
        chain.last(NUV_ReadSunras(chain.manager()).engine(image.storage()));
        ASSERT_TRUE(chain.last()) << chain.status().method;
        EXPECT_EQ(chain.header().channels(), c.channels);
        EXPECT_EQ(chain.header().bits(), c.bits);
        EXPECT_EQ(chain.header().color_type(), c.color);
        EXPECT_TRUE(chain.header().palette().is_empty());
        EXPECT_EQ(chain.run_bytes(), c.wanted);
        EXPECT_EQ(chain.status().code, NUV_STATUS_OK);
    }
}

TEST(SunrasInfo, InterleavesTheMap)
{
    NUV_TestChain chain;
    const NUV_TestStored image(chain.manager(), file_of({.map_type = 1, .map_length = 6},
                                                        {1, 2, 11, 12, 21, 22, 0, 0, 0, 0}));
    NUV_SunrasInfo info(chain.manager());
    ASSERT_TRUE(info.load(image.storage()));
    EXPECT_EQ(info.map_type(), 1u);
    EXPECT_EQ(image.position(), 38);
    ASSERT_EQ(info.palette().entries, 2u);
    EXPECT_EQ(Bytes(info.palette().value(), info.palette().value() + 6),
              (Bytes{1, 11, 21, 2, 12, 22}));

    // The palette goes with the next load.
    const NUV_TestStored gray(chain.manager(), file_of({}, {1, 2, 3, 0}));
    ASSERT_TRUE(info.load(gray.storage()));
    EXPECT_TRUE(info.palette().is_empty());
}

TEST(SunrasInfo, RefusesAndGoesBack)
{
    constexpr auto invalid = NUV_ERR_INVALID_DATA;
    constexpr auto broken = NUV_ERR_BROKEN_DATA;
    const Bytes map(9, 7);

    struct Case {
        const char* what;
        Bytes stored;
        NUV_StatusCode code;
    };
    const Case cases[] = {
        {"width 0", file_of({.width = 0}, map), invalid},
        {"height 0", file_of({.height = 0}, map), invalid},
        {"depth 16", file_of({.depth = 16}, map), invalid},
        {"depth 0", file_of({.depth = 0}, map), invalid},
        {"type 4", file_of({.type = 4}, map), invalid},
        {"type 0xFFFF", file_of({.type = 0xFFFF}, map), invalid},
        {"map type 2", file_of({.map_type = 2}, map), invalid},
        {"an empty colour map", file_of({.map_type = 1}, map), invalid},
        {"a map of 4 bytes", file_of({.map_type = 1, .map_length = 4}, map), invalid},
        {"a short map", file_of({.map_type = 1, .map_length = 12}, map), broken},
        {"a short skip", file_of({.map_length = 10}, map), broken},
        {"a short skip of an unused map",
         file_of({.depth = 1, .map_type = 1, .map_length = 10}, map), broken},
        {"2 GiB of map", file_of({.map_type = 1, .map_length = 0x80000001}, map), broken},
        {"4 GiB of map", file_of({.map_type = 1, .map_length = 0xFFFFFFFF}, map), broken},
        {"4 GiB to skip", file_of({.map_length = 0xFFFFFFFF}, map), broken},
        {"another format", bytes_of("P5 1 1 255 x"), NUV_STATUS_OK},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        const NUV_TestStored image(chain.manager(), c.stored);
        NUV_SunrasInfo info(chain.manager());
        EXPECT_FALSE(info.load(image.storage()));
        EXPECT_FALSE(info.loaded());
        EXPECT_EQ(chain.status().code, c.code);
        EXPECT_STREQ(chain.status().method,
                     c.code == NUV_STATUS_OK ? "" : "NUV_SunrasInfo::load()");
        EXPECT_EQ(image.position(), 0);
        EXPECT_LT(chain.manager().memory().largest(), std::size_t{1} << 16);
    }
}

TEST(SunrasInfo, WantsAnOpenStorage)
{
    NUV_TestChain chain;
    NUV_SunrasInfo info(chain.manager());
    EXPECT_FALSE(info.load(nullptr));
    EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
    EXPECT_STREQ(chain.status().method, "NUV_FormatInfo::load()");
    chain.manager().reset();
    EXPECT_FALSE(info.load_internal(nullptr));
    EXPECT_STREQ(chain.status().method, "NUV_SunrasInfo::load()");
}

TEST(SunrasRefusal, SaysWhyAndLeavesNothingBehind)
{
    struct Case {
        const char* what;
        Bytes stored;
        NUV_StatusCode code;
        const char* method;
    };
    const Bytes much(std::size_t{3} * 65537, 1);
    const Case cases[] = {
        {"run-length data", test_data("sunras/run_length.ras"), NUV_ERR_UNSUPPORTED,
         "NUV_ReadSunras::engine()"},
        {"257 colours", file_of({.map_type = 1, .map_length = 771}, much), NUV_ERR_ARGUMENT,
         "NUV_ReadSunras::engine()"},
        {"more colours than any map has", file_of({.map_type = 1, .map_length = 3 * 65537}, much),
         NUV_ERR_ARGUMENT, "NUV_ReadSunras::engine()"},
        {"another format", bytes_of("P5 1 1 255 x"), NUV_ERR_FORMAT, "NUV_ReadSunras::engine()"},
        {"lines beyond 32 bits", file_of({.width = 0x20000001, .depth = 24}, much),
         NUV_ERR_UNSUPPORTED, "NUV_BufferOutputEngine::initiate()"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        const NUV_TestStored image(chain.manager(), c.stored);
        EXPECT_FALSE(NUV_ReadSunras(chain.manager()).engine(image.storage()));
        EXPECT_EQ(chain.status().code, c.code);
        EXPECT_STREQ(chain.status().method, c.method);
    }
    NUV_TestChain chain;
    const NUV_SunrasInfo not_loaded(chain.manager());
    const NUV_TestStored image(chain.manager(), file_of({}, {1, 2, 3, 0}));
    for (const NUV_SunrasInfo* info : {&not_loaded, static_cast<const NUV_SunrasInfo*>(nullptr)}) {
        chain.manager().reset();
        EXPECT_FALSE(NUV_ReadSunras(chain.manager()).engine(image.storage(), info));
        EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
        EXPECT_STREQ(chain.status().method, "NUV_ReadSunras::engine()");
    }
}

// 512 MiB of line, of which three bytes are there.
TEST(SunrasRefusal, TakesNoMemoryForLinesThatAreNotThere)
{
    NUV_TestChain chain;
    const NUV_TestStored image(chain.manager(),
                               file_of({.width = 0x1FFFFFFF, .height = 7}, {1, 2, 3}));
    chain.last(NUV_ReadSunras(chain.manager()).engine(image.storage()));
    ASSERT_TRUE(chain.last());
    EXPECT_TRUE(chain.run_bytes().empty());
    EXPECT_EQ(chain.status().code, NUV_ERR_BROKEN_DATA);
    EXPECT_STREQ(chain.status().method, "NUV_ReadSunrasEngine::execute()");
    EXPECT_LT(chain.manager().memory().largest(), std::size_t{1} << 16);
}

// A line stands when its padding is there too.
TEST(Sunras, CutAnywhereGivesTheLinesBeforeTheCut)
{
    struct Case {
        const char* file;
        std::size_t header_bytes, line_bytes, stored_line_bytes;
    };
    for (const Case& c :
         {Case{"sunras/bilevel.ras", 32, 3, 4}, Case{"sunras/gray_map.ras", 800, 13, 14},
          Case{"sunras/colour_im.sun", 32, 39, 40}}) {
        const Bytes stored = test_data(c.file);
        const Bytes whole = read(stored).bytes;
        ASSERT_EQ(whole.size(), 5 * c.line_bytes);
        for (std::size_t n = 0; n < stored.size(); ++n) {
            SCOPED_TRACE(std::string(c.file) + " cut at " + std::to_string(n));
            const Outcome outcome =
                read(Bytes(stored.begin(), stored.begin() + static_cast<std::ptrdiff_t>(n)));
            const std::size_t lines =
                n < c.header_bytes ? 0 : (n - c.header_bytes) / c.stored_line_bytes;
            ASSERT_EQ(outcome.bytes.size(), lines * c.line_bytes);
            EXPECT_TRUE(std::equal(outcome.bytes.begin(), outcome.bytes.end(), whole.begin()));
            EXPECT_EQ(outcome.code, NUV_ERR_BROKEN_DATA);
            EXPECT_EQ(outcome.method, n < c.header_bytes ? "NUV_SunrasInfo::load()"
                                                         : "NUV_ReadSunrasEngine::execute()");
        }
    }
}

TEST(SunrasRefusal, SurvivesEveryFailedAllocation)
{
    for (const Bytes& stored :
         {file_of({.width = 1, .height = 2, .depth = 24}, {1, 2, 3, 0, 4, 5, 6, 0}),
          file_of({.width = 2, .map_type = 1, .map_length = 3}, {1, 2, 3, 0, 0})}) {
        expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
            const NUV_TestStored image(chain.manager(), stored);
            chain.last(NUV_ReadSunras(chain.manager()).engine(image.storage()));
            static_cast<void>(chain.run_bytes());
        });
    }
}

} // namespace
} // namespace nuv
