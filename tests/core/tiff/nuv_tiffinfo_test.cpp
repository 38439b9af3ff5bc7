#include "core/tiff/nuv_tiffinfo.h"

#include "core/tiff/nuv_readtiff.h"
#include "framework/io/nuv_bytearrayinputstorage.h"
#include "tests/support/nuv_testchain.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <numeric>
#include <string>
#include <vector>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Numbers = std::vector<std::uint32_t>;

constexpr std::uint32_t untold = 0xFFFFFFFF;

struct Tag {
    std::uint32_t type = 0; // 0 leaves the tag out
    Numbers values;
    std::uint32_t count = untold;  // of the values, unless it says otherwise
    std::uint32_t offset = untold; // where the value stands, unless it says otherwise
};
using Tags = std::map<std::uint16_t, Tag>;

const Tag none{};
[[nodiscard]] Tag shorts(const Numbers& values)
{
    return {3, values};
}
[[nodiscard]] Tag longs(const Numbers& values)
{
    return {4, values};
}
[[nodiscard]] Tag ratio(const Numbers& values)
{
    return {5, values};
}

// A gray picture of 16 x 4 pixels of 8 bits in one strip, with changes to its tags.
[[nodiscard]] Bytes file_of(const Tags& changes, bool big_endian = false)
{
    const auto put = [=](Bytes& out, std::uint32_t value, unsigned count) {
        for (unsigned i = 0; i < count; ++i)
            out.push_back(static_cast<std::uint8_t>(value >> 8 * (big_endian ? count - 1 - i : i)));
    };
    Tags all = changes; // which stand before what is inserted
    // clang-format off
    all.insert({{0x100, shorts({16})}, {0x101, shorts({4})}, {0x102, shorts({8})}, {0x103, shorts({1})}, {0x106, shorts({1})},
                {0x111, longs({8})}, {0x115, shorts({1})}, {0x116, longs({4})}, {0x117, longs({64})},
                {0x11A, ratio({300, 1})}, {0x11B, ratio({300, 1})}});
    // clang-format on
    std::erase_if(all, [](const auto& item) { return item.second.type == 0; });

    Bytes out(2, big_endian ? 'M' : 'I');
    put(out, 42, 2);
    put(out, 8 + 64, 4); // the directory, behind the strip
    out.resize(8 + 64);
    std::iota(out.begin() + 8, out.end(), std::uint8_t{0});
    put(out, static_cast<std::uint32_t>(all.size()), 2);
    const std::size_t behind = out.size() + 12 * all.size() + 4;
    Bytes values;
    for (const auto& [number, tag] : all) {
        const std::size_t count = tag.type == 5 ? tag.values.size() / 2 : tag.values.size();
        Bytes value;
        for (const std::uint32_t one : tag.values)
            put(value, one, tag.type == 3 ? 2 : tag.type > 5 ? 1 : 4);
        put(out, number, 2);
        put(out, tag.type, 2);
        put(out, tag.count == untold ? static_cast<std::uint32_t>(count) : tag.count, 4);
        if (tag.offset != untold || value.size() > 4) {
            const auto place = static_cast<std::uint32_t>(behind + values.size());
            put(out, tag.offset == untold ? place : tag.offset, 4);
            values.insert(values.end(), value.begin(), value.end());
        } else {
            value.resize(4);
            out.insert(out.end(), value.begin(), value.end());
        }
    }
    put(out, 0, 4);
    out.insert(out.end(), values.begin(), values.end());
    return out;
}

