#include "core/internal/nuv_convertendianqdrl.h"
#include "core/internal/nuv_readinternal.h"
#include "core/readraster/nuv_readraster.h"
#include "tests/support/nuv_readerharness.h"
#include "tests/support/nuv_refusals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint64_t all_data = ~std::uint64_t{0};

// A file as its layout has it; 3 x 2 gray pixels of 8 bits unless it says otherwise.
struct Stored {
    std::uint64_t width = 3;
    std::uint64_t height = 2;
    std::uint32_t bits = 8;
    std::uint32_t channels = 1;
    std::uint32_t data_type = 0;
    std::uint32_t encode_type = 0;
    std::uint32_t color_type = 100;
    std::uint32_t palette_bits = 0;
    std::uint32_t palette_channels = 0;
    std::uint32_t palette_entries = 0;
    std::uint64_t data_size = all_data;
    std::uint32_t version = 0x00010000;
};

[[nodiscard]] Bytes file_of(const Stored& s, const Bytes& data, const Bytes& palette = {})
{
    Bytes bytes = bytes_of("NUVF");
    const auto put = [&](std::uint64_t value, int size) {
        for (int shift = 8 * size - 8; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<std::uint8_t>(value >> shift));
    };
    put(s.version, 4);
    put(s.data_size == all_data ? data.size() : s.data_size, 8);
    put(s.width, 8);
    put(s.height, 8);
    put(s.bits, 2);
    put(s.channels, 2);
    put(s.data_type, 4);
    put(s.encode_type, 4);
    put(s.color_type, 4);
    put(s.palette_bits, 2);
    put(s.palette_channels, 2);
    put(s.palette_entries, 4);
    bytes.insert(bytes.end(), palette.begin(), palette.end());
    bytes.insert(bytes.end(), data.begin(), data.end());
    return bytes;
}

[[nodiscard]] NUV_ReaderRow internal_row()
{
    const auto image = [](std::uint16_t channels, std::uint16_t bits, const NUV_ColorType* color) {
        return NUV_TestImage{13,   5, channels, bits, NUV_DataType::u_integer, NUV_EncodeType::raw,
                             color};
    };
    auto row = reader_row<NUV_InternalInfo, NUV_ReadInternal>(
        "nuv", "NUV_InternalInfo::load()", "NUV_ReadInternal::engine()",
        {
            // clang-format off
            {"internal/gray.nuv", "pnm/gray.pgm", image(1, 8, NUV_ColorType::gray), 56, 13},
            {"internal/colour_16.nuv", "pnm/colour_16.ppm", image(3, 16, NUV_ColorType::s_rgb), 56, 78},
            // clang-format on
        });
    row.tells_end = true;
    return row;
}

// What the library gives for a file, decoded.
[[nodiscard]] NUV_ReaderRow raster_row()
{
    auto row = internal_row();
    row.read = [](NUV_Manager& m, NUV_InputStorage* s) { return NUV_ReadRaster(m).engine(s, 0); };
    return row;
}

TEST(Internal, ReadsAsItIsLaidOutAndStandsDamage)
{
    check_reader(internal_row());
}

