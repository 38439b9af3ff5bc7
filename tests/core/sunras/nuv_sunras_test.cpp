#include "core/sunras/nuv_readsunras.h"
#include "tests/support/nuv_readerharness.h"

namespace nuv {
namespace {

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

[[nodiscard]] Bytes file_of(const Stored& h, const Bytes& behind)
{
    Bytes bytes;
    for (const std::uint32_t field :
         {0x59A66A95U, h.width, h.height, h.depth, h.length, h.type, h.map_type, h.map_length})
        append_be(bytes, field, 4);
    bytes.insert(bytes.end(), behind.begin(), behind.end());
    return bytes;
}

[[nodiscard]] NUV_TestImage image(std::uint32_t width, std::uint32_t height, std::uint16_t channels,
                                  std::uint16_t bits, const NUV_ColorType* color)
{
    return {width, height, channels, bits, NUV_DataType::u_integer, NUV_EncodeType::raw, color};
}

[[nodiscard]] NUV_ReaderRow sunras_row()
{
    const auto rgb = NUV_ColorType::s_rgb;
    NUV_TestImage indices = image(13, 5, 1, 8, rgb);
    indices.palette = true;
    return reader_row<NUV_SunrasInfo, NUV_ReadSunras>(
        "sunras", "NUV_SunrasInfo::load()", "NUV_ReadSunras::engine()",
        {
            // clang-format off
            {"sunras/bilevel.ras", "pnm/bilevel_24.pbm", image(24, 5, 1, 1, NUV_ColorType::gray_reverse), 32, 4},
            {"sunras/many_colours.ras", "pnm/many_colours.ppm", image(19, 15, 3, 8, rgb), 32, 58},
            {"sunras/colour_im.sun", "pnm/colour.ppm", image(13, 5, 3, 8, rgb), 32, 40},
            {"sunras/seven_colours.ras", "pnm/seven_colours.ppm", indices, 800, 14},
            {"sunras/gray_map.ras", "pnm/gray.pgm", indices, 800, 14},
            // clang-format on
        });
}

TEST(Sunras, ReadsWhatOtherProgramsWroteAndStandsDamage)
{
    check_reader(sunras_row());
}

// Lines have an even number of bytes in the file, and colours lie blue first but in type 3.
TEST(Sunras, TurnsColorsAroundUnlessTheyAreStoredRedFirst)
{
    constexpr auto ok = NUV_STATUS_OK;
    const auto gray = NUV_ColorType::gray;
    const auto ink = NUV_ColorType::gray_reverse;
    const auto pixel = image(1, 1, 3, 8, NUV_ColorType::s_rgb);
    const auto inks = image(2, 1, 4, 8, NUV_ColorType::cmyk);
    // clang-format off
    check_reader_cases(sunras_row(), {
        {"gray, padded", file_of({.height = 2}, {1, 2, 3, 99, 4, 5, 6, 99}), {1, 2, 3, 4, 5, 6}, ok, "", image(3, 2, 1, 8, gray)},
        {"1 bit, padded", file_of({9, 2, 1}, {0xFF, 0x80, 0x0F, 0x00}), {0xFF, 0x80, 0x0F, 0x00}, ok, "", image(9, 2, 1, 1, ink)},
        {"1 bit, 1 byte", file_of({8, 2, 1}, {0xFF, 99, 0x0F, 99}), {0xFF, 0x0F}, ok, "", image(8, 2, 1, 1, ink)},
        {"old", file_of({1, 1, 24, 0, 0}, {1, 2, 3, 0}), {3, 2, 1}, ok, "", pixel},
        {"standard", file_of({1, 1, 24, 0, 1}, {1, 2, 3, 0}), {3, 2, 1}, ok, "", pixel},
        {"red first", file_of({1, 1, 24, 0, 3}, {1, 2, 3, 0}), {1, 2, 3}, ok, "", pixel},
        {"four channels", file_of({2, 1, 32}, {1, 2, 3, 4, 5, 6, 7, 8}), {4, 3, 2, 1, 8, 7, 6, 5}, ok, "", inks},
        {"bytes behind no map", file_of({2, 1, 8, 0, 1, 0, 3}, {9, 9, 9, 1, 2}), {1, 2}, ok, "", image(2, 1, 1, 8, gray)},
        {"a map that no pixel uses", file_of({1, 1, 24, 0, 1, 1, 2}, {9, 9, 1, 2, 3, 0}), {3, 2, 1}, ok, "", pixel},
    });
    // clang-format on
}

TEST(Sunras, ForgetsTheMapWithTheNextLoad)
{
    NUV_TestChain chain;
    NUV_SunrasInfo info(chain.manager());
    const NUV_TestStored mapped(chain.manager(), test_data("sunras/gray_map.ras"));
    ASSERT_TRUE(info.load(mapped.storage()));
    EXPECT_EQ(info.palette().entries, 256u);
    const NUV_TestStored gray(chain.manager(), file_of({}, {1, 2, 3, 0}));
    ASSERT_TRUE(info.load(gray.storage()));
    EXPECT_TRUE(info.palette().is_empty());
}

TEST(Sunras, RefusesWhatItsHeaderMayNotSay)
{
    constexpr auto load = "NUV_SunrasInfo::load()";
    constexpr auto engine = "NUV_ReadSunras::engine()";
    constexpr auto invalid = NUV_ERR_INVALID_DATA;
    constexpr auto broken = NUV_ERR_BROKEN_DATA;
    const Bytes map(9, 7);
    const Bytes much(std::size_t{3} * 65537, 1);
    constexpr auto argument = NUV_ERR_ARGUMENT;
    constexpr auto unsupported = NUV_ERR_UNSUPPORTED;
    const Bytes coded = test_data("sunras/run_length.ras");
    // clang-format off
    check_reader_cases(sunras_row(), {
        {"width 0", file_of({.width = 0}, map), {}, invalid, load},
        {"height 0", file_of({.height = 0}, map), {}, invalid, load},
        {"depth 16", file_of({.depth = 16}, map), {}, invalid, load},
        {"depth 0", file_of({.depth = 0}, map), {}, invalid, load},
        {"type 4", file_of({.type = 4}, map), {}, invalid, load},
        {"map type 2", file_of({.map_type = 2}, map), {}, invalid, load},
        {"an empty colour map", file_of({.map_type = 1}, map), {}, invalid, load},
        {"a map of 4 bytes", file_of({.map_type = 1, .map_length = 4}, map), {}, invalid, load},
        {"a short map", file_of({.map_type = 1, .map_length = 12}, map), {}, broken, load},
        {"a short skip", file_of({.map_length = 10}, map), {}, broken, load},
        {"a short skip of an unused map", file_of({.depth = 1, .map_type = 1, .map_length = 10}, map), {}, broken, load},
        {"2 GiB of map", file_of({.map_type = 1, .map_length = 0x80000001}, map), {}, broken, load},
        {"4 GiB of map", file_of({.map_type = 1, .map_length = 0xFFFFFFFF}, map), {}, broken, load},
        {"4 GiB to skip", file_of({.map_length = 0xFFFFFFFF}, map), {}, broken, load},
        {"run-length data", coded, {}, unsupported, engine},
        {"257 colours", file_of({.map_type = 1, .map_length = 771}, much), {}, argument, engine},
        {"more colours than any map has", file_of({.map_type = 1, .map_length = 3 * 65537}, much), {}, argument, engine},
        {"lines beyond 32 bits", file_of({.width = 0x20000001, .depth = 24}, map), {}, unsupported, "NUV_BufferOutputEngine::initiate()"},
        // Which takes no memory for lines that are not there.
        {"512 MiB of line", file_of({.width = 0x1FFFFFFF, .height = 7}, map), {}, broken, "NUV_ReadSunrasEngine::execute()"},
    });
    // clang-format on
}

} // namespace
} // namespace nuv
