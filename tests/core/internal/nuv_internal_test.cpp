#include "core/internal/nuv_readinternal.h"
#include "core/readraster/nuv_readraster.h"
#include "tests/support/nuv_readerharness.h"

namespace nuv {
namespace {

constexpr auto broken = NUV_ERR_BROKEN_DATA;
constexpr auto unsupported = NUV_ERR_UNSUPPORTED;

// The fields of a file; 3 x 2 gray pixels of 8 bits, and as many bytes of data as there are, unless
// it says otherwise.
struct Stored {
    std::uint64_t width = 3, height = 2;
    std::uint32_t bits = 8, channels = 1, data_type = 0, encode_type = 0, color_type = 100;
    std::uint32_t palette_bits = 0, palette_channels = 0, palette_entries = 0;
    std::uint64_t data_size = 0;
    std::uint32_t version = 0x00010000;
};

[[nodiscard]] Bytes file_of(const Stored& s, const Bytes& data, const Bytes& palette = {})
{
    // clang-format off
    const std::pair<std::uint64_t, int> fields[] = {
        {s.version, 4}, {s.data_size > 0 ? s.data_size : data.size(), 8}, {s.width, 8}, {s.height, 8}, {s.bits, 2}, {s.channels, 2},
        {s.data_type, 4}, {s.encode_type, 4}, {s.color_type, 4}, {s.palette_bits, 2}, {s.palette_channels, 2}, {s.palette_entries, 4}};
    // clang-format on
    Bytes bytes = bytes_of("NUVF");
    for (const auto& [value, size] : fields)
        append_be(bytes, value, size);
    bytes.insert(bytes.end(), palette.begin(), palette.end());
    bytes.insert(bytes.end(), data.begin(), data.end());
    return bytes;
}

[[nodiscard]] NUV_ReaderRow internal_row()
{
    NUV_TestImage gray{.width = 13, .height = 5, .color_type = NUV_ColorType::gray};
    NUV_TestImage color{13, 5, 3, 16, gray.data_type, gray.encode_type, NUV_ColorType::s_rgb};
    auto row = reader_row<NUV_InternalInfo, NUV_ReadInternal>(
        "nuv", "NUV_InternalInfo::load()", "NUV_ReadInternal::engine()",
        {{"internal/gray.nuv", "pnm/gray.pgm", gray, 56, 13},
         {"internal/colour_16.nuv", "pnm/colour_16.ppm", color, 56, 78}});
    row.tells_end = true;
    return row;
}

TEST(Internal, ReadsAsItIsLaidOutAndStandsDamage)
{
    check_reader(internal_row());
}

TEST(Internal, ReadsRawLinesAsFarAsTheDataGoes)
{
    constexpr auto load = "NUV_InternalInfo::load()";
    constexpr auto execute = "NUV_ReadInternalEngine::execute()";
    constexpr auto invalid = NUV_ERR_INVALID_DATA;
    const Bytes six = {1, 2, 3, 4, 5, 6};
    const Bytes three = {1, 2, 3};
    // clang-format off
    const auto palette = [&](std::uint32_t bits, std::uint32_t channels, std::uint32_t entries) { return file_of({3, 2, 8, 1, 0, 0, 220, bits, channels, entries}, six); };
    check_reader_cases(internal_row(), {
        {"bytes behind the data", file_of({.data_size = 6}, {1, 2, 3, 4, 5, 6, 7}), six},
        {"more data than lines", file_of({.height = 1}, six), three},
        {"data of a line and a half", file_of({.data_size = 5}, six), three, broken, execute},
        {"a size beyond the storage", file_of({.data_size = 0x8000000000000000}, {1, 2, 3, 4}), three, broken, execute},
        {"1 bit", file_of({.width = 9, .bits = 1}, {1, 2, 3, 4}), {1, 2, 3, 4}},
        {"32 bits", file_of({1, 1, 32}, {1, 2, 3, 4}), {4, 3, 2, 1}},
        {"doubles", file_of({1, 1, 64, 1, 2}, {1, 2, 3, 4, 5, 6, 7, 8}), {8, 7, 6, 5, 4, 3, 2, 1}},
        {"12 bits of whatever, and a rest", file_of({3, 1, 12, 1, 0xFFFFFFFF}, {1, 2, 3, 4, 5}), {2, 1, 4, 3, 5}},
        {"24 bits of whatever", file_of({1, 2, 24, 1, 7}, six), {3, 2, 1, 6, 5, 4}},
        {"runs of 4 bytes", file_of({.bits = 1, .encode_type = 322}, {1, 2, 3, 4, 5, 6, 7, 8}), {4, 3, 2, 1, 8, 7, 6, 5}},
        {"runs of 2 bytes", file_of({.bits = 1, .encode_type = 332}, {1, 2, 3, 4, 5, 6}), {2, 1, 4, 3, 6, 5}},
        {"lengths of runs", file_of({.bits = 32, .encode_type = 342}, {1, 2, 3, 4}), {4, 3, 2, 1}},
        {"runs in blocks", file_of({.bits = 1, .encode_type = 322}, Bytes(8004, 7)), Bytes(8004, 7)},
        {"unknown samples and colours", file_of({3, 1, 8, 1, 9, 0, 9}, three), three},
        {"a palette", file_of({3, 2, 8, 1, 0, 0, 220, 8, 3, 2}, six, {9, 8, 7, 6, 5, 4}), six},
        {"lines beyond 32 bits", file_of({.width = 0x80000000}, six), {}, unsupported, "NUV_BufferOutputEngine::initiate()"},
        // Which takes no memory for lines that are not there.
        {"512 MiB of line", file_of({.width = 0x1FFFFFFF, .data_size = 0x7FFFFFFF}, six), {}, broken, execute},
        {"version 2", file_of({.version = 0x00020000}, six), {}, unsupported, load},
        {"no data", file_of({}, {}), {}, invalid, load},
        {"a width of 2^32", file_of({.width = 0x100000000}, six), {}, unsupported, load},
        {"a height of 2^63", file_of({.height = 0x8000000000000000}, six), {}, unsupported, load},
        {"a palette of 4 bits", palette(4, 3, 2), {}, invalid, load},
        {"a palette without channels", palette(8, 0, 2), {}, invalid, load},
        {"65537 entries", palette(8, 3, 65537), {}, invalid, load},
        {"8 GiB of palette", palette(16, 65535, 65536), {}, invalid, load},
        {"2 GiB of palette", palette(8, 32768, 65536), {}, invalid, load},
        {"2 GiB less one entry", palette(8, 32768, 65535), {}, broken, load},
        {"12 bits of a type that has 16", file_of({.bits = 12}, six), {}, NUV_ERR_ARGUMENT, "NUV_ReadInternal::engine()"},
    });
    // clang-format on
    NUV_TestChain chain;
    const Stored wide{3, 2, 8, 1, 0, 0, 100, 16, 1, 1};
    const NUV_TestStored stored(chain.manager(), file_of(wide, six, {0x12, 0x34}));
    NUV_InternalInfo info(chain.manager());
    ASSERT_TRUE(info.load(stored.storage()));
    const std::uint16_t value = 0x1234;
    EXPECT_EQ(std::memcmp(info.palette().value(), &value, sizeof(value)), 0) << "in host order";
}

TEST(Internal, CarriesAnyCoding)
{
    const auto coded = [](std::uint32_t id, const Bytes& data) {
        const bool is_bilevel = id < 200 || (id >= 320 && id < 340);
        const std::uint32_t bits = is_bilevel ? 1 : id == 340 || id == 342 ? 32 : 8;
        return file_of({.bits = bits, .encode_type = id}, data);
    };
    const Bytes gray = test_data("jpeg/gray.jpg");
    NUV_TestChain plain;
    const NUV_TestStored jpeg(plain.manager(), gray);
    plain.last(NUV_ReadRaster(plain.manager()).engine(jpeg.storage(), 0));
    auto row = internal_row(); // with what decodes behind it
    row.read = [](NUV_Manager& m, NUV_InputStorage* s) { return NUV_ReadRaster(m).engine(s, 0); };
    row.work_memory = std::size_t{1} << 20;
    // The second and third pixel of 3 are black, and the first of the next line.
    Bytes runs;
    for (const std::uint64_t word : {std::uint64_t{0x100000002}, ~0UL, 0UL, ~0UL})
        append_be(runs, word, 8);
    // clang-format off
    check_reader_cases(row, {
        {"MH", coded(100, {0x00, 0x11, 0xF0, 0x01, 0x1F}), {0x60, 0x60}},
        {"MR", coded(120, {0x00, 0x18, 0xF8, 0x00, 0xB0}), {0x60, 0x60}},
        {"MMR", coded(140, {0x23, 0xF8}), {0x60, 0x60}},
        {"PackBits", coded(200, {2, 1, 2, 3, 2, 4, 5, 6}), {1, 2, 3, 4, 5, 6}},
        {"a stream shorter than its size", file_of({.encode_type = 200, .data_size = 99}, {2, 1, 2, 3}), {1, 2, 3}, broken, "NUV_ReadInternalEngine::execute()"},
        {"big-endian run form", coded(322, runs), {0x60, 0x80}},
        {"that ends in a number", coded(322, {0, 0, 0}), {}, broken, "NUV_ConvertEndianQDRLEngine::execute()"},
        {"of 8 bits", file_of({.encode_type = 322}, runs), {}, unsupported, "NUV_ConvertEndianQDRLEngine::initiate()"},
        {"JPEG of another size", coded(2000, gray), plain.run_bytes()},
    });
    for (const std::uint32_t id : {220U, 330U, 332U, 340U, 342U, 400U, 1000U, 1020U, 1040U, 2020U, 8000U, 77U})
        check_reader_cases(row, {{std::to_string(id).c_str(), coded(id, runs), {}, unsupported, "NUV_DecodeToRaw::engine()"}});
    // clang-format on
}

} // namespace
} // namespace nuv
