#include "core/tiff/nuv_tiffinfo.h"

#include "core/tiff/nuv_readtiff.h"
#include "framework/io/nuv_bytearrayinputstorage.h"
#include "tests/support/nuv_testchain.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Numbers = std::vector<std::uint32_t>;

constexpr std::uint16_t type_short = 3;
constexpr std::uint16_t type_long = 4;
constexpr std::uint16_t type_rational = 5;
constexpr std::uint32_t no_tag = 0xFFFF; // in place of a type: the tag is left out

struct Tag {
    std::uint32_t type = type_long;
    Numbers values;
    std::uint32_t count = 0xFFFFFFFF;  // of the values, unless it says otherwise
    std::uint32_t offset = 0xFFFFFFFF; // where the value stands, unless it says otherwise
};

// A gray picture of 16 x 4 pixels of 8 bits in one strip, and changes to its tags.
struct Directory {
    std::map<std::uint16_t, Tag> tags;
    bool big_endian = false;
    std::uint32_t data_bytes = 64; // of the strip

    [[nodiscard]] Bytes file() const
    {
        std::map<std::uint16_t, Tag> all = {
            {0x100, {type_short, {16}}},       {0x101, {type_short, {4}}},
            {0x102, {type_short, {8}}},        {0x103, {type_short, {1}}},
            {0x106, {type_short, {1}}},        {0x111, {type_long, {8}}},
            {0x115, {type_short, {1}}},        {0x116, {type_long, {4}}},
            {0x117, {type_long, {64}}},        {0x11A, {type_rational, {300, 1}}},
            {0x11B, {type_rational, {300, 1}}}};
        for (const auto& [number, tag] : tags)
            all[number] = tag;
        std::erase_if(all, [](const auto& item) { return item.second.type == no_tag; });

        Bytes out = bytes({'I', 'I', 42, 0}, {'M', 'M', 0, 42});
        const std::uint32_t directory = 8 + data_bytes;
        put(out, directory, 4);
        for (std::uint32_t i = 0; i < data_bytes; ++i)
            out.push_back(static_cast<std::uint8_t>(i));
        put(out, static_cast<std::uint32_t>(all.size()), 2);
        const auto behind = static_cast<std::uint32_t>(directory + 2 + 12 * all.size() + 4);
        Bytes values;
        for (const auto& [number, tag] : all) {
            const unsigned unit = tag.type == type_short                               ? 2
                                  : tag.type == type_long || tag.type == type_rational ? 4
                                                                                       : 1;
            const auto given =
                static_cast<std::uint32_t>(tag.values.size() / (tag.type == type_rational ? 2 : 1));
            put(out, number, 2);
            put(out, tag.type, 2);
            put(out, tag.count == 0xFFFFFFFF ? given : tag.count, 4);
            Bytes value;
            for (const std::uint32_t number_value : tag.values)
                put(value, number_value, unit);
            if (tag.offset != 0xFFFFFFFF) {
                put(out, tag.offset, 4);
            } else if (value.size() <= 4) {
                value.resize(4);
                out.insert(out.end(), value.begin(), value.end());
            } else {
                put(out, static_cast<std::uint32_t>(behind + values.size()), 4);
                values.insert(values.end(), value.begin(), value.end());
            }
        }
        put(out, 0, 4);
        out.insert(out.end(), values.begin(), values.end());
        return out;
    }

private:
    [[nodiscard]] Bytes bytes(Bytes little, Bytes big) const { return big_endian ? big : little; }
    void put(Bytes& out, std::uint32_t value, unsigned count) const
    {
        for (unsigned i = 0; i < count; ++i)
            out.push_back(static_cast<std::uint8_t>(value >> 8 * (big_endian ? count - 1 - i : i)));
    }
};

struct Case {
    const char* what;
    Directory directory;
    NUV_StatusCode code;
    std::string method;
    void (*check)(const NUV_TIFFInfo& info) = nullptr; // of one that is loaded
};

