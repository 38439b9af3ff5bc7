#include "framework/buffer/nuv_srcbuffer.h"
#include "framework/utility/nuv_endian.h"
#include "tests/support/nuv_bitmapjudge.h"
#include "tests/support/nuv_readerharness.h"

#include <filesystem>
#include <numeric>

namespace nuv {
namespace {

// A file of tests/data with other numbers in its header, and random bytes behind it.
[[nodiscard]] Bytes changed(const char* name,
                            const std::vector<std::pair<std::size_t, std::uint32_t>>& numbers,
                            std::size_t bytes_behind = 0)
{
    Bytes file = test_data(name);
    for (const auto& [at, number] : numbers) {
        for (std::size_t i = 0; i < 4; ++i)
            file[at + i] = static_cast<std::uint8_t>(number >> 8 * i);
    }
    const auto behind = random_samples<std::uint8_t>(bytes_behind, bytes_behind);
    file.insert(file.end(), behind.begin(), behind.end());
    return file;
}

TEST(Bitmaps, OfOtherProgramsAreReadAsTheyReadThem)
{
    NUV_TestImage rgb{13, 5, 3};
    rgb.color_type = NUV_ColorType::s_rgb;
    NUV_TestImage indices = rgb, bits = rgb;
    indices.channels = bits.channels = 1, indices.palette = true;
    bits.width = 24, bits.bits = 1, bits.color_type = NUV_ColorType::gray;
    NUV_TestImage coded = indices;
    coded.width = 12;
    auto row = reader_row<NUV_BMPInfo, NUV_ReadBMP>(
        "bmp", "NUV_BMPInfo::load()", "NUV_ReadBMP::engine()",
        {
            {"bmp/windows_1.bmp", "bmp/bilevel_24_inverted.pbm", bits},
            {"bmp/windows_4.bmp", "pnm/seven_colours.ppm", indices},
            {"bmp/windows_24.bmp", "pnm/colour.ppm", rgb},
            {"bmp/os2_4.bmp", "pnm/seven_colours.ppm", indices},
            {"bmp/os2_24.bmp", "pnm/colour.ppm", rgb},
            {"bmp/v5_24.bmp", "pnm/colour.ppm", rgb},
            {"bmp/v5_fields_32.bmp", "pnm/colour.ppm", rgb},
            {"bmp/rle8.bmp", "bmp/twelve_wide.ppm", coded},
        });
    row.begin = 0;
    row.is_damaged_elsewhere = true;
    check_reader(row);
}

// Those from which fuzzing starts, whole and cut; it changes them besides.
TEST(Bitmaps, OfAllKindsAreWhatThePlainReaderMakesOfThem)
{
    const std::string folder = test_data_folder() + "/../../fuzz/corpus/nuv_bmp_fuzz/";
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        SCOPED_TRACE(entry.path());
        const auto file =
            test_data("../../fuzz/corpus/nuv_bmp_fuzz/" + entry.path().filename().string());
        expect_as_model(file);
        for (std::size_t bytes = 0; bytes < file.size(); bytes += 1 + bytes / 64)
            expect_as_model(std::span(file).first(bytes));
        ++files;
    }
    EXPECT_GT(files, 100u);
}

TEST(Bitmaps, AreReadInBandsHoweverLongTheirLines)
{
    for (const std::uint32_t width : {3001U, 150001U}) {
        for (const std::uint32_t lines : {480000 / width, 0 - 480000 / width}) {
            for (const std::size_t bytes : {1500000U, 1100001U, 700002U})
                expect_as_model(changed("bmp/windows_24.bmp", {{18, width}, {22, lines}}, bytes));
        }
    }
}

TEST(Bitmaps, RefuseOrBearWhatTheirHeadersMayNotSay)
{
    struct Row {
        const char* file;
        std::size_t at;
        std::vector<std::uint32_t> numbers;
    };
    constexpr std::uint32_t much = 0x7FFFFFFF;
    const Row rows[] = {
        // clang-format off
        {"bmp/windows_24.bmp", 10, {0, 53, 54, 254, 255, much, much + 1, 0xFFFFFFFF}}, // the pixels begin
        {"bmp/windows_24.bmp", 18, {0, much, much + 1, 0x2AAAAAAB}}, // the width
        {"bmp/windows_1.bmp", 18, {much}},
        {"bmp/rle8.bmp", 18, {much - 2}},
        {"bmp/windows_24.bmp", 22, {0, much, much + 1}}, // the height
        {"bmp/windows_4.bmp", 46, {1000, 65536, 65537, 0xFFFFFFFF}}, // the colours
        // clang-format on
    };
    for (const Row& row : rows) {
        for (const std::uint32_t number : row.numbers) {
            SCOPED_TRACE(testing::Message() << row.file << ' ' << row.at << ' ' << number);
            expect_as_model(changed(row.file, {{row.at, number}}));
        }
    }
    expect_as_model(changed("bmp/windows_4.bmp", {{10, 0}, {46, 65537}}));
    // Of a profile: its kind, where it begins, and its bytes.
    for (const std::uint32_t number : {0U, 4U, 318U, 319U, much, 0xFFFFFFFF}) {
        expect_as_model(changed("bmp/v5_24.bmp", {{70, 0x4D424544}, {126, number}, {130, 20}}));
        expect_as_model(changed("bmp/v5_24.bmp", {{70, 0x4C494E4B}, {126, 20}, {130, number}}));
    }
    // A position that no storage has is the first thing that is said of a line.
    NUV_TestChain chain;
    const auto tall = changed("bmp/v5_fields_32.bmp", {{18, 1 << 20}, {22, 1000}});
    const NUV_TestStored stored(chain.manager(), tall, 0);
    chain.last(NUV_ReadBMP(chain.manager()).engine(stored.storage()));
    std::uint32_t count = 0;
    const NUV_Held<NUV_SrcBuffer> lines(chain.last()->src_buffer());
    EXPECT_TRUE(lines->get(&count));
    EXPECT_STREQ(chain.status().method, "NUV_ReadDIBRawEngine::execute() - can't seek");
    EXPECT_EQ(chain.manager().diagnosis().byte, 138 + (std::int64_t{999} << 22));
}

// Runs of pixels behind the end of a line lose nothing as long as they may be what fills it up.
TEST(Bitmaps, CountAsDamagedByMoreThanPadding)
{
    for (const std::uint32_t width : {11U, 5U}) {
        NUV_TestChain chain;
        const NUV_TestStored stored(chain.manager(), changed("bmp/rle8.bmp", {{18, width}}), 0);
        chain.last(NUV_ReadBMP(chain.manager()).engine(stored.storage()));
        EXPECT_EQ(chain.run_bytes().size(), std::size_t{5} * width);
        EXPECT_EQ(chain.status().code, NUV_WARN_BROKEN_DATA);
        EXPECT_EQ(chain.manager().damage().count > 0, width == 5);
    }
}

// Also those that nobody looks at.
TEST(Bitmaps, HaveTheFieldsOfTheirHeadersWhereTheyStand)
{
    constexpr std::size_t intent = 26; // as a word of the header
    Bytes stored(124);
    std::iota(stored.begin(), stored.end(), std::uint8_t{0});
    const auto word = [&stored](std::size_t i) { return load_le32(stored.data() + 4 * i); };
    for (const int bytes : {40, 52, 56, 60, 96, 108, 112, 120, 124}) {
        std::fill_n(stored.begin(), 4, std::uint8_t{0});
        stored[0] = static_cast<std::uint8_t>(bytes);
        NUV_TestChain chain;
        const NUV_TestStored source(chain.manager(), stored);
        NUV_BitmapInfoHeader read(chain.manager());
        EXPECT_TRUE(read.read(source.storage()) && source.position() == bytes);
        const auto& [x1, x2, x3, x4, x5, x6, x7, x8, x9] = read.end_points;
        const std::uint32_t fields[] = {
            // clang-format off
            std::uint32_t(read.width), std::uint32_t(read.height), std::uint32_t(read.bit_count) << 16 | read.planes,
            read.compression, read.size_image, std::uint32_t(read.x_pels_per_meter), std::uint32_t(read.y_pels_per_meter),
            read.clr_used, read.clr_important, read.red_mask, read.green_mask, read.blue_mask, read.alpha_mask, read.cs_type,
            x1, x2, x3, x4, x5, x6, x7, x8, x9, read.gamma_red, read.gamma_green, read.gamma_blue, read.intent,
            read.profile_data, read.profile_size, read.reserved,
            // clang-format on
        };
        for (std::size_t i = 0; i < std::size(fields); ++i) {
            const std::uint32_t absent = i == intent ? 4 : 0;
            EXPECT_EQ(fields[i], 4 * i + 8 <= std::size_t(bytes) ? word(i + 1) : absent) << i;
        }
    }
}

// Behind the profile the storage has to go back to the pixels.
TEST(Bitmaps, AreRefusedWhereTheStorageLosesTheirPixels)
{
    class OneWayStorage final : public NUV_InputStorageDecorator {
    public:
        using NUV_InputStorageDecorator::NUV_InputStorageDecorator;
        [[nodiscard]] bool to(std::int32_t offset) override
        {
            return offset > position() && NUV_InputStorageDecorator::to(offset);
        }
    };
    const auto file = changed("bmp/v5_24.bmp", {{10, 0}, {70, 0x4D424544}, {126, 200}, {130, 20}});
    NUV_TestChain chain;
    const NUV_TestStored stored(chain.manager(), file, 0);
    const auto one_way = make_initiated<OneWayStorage>(chain.manager(), stored.storage());
    NUV_BMPInfo info(chain.manager());
    EXPECT_FALSE(info.load(one_way.get()));
}

} // namespace
} // namespace nuv