TEST(Internal, ReadsRawLinesAsFarAsTheDataGoes)
{
    constexpr auto ok = NUV_STATUS_OK;
    constexpr auto broken = NUV_ERR_BROKEN_DATA;
    constexpr auto execute = "NUV_ReadInternalEngine::execute()";
    const Bytes six = {1, 2, 3, 4, 5, 6};
    const Bytes three = {1, 2, 3};
    // clang-format off
    check_reader_cases(internal_row(), {
        {"whole", file_of({}, six), six},
        {"bytes behind the data", file_of({.data_size = 6}, {1, 2, 3, 4, 5, 6, 7}), six},
        {"more data than lines", file_of({.height = 1}, six), three},
        {"data of one line", file_of({.data_size = 3}, six), three},
        {"data of a line and a half", file_of({.data_size = 5}, six), three, broken, execute},
        {"a size beyond the storage", file_of({.data_size = 0x8000000000000000}, {1, 2, 3, 4}), three, broken, execute},
        {"1 bit", file_of({.width = 9, .bits = 1}, {1, 2, 3, 4}), {1, 2, 3, 4}},
        {"32 bits", file_of({1, 1, 32}, {1, 2, 3, 4}), {4, 3, 2, 1}},
        {"signed, 16 bits", file_of({.width = 1, .bits = 16, .data_type = 1}, {1, 2, 3, 4}), {2, 1, 4, 3}},
        {"doubles", file_of({1, 1, 64, 1, 2}, {1, 2, 3, 4, 5, 6, 7, 8}), {8, 7, 6, 5, 4, 3, 2, 1}},
        {"12 bits of whatever, a rest", file_of({3, 1, 12, 1, 0xFFFFFFFF}, {1, 2, 3, 4, 5}), {2, 1, 4, 3, 5}},
        {"24 bits of whatever", file_of({1, 2, 24, 1, 7}, six), {3, 2, 1, 6, 5, 4}},
        {"lines beyond 32 bits", file_of({.width = 0x80000000}, six), {}, NUV_ERR_UNSUPPORTED, "NUV_BufferOutputEngine::initiate()"},
        // Which takes no memory for lines that are not there.
        {"512 MiB of line", file_of({.width = 0x1FFFFFFF, .data_size = 0x7FFFFFFF}, six), {}, broken, execute},
        {"512 MiB of line, and no data", file_of({.width = 0x1FFFFFFF}, six), {}, broken, execute},
        {"8-bit palette", file_of({.color_type = 220, .palette_bits = 8, .palette_channels = 3, .palette_entries = 2}, six, {9, 8, 7, 6, 5, 4}), six, ok, "",
         NUV_TestImage{.width = 3, .height = 2, .color_type = NUV_ColorType::s_rgb, .palette = true}},
    });
    // clang-format on
    NUV_TestChain chain;
    const NUV_TestStored wide(
        chain.manager(), file_of({3, 2, 8, 1, 0, 0, 100, 16, 1, 2}, six, {0x12, 0x34, 0x56, 0x78}));
    NUV_InternalInfo info(chain.manager());
    ASSERT_TRUE(info.load(wide.storage()));
    const std::uint16_t values[] = {0x1234, 0x5678};
    EXPECT_EQ(std::memcmp(info.palette().value(), values, sizeof(values)), 0) << "in host order";
    EXPECT_EQ(info.data_size(), 6u);
}

TEST(Internal, RefusesWhatItsFieldsMayNotSay)
{
    constexpr auto load = "NUV_InternalInfo::load()";
    constexpr auto invalid = NUV_ERR_INVALID_DATA;
    constexpr auto unsupported = NUV_ERR_UNSUPPORTED;
    const auto palette = [](std::uint32_t bits, std::uint32_t channels, std::uint32_t entries) {
        return file_of({3, 2, 8, 1, 0, 0, 220, bits, channels, entries}, Bytes(200, 1));
    };
    // clang-format off
    check_reader_cases(internal_row(), {
        {"version 2", file_of({.version = 0x00020000}, {1}), {}, unsupported, load},
        {"no data", file_of({}, {}), {}, invalid, load},
        {"a width of 2^32", file_of({.width = 0x100000000}, {1}), {}, unsupported, load},
        {"a height of 2^63", file_of({.height = 0x8000000000000000}, {1}), {}, unsupported, load},
        {"a palette of 4 bits", palette(4, 3, 2), {}, invalid, load},
        {"a palette without channels", palette(8, 0, 2), {}, invalid, load},
        {"65537 entries", palette(8, 3, 65537), {}, invalid, load},
        {"8 GiB of palette", palette(16, 65535, 65536), {}, invalid, load},
        {"2 GiB of palette", palette(8, 32768, 65536), {}, invalid, load},
        {"2 GiB less one entry", palette(8, 32768, 65535), {}, NUV_ERR_BROKEN_DATA, load},
        {"a type of 16 bits that has 12", file_of({.bits = 12}, {1}), {}, NUV_ERR_ARGUMENT, "NUV_ReadInternal::engine()"},
        {"unknown samples and colours", file_of({3, 1, 8, 1, 9, 0, 9}, {1, 2, 3}), {1, 2, 3}},
    });
    // clang-format on
}