void expect(const std::vector<Case>& cases)
{
    for (const Case& one : cases) {
        for (const bool big_endian : {false, true}) {
            SCOPED_TRACE(std::string(one.what) + (big_endian ? ", MM" : ", II"));
            Directory directory = one.directory;
            directory.big_endian = big_endian;
            const Bytes file = directory.file();
            NUV_TestChain chain;
            const auto storage = make_initiated<NUV_ByteArrayInputStorage>(
                chain.manager(), file.data(), static_cast<std::int32_t>(file.size()));
            NUV_TIFFInfo info(chain.manager());
            EXPECT_EQ(info.load(storage.get()), !is_error(one.code));
            EXPECT_EQ(info.loaded(), !is_error(one.code));
            EXPECT_EQ(chain.status().code, one.code);
            EXPECT_EQ(std::string(chain.status().method), one.method);
            if (info.loaded() && one.check)
                one.check(info);
            if (!info.loaded()) {
                EXPECT_EQ(storage->position(), 0);
            }
        }
    }
}

constexpr auto bad = NUV_ERR_INVALID_DATA;
constexpr auto odd = NUV_WARN_INVALID_DATA;

std::string text(const char* reason)
{
    return std::string("NUV_TIFFInfo::validate() - ") + reason;
}

TEST(TIFFInfo, PutsRightWhatCanBeAndRefusesTheRest)
{
    const std::string must = text("some MUST tags(ImageWidth, ImageLength, "
                                  "PhotometricInterpretation, etc.) don't exist.can't process any "
                                  "more!");
    const std::string getter = "NUV_TIFFTagGetter::get_values()";
    const std::string bad_units = text("invalid width or height for subsampled image.");
    const auto ycbcr = [](Tag factors, std::uint32_t bytes) {
        return Directory{{{0x106, {type_short, {6}}},
                          {0x102, {type_short, {8, 8, 8}}},
                          {0x115, {type_short, {3}}},
                          {0x117, {type_long, {bytes}}},
                          {0x212, std::move(factors)}}};
    };
    const Tag none = {no_tag, {}};
    expect({
        {"sound",
         {},
         NUV_STATUS_OK,
         "",
         [](const NUV_TIFFInfo& info) {
             EXPECT_EQ(info.width(), 16u);
             EXPECT_EQ(info.height(), 4u);
             EXPECT_EQ(info.color_type(), NUV_ColorType::gray);
             EXPECT_EQ(info.resolution().x, 300.0);
             EXPECT_EQ(info.resolution().unit, NUV_ResolutionInfo::per_inch);
         }},
        {"no width", {{{0x100, none}}}, bad, must},
        {"a width of 0", {{{0x100, {type_short, {0}}}}}, bad, must},
        {"no colour", {{{0x106, none}}}, bad, must},
        {"a direction out of the file", {{{0x112, {type_long, {}, 3, 4000}}}}, odd, getter},
        {"a direction of a type that is none", {{{0x112, {14, {16}}}}}, odd, getter},
        {"no resolution across", {{{0x11A, none}}}, odd, text("no XResolution.")},
        {"no resolution down", {{{0x11B, none}}}, odd, text("no YResolution.")},
        {"a resolution without denominator",
         {{{0x11A, {type_rational, {1, 0}}}}},
         NUV_STATUS_OK,
         "",
         [](const NUV_TIFFInfo& info) { EXPECT_GT(info.resolution().x, 1e308); }},
        {"no coding",
         {{{0x103, none}}},
         NUV_STATUS_OK,
         "",
         [](const NUV_TIFFInfo& info) { EXPECT_EQ(info.encode_type(), NUV_EncodeType::unknown); }},
        {"no colour map", {{{0x106, {type_short, {3}}}}}, bad, text("not found colormap.")},
        {"300 colours",
         {{{0x106, {type_short, {3}}}, {0x140, {type_short, Numbers(900, 0x5678)}}}},
         odd,
         text("too many entries of colormap."),
         [](const NUV_TIFFInfo& info) {
             EXPECT_EQ(info.palette().entries, 256u);
             EXPECT_EQ(info.palette().value()[0], 0x56);
         }},
        {"a map of one number",
         {{{0x106, {type_short, {3}}}, {0x140, {type_short, {1}}}}},
         NUV_STATUS_OK,
         "",
         [](const NUV_TIFFInfo& info) { EXPECT_FALSE(info.is_valid()); }},
        {"colour of one sample",
         {{{0x106, {type_short, {2}}}}},
         bad,
         text("invalid SamplesPerPixel.")},
        {"gray of two samples",
         {{{0x115, {type_short, {2}}}, {0x102, {type_short, {8, 8}}}}},
         odd,
         text("invalid SamplesPerPixel or ExtraSample."),
         [](const NUV_TIFFInfo& info) {
             EXPECT_EQ(info.extra_samples.size(), 1u);
             EXPECT_EQ(info.channels(), 2);
             EXPECT_EQ(info.color_type(), NUV_ColorType::unknown);
         }},
        {"two samples, bits of one",
         {{{0x115, {type_short, {2}}}}},
         odd,
         text("invalid SamplesPerPixel or ExtraSample."),
         [](const NUV_TIFFInfo& info) { EXPECT_EQ(info.channels(), 1); }},
        {"one number for the bits of three samples",
         {{{0x106, {type_short, {2}}}, {0x115, {type_short, {3}}}}},
         odd,
         text("invalid BitsPerSample."),
         [](const NUV_TIFFInfo& info) {
             ASSERT_EQ(info.bits_per_sample.size(), 3u);
             EXPECT_EQ(info.bits_per_sample[2], 8);
         }},
        {"an extra sample that is not there",
         {{{0x152, {type_short, {1}}}}},
         odd,
         text("invalid ExtraSamples"),
         [](const NUV_TIFFInfo& info) { EXPECT_TRUE(info.extra_samples.empty()); }},
        {"JPEG in planes",
         {{{0x103, {type_short, {7}}},
           {0x106, {type_short, {2}}},
           {0x115, {type_short, {3}}},
           {0x102, {type_short, {8, 8, 8}}},
           {0x11C, {type_short, {2}}}}},
         bad,
         text("invalid combination of compression and planar-configuration.")},
        {"strips of 1000 lines",
         {{{0x116, {type_long, {1000}}}}},
         odd,
         text("no RowsPerStrip."),
         [](const NUV_TIFFInfo& info) { EXPECT_EQ(info.rows_per_strip, 4u); }},
        {"all lines",
         {{{0x116, {type_long, {0xFFFFFFFF}}}}},
         NUV_STATUS_OK,
         "",
         [](const NUV_TIFFInfo& info) { EXPECT_EQ(info.rows_per_strip, 4u); }},
        {"strips of no lines", {{{0x116, {type_long, {0}}}}}, bad, text("RowsPerStrip is 0.")},
        {"two strips, one offset",
         {{{0x116, {type_long, {3}}}}},
         bad,
         text("not enough # of strips.")},
        {"no counts",
         {{{0x117, none}}},
         odd,
         text("no StripByteCounts."),
         [](const NUV_TIFFInfo& info) { EXPECT_EQ(info.strip_byte_counts[0], 0u); }},
        {"a count too few",
         {{{0x111, {type_long, {8, 40}}}, {0x116, {type_long, {2}}}, {0x117, {type_long, {32}}}}},
         odd,
         text("no StripByteCounts."),
         [](const NUV_TIFFInfo& info) {
             ASSERT_EQ(info.strip_byte_counts.size(), 2u);
             EXPECT_EQ(info.strip_byte_counts[1], 0u);
         }},
        {"a count too many",
         {{{0x117, {type_long, {64, 1}}}}},
         NUV_STATUS_OK,
         "",
         [](const NUV_TIFFInfo& info) { EXPECT_EQ(info.strip_byte_counts.size(), 1u); }},
        {"chroma for each pixel, untold", ycbcr(none, 192), odd, text("no YCbCrSubSampling."),
         [](const NUV_TIFFInfo& info) { EXPECT_FALSE(info.is_subsampled()); }},
        {"chroma for four pixels, untold", ycbcr(none, 96), NUV_STATUS_OK, "",
         [](const NUV_TIFFInfo& info) { EXPECT_EQ(info.ycbcr_subsampling[1], 2); }},
        {"no chroma", ycbcr({type_short, {0, 0}}, 96), bad, bad_units},
        {"chroma for no lines", ycbcr({type_short, {2, 0}}, 96), bad, bad_units},
        {"a width that is not whole units", ycbcr({type_short, {3, 1}}, 96), bad, bad_units},
        {"JPEG of 16 bits",
         {{{0x103, {type_short, {7}}}, {0x102, {type_short, {16}}}}},
         bad,
         text("invalid BitsPerSample for JPEG.")},
        {"a stream behind its strip",
         {{{0x103, {type_short, {6}}}, {0x201, {type_long, {9}}}}},
         bad,
         text("SOS exists before SOI (JPEG).sorry, now can't read in this case.")},
        {"a stream that ends before its strip",
         {{{0x103, {type_short, {6}}}, {0x201, {type_long, {2}}}, {0x202, {type_long, {6}}}}},
         odd,
         text("JPEGInterchangeFormatLength's value is not equal to the size of JPEG-Data(marker + "
              "code). maybe its's equal to size of markers before SOS. but no problem!")},
    });
}