TEST(TIFFInfo, PutsRightWhatCanBeAndRefusesTheRest)
{
    struct Case {
        const char* what;
        Tags tags;
        NUV_StatusCode code;
        std::string method;
        bool (*holds)(const NUV_TIFFInfo& info) = nullptr; // of one that is loaded
    };
    constexpr auto ok = NUV_STATUS_OK;
    constexpr auto bad = NUV_ERR_INVALID_DATA;
    constexpr auto odd = NUV_WARN_INVALID_DATA;
    const auto text = [](const char* reason) {
        return std::string("NUV_TIFFInfo::validate() - ") + reason;
    };
    const std::string must = text("some MUST tags(ImageWidth, ImageLength, "
                                  "PhotometricInterpretation, etc.) don't exist.can't process any "
                                  "more!");
    const std::string bad_length =
        text("JPEGInterchangeFormatLength's value is not equal to the size of JPEG-Data(marker + "
             "code). maybe its's equal to size of markers before SOS. but no problem!");
    const std::string bad_stream =
        text("SOS exists before SOI (JPEG).sorry, now can't read in this case.");
    const std::string bad_plan =
        text("invalid combination of compression and planar-configuration.");
    const std::string bad_units = text("invalid width or height for subsampled image.");
    const std::string bad_extra = text("invalid SamplesPerPixel or ExtraSample.");
    const std::string getter = "NUV_TIFFTagGetter::get_values()";
    const Tags eight_bits{{0x115, shorts({3})}, {0x102, shorts({8, 8, 8})}};
    const auto ycbcr = [&](const Tag& factors, std::uint32_t bytes) {
        Tags tags{{0x106, shorts({6})}, {0x117, longs({bytes})}, {0x212, factors}};
        tags.insert(eight_bits.begin(), eight_bits.end());
        return tags;
    };
    Tags planes{{0x103, shorts({7})}, {0x106, shorts({2})}, {0x11C, shorts({2})}};
    planes.insert(eight_bits.begin(), eight_bits.end());
    const Tags two_strips{{0x111, longs({8, 40})}, {0x116, longs({2})}, {0x117, longs({32})}};
    const Tags many_colors{{0x106, shorts({3})}, {0x140, shorts(Numbers(900, 0x5678))}};
    const Tags short_stream{{0x103, shorts({6})}, {0x201, longs({2})}, {0x202, longs({6})}};
    // clang-format off
    const Case cases[] = {
        {"sound", {}, ok, "", [](auto& i) { return i.width() == 16 && i.height() == 4 && i.color_type() == NUV_ColorType::gray; }},
        {"its resolution", {}, ok, "",
            [](auto& i) { return i.resolution().x == 300 && i.resolution().unit == NUV_ResolutionInfo::per_inch; }},
        {"no width", {{0x100, none}}, bad, must},
        {"a width of 0", {{0x100, shorts({0})}}, bad, must},
        {"no colour", {{0x106, none}}, bad, must},
        {"a direction out of the file", {{0x112, {4, {}, 3, 4000}}}, odd, getter},
        {"a direction of a type that is none", {{0x112, {14, {16}}}}, odd, getter},
        {"no resolution across", {{0x11A, none}}, odd, text("no XResolution.")},
        {"no resolution down", {{0x11B, none}}, odd, text("no YResolution.")},
        {"a resolution without denominator", {{0x11A, ratio({1, 0})}}, ok, "", [](auto& i) { return i.resolution().x > 1e308; }},
        {"no coding", {{0x103, none}}, ok, "", [](auto& i) { return i.encode_type() == NUV_EncodeType::unknown; }},
        {"no colour map", {{0x106, shorts({3})}}, bad, text("not found colormap.")},
        {"300 colours", many_colors, odd, text("too many entries of colormap."),
            [](auto& i) { return i.palette().entries == 256 && i.palette().value()[0] == 0x56; }},
        {"a map of one number", {{0x106, shorts({3})}, {0x140, shorts({1})}}, ok, "", [](auto& i) { return !i.is_valid(); }},
        {"colour of one sample", {{0x106, shorts({2})}}, bad, text("invalid SamplesPerPixel.")},
        {"gray of two samples", {{0x115, shorts({2})}, {0x102, shorts({8, 8})}}, odd, bad_extra,
            [](auto& i) { return i.extra_samples.size() == 1 && i.channels() == 2 && i.color_type() == NUV_ColorType::unknown; }},
        {"two samples, bits of one", {{0x115, shorts({2})}}, odd, bad_extra, [](auto& i) { return i.channels() == 1; }},
        {"one number for the bits of three samples", {{0x106, shorts({2})}, {0x115, shorts({3})}}, odd, text("invalid BitsPerSample."),
            [](auto& i) { return i.bits_per_sample.size() == 3 && i.bits_per_sample[2] == 8; }},
        {"an extra one", {{0x152, shorts({1})}}, odd, text("invalid ExtraSamples"), [](auto& i) { return i.extra_samples.empty(); }},
        {"JPEG in planes", planes, bad, bad_plan},
        {"strips of 1000 lines", {{0x116, longs({1000})}}, odd, text("no RowsPerStrip."), [](auto& i) { return i.rows_per_strip == 4; }},
        {"all lines", {{0x116, longs({0xFFFFFFFF})}}, ok, "", [](auto& i) { return i.rows_per_strip == 4; }},
        {"strips of no lines", {{0x116, longs({0})}}, bad, text("RowsPerStrip is 0.")},
        {"two strips, one offset", {{0x116, longs({3})}}, bad, text("not enough # of strips.")},
        {"no counts", {{0x117, none}}, odd, text("no StripByteCounts."), [](auto& i) { return i.strip_byte_counts[0] == 0; }},
        {"a count too few", two_strips, odd, text("no StripByteCounts."),
            [](auto& i) { return i.strip_byte_counts.size() == 2 && i.strip_byte_counts[1] == 0; }},
        {"a count too many", {{0x117, longs({64, 1})}}, ok, "", [](auto& i) { return i.strip_byte_counts.size() == 1; }},
        {"chroma for each pixel, untold", ycbcr(none, 192), odd, text("no YCbCrSubSampling."), [](auto& i) { return !i.is_subsampled(); }},
        {"chroma for four pixels, untold", ycbcr(none, 96), ok, "", [](auto& i) { return i.ycbcr_subsampling[1] == 2; }},
        {"no chroma", ycbcr(shorts({0, 0}), 96), bad, bad_units},
        {"chroma for no lines", ycbcr(shorts({2, 0}), 96), bad, bad_units},
        {"a width that is not whole units", ycbcr(shorts({3, 1}), 96), bad, bad_units},
        {"JPEG of 16 bits", {{0x103, shorts({7})}, {0x102, shorts({16})}}, bad, text("invalid BitsPerSample for JPEG.")},
        {"a stream behind its strip", {{0x103, shorts({6})}, {0x201, longs({9})}}, bad, bad_stream},
        {"a stream that ends before its strip", short_stream, odd, bad_length},
    };
    // clang-format on
    for (const Case& one : cases) {
        for (const bool big_endian : {false, true}) {
            SCOPED_TRACE(std::string(one.what) + (big_endian ? ", MM" : ", II"));
            const Bytes file = file_of(one.tags, big_endian);
            NUV_TestChain chain;
            const auto storage = make_initiated<NUV_ByteArrayInputStorage>(
                chain.manager(), file.data(), static_cast<std::int32_t>(file.size()));
            NUV_TIFFInfo info(chain.manager());
            EXPECT_EQ(info.load(storage.get()), !is_error(one.code));
            EXPECT_EQ(info.loaded(), !is_error(one.code));
            EXPECT_EQ(chain.status().code, one.code);
            EXPECT_EQ(chain.status().method, one.method);
            EXPECT_TRUE(info.loaded() || storage->position() == 0);
            EXPECT_TRUE(!info.loaded() || !one.holds || one.holds(info));
        }
    }
}