// Runs of the second and third pixel of 3, and of the first.
[[nodiscard]] Bytes runs(bool big_endian)
{
    Bytes bytes;
    for (const std::uint32_t word : {1U, 2U, ~0U, ~0U, 0U, 0U, ~0U, ~0U}) {
        for (unsigned shift = 0; shift < 32; shift += 8)
            bytes.push_back(static_cast<std::uint8_t>(word >> (big_endian ? 24 - shift : shift)));
    }
    return bytes;
}

TEST(Internal, CarriesAnyCoding)
{
    constexpr auto ok = NUV_STATUS_OK;
    constexpr auto broken = NUV_ERR_BROKEN_DATA;
    const Bytes six = {1, 2, 3, 4, 5, 6};
    const auto coded = [](std::uint32_t id, const Bytes& data, std::uint32_t bits = 8) {
        return file_of({.bits = bits, .encode_type = id}, data);
    };
    const Bytes gray = test_data("jpeg/gray.jpg");
    Bytes odd = runs(true);
    odd.pop_back();
    NUV_TestChain plain;
    const NUV_TestStored jpeg(plain.manager(), gray);
    plain.last(NUV_ReadRaster(plain.manager()).engine(jpeg.storage(), 0));
    auto row = raster_row();
    row.work_memory = std::size_t{1} << 20; // of the decoders
    // clang-format off
    check_reader_cases(row, {
        {"raw", coded(0, six), six},
        {"PackBits", coded(200, {2, 1, 2, 3, 2, 4, 5, 6}), six},
        {"run form", coded(320, runs(false), 1), {0x60, 0x80}},
        {"big-endian run form", coded(322, runs(true), 1), {0x60, 0x80}},
        {"that ends in a number", coded(322, odd, 1), {}, broken, "NUV_ConvertEndianQDRLEngine::execute()"},
        {"and is not of 1 bit", coded(322, odd, 8), {}, NUV_ERR_UNSUPPORTED, "NUV_ConvertEndianQDRLEngine::initiate()"},
        {"JPEG of another size", coded(2000, gray), plain.run_bytes(), ok, ""},
        {"a stream shorter than its size", file_of({.encode_type = 200, .data_size = 99}, {2, 1, 2, 3}), {1, 2, 3}, broken, "NUV_ReadInternalEngine::execute()"},
    });
    // clang-format on
    for (const std::uint32_t id : {220U, 330U, 332U, 340U, 342U, 400U, 1000U, 1020U, 1040U, 2020U,
                                   8000U, 8020U, 10000U, 10020U, 10040U, 77U}) {
        SCOPED_TRACE(id);
        const std::uint32_t bits = id == 330 || id == 332 ? 1 : id == 340 || id == 342 ? 32 : 8;
        check_reader_cases(row, {{"no decoder",
                                  coded(id, six, bits),
                                  {},
                                  NUV_ERR_UNSUPPORTED,
                                  "NUV_DecodeToRaw::engine()"}});
    }
}

// In blocks, of which the last is short; numbers of two bytes and of four.
TEST(Internal, TurnsRunDataAroundNumberByNumber)
{
    struct Form {
        const NUV_EncodeType* from;
        const NUV_EncodeType* to;
        std::uint16_t bits;
        std::size_t unit;
    };
    for (const Form& form : {Form{NUV_EncodeType::qd_rle_be, NUV_EncodeType::qd_rle, 1, 4},
                             Form{NUV_EncodeType::qd_rlc_be, NUV_EncodeType::qd_rlc, 1, 2},
                             Form{NUV_EncodeType::qd_rlen_be, NUV_EncodeType::qd_rlen, 32, 4}}) {
        NUV_TestChain chain;
        Bytes data(8 * 1000 + 4);
        for (std::size_t i = 0; i < data.size(); ++i)
            data[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
        chain.source_bytes({.bits = form.bits, .encode_type = form.from}, data, 1000);
        ASSERT_TRUE(chain.append<NUV_ConvertEndianQDRL>());
        EXPECT_EQ(chain.header().encode_type(), form.to);
        for (std::size_t i = 0; i < data.size(); i += form.unit)
            std::reverse(&data[i], &data[i] + form.unit);
        EXPECT_EQ(chain.run_bytes(), data);
    }
    expect_nothing_appended({.bits = 1, .encode_type = NUV_EncodeType::qd_rlc},
                            {appending<NUV_ConvertEndianQDRL>()});
}

} // namespace
} // namespace nuv