struct StripCase {
    const char* what;
    Directory directory;
    std::size_t lines; // of 16 bytes that count on from line to line
    NUV_StatusCode code = NUV_STATUS_OK;
    const char* method = "";
};

TEST(ReadTIFF, TakesStripsAsFarAsTheyGo)
{
    const auto strips = [](Numbers offsets, Numbers counts) {
        return Directory{{{0x111, {type_long, std::move(offsets)}},
                          {0x116, {type_long, {2}}},
                          {0x117, {type_long, std::move(counts)}}}};
    };
    const auto coded = [](std::uint32_t coding, std::uint32_t bits) {
        return Directory{{{0x103, {type_short, {coding}}}, {0x102, {type_short, {bits}}}}};
    };
    constexpr auto check = "NUV_ReadTIFF::check()";
    const StripCase cases[] = {
        {"counts of one byte", strips({8, 40}, {1, 1}), 4},
        {"counts with what fills up", strips({8, 40}, {40, 4000}), 4},
        {"more strips than lines", strips({8, 40, 8}, {32, 32, 32}), 4},
        {"no counts", strips({8, 40}, {0, 0}), 4},
        {"a second strip that is not there", strips({8, 100000}, {32, 32}), 2, NUV_ERR_BROKEN_DATA,
         "NUV_ReadStorageEngine::execute()"},
        {"the same, each strip for itself", strips({8, 100000}, {32, 0}), 0, NUV_ERR_IO,
         "NUV_ReadTIFFCode::create_engine()"},
        {"LZW", coded(5, 8), 0, NUV_ERR_UNSUPPORTED, check},
        {"facsimile", coded(4, 1), 0, NUV_ERR_UNSUPPORTED, "NUV_ReadTIFF::engine()"},
        {"JPEG by its tables alone", coded(6, 8), 0, NUV_ERR_UNSUPPORTED, check},
        {"2 bits", coded(1, 2), 0, NUV_ERR_UNSUPPORTED, check},
        {"tiles", {{{0x142, {type_short, {16}}}}}, 0, NUV_ERR_UNSUPPORTED, check},
    };
    for (const StripCase& one : cases) {
        SCOPED_TRACE(one.what);
        const Bytes file = one.directory.file();
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