TEST(ReadTIFF, TakesStripsAsFarAsTheyGo)
{
    struct Case {
        const char* what;
        Tags tags;
        std::size_t lines; // of 16 bytes that count on from line to line
        NUV_StatusCode code = NUV_STATUS_OK;
        const char* method = "";
    };
    const auto strips = [](const Numbers& offsets, const Numbers& counts) {
        return Tags{{0x111, longs(offsets)}, {0x116, longs({2})}, {0x117, longs(counts)}};
    };
    const auto coded = [](std::uint32_t coding, std::uint32_t bits) {
        return Tags{{0x103, shorts({coding})}, {0x102, shorts({bits})}};
    };
    constexpr auto check = "NUV_ReadTIFF::check()";
    constexpr auto broken = NUV_ERR_BROKEN_DATA;
    constexpr auto unsupported = NUV_ERR_UNSUPPORTED;
    // clang-format off
    const Case cases[] = {
        {"counts of one byte", strips({8, 40}, {1, 1}), 4},
        {"counts with what fills up", strips({8, 40}, {40, 4000}), 4},
        {"more strips than lines", strips({8, 40, 8}, {32, 32, 32}), 4},
        {"no counts", strips({8, 40}, {0, 0}), 4},
        {"a second strip that is not there", strips({8, 100000}, {32, 32}), 2, broken, "NUV_ReadStorageEngine::execute()"},
        {"the same, each for itself", strips({8, 100000}, {32, 0}), 0, NUV_ERR_IO, "NUV_ReadTIFFCode::create_engine()"},
        {"LZW", coded(5, 8), 0, unsupported, check},
        {"facsimile with samples uncompressed", {{0x103, shorts({4})}, {0x102, shorts({1})}, {0x125, longs({2})}}, 0, unsupported, check},
        {"JPEG by its tables alone", coded(6, 8), 0, unsupported, check},
        {"2 bits", coded(1, 2), 0, unsupported, check},
        {"tiles", {{0x142, shorts({16})}}, 0, unsupported, check},
    };
    // clang-format on
    for (const Case& one : cases) {
        SCOPED_TRACE(one.what);
        const Bytes file = file_of(one.tags);
        NUV_TestChain chain;
        const auto storage = make_initiated<NUV_ByteArrayInputStorage>(
            chain.manager(), file.data(), static_cast<std::int32_t>(file.size()));
        chain.last(NUV_ReadTIFF(chain.manager()).engine(storage.get(), 0U, false));
        const Bytes wanted(file.begin() + 8, file.begin() + 8 + std::ptrdiff_t(16 * one.lines));
        EXPECT_EQ(chain.run_bytes(), wanted);
        EXPECT_EQ(chain.status().code, one.code);
        EXPECT_STREQ(chain.status().method, one.method);
    }
}

} // namespace
} // namespace nuv
