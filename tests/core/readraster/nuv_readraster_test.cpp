#include "core/readraster/nuv_readraster.h"

#include "core/crop/nuv_crop.h"
#include "core/decodetoraw/nuv_decodetoraw.h"
#include "core/jpeg/nuv_jpeginfo.h"
#include "core/mirror/nuv_mirrorx.h"
#include "core/scale/nuv_scaleli.h"
#include "core/scale/nuv_scalenn.h"
#include "extension/readrasterex/nuv_readrasterex.h"
#include "tests/core/jpeg/nuv_jpegcraft.h"
#include "tests/support/nuv_refusals.h"
#include "tests/support/nuv_teststored.h"

namespace nuv {
namespace {

Bytes with_jfif(const Bytes& stream)
{
    return with_segment(stream, 0xE0, {"JFIF\0\1\2\0\0\1\0\1\0\0", 14});
}

// Colours as they are.
Bytes with_adobe(const Bytes& stream)
{
    return with_segment(stream, 0xEE, {"Adobe\0\144\0\0\0\0\0", 12});
}

// An orientation, in a directory that ends as it should or too early.
Bytes with_exif(const Bytes& stream, std::size_t bytes = 32)
{
    constexpr std::string_view exif("Exif\0\0II*\0\10\0\0\0\1\0\22\1\3\0\1\0\0\0\6\0\0\0\0\0\0\0",
                                    32);
    return with_segment(stream, 0xE1, exif.substr(0, bytes));
}

JPEGLosslessPicture lossless_picture(std::uint32_t precision)
{
    JPEGLosslessPicture picture{5, 3, 3, precision, random_samples<std::uint16_t>(45, 1)};
    for (std::uint16_t& sample : picture.samples)
        sample = static_cast<std::uint16_t>(sample & ((1U << precision) - 1));
    return picture;
}

Bytes lossless_stream(std::uint32_t precision)
{
    return craft_lossless(lossless_picture(precision), {});
}

Bytes anymap()
{
    return bytes_of("P5 3 2 255\nabcdef");
}

// Both readers; the extended one reads deep lossless streams besides.
template <class Search>
void with_both_readers(Search search)
{
    search.template operator()<NUV_ReadRaster>();
    search.template operator()<NUV_ReadRasterEx>();
}

TEST(ReadRaster, TellsWhyNobodyTakesTheDataAndLeavesTheStorageWhereItStood)
{
    constexpr auto first_probe = "NUV_SunrasInfo::load()";
    constexpr auto last_probe = "NUV_PNMInfo::get_value()";
    constexpr auto search = "NUV_ReadRaster::"; // and the member that searched
    constexpr auto unsupported = NUV_ERR_UNSUPPORTED;
    struct Case {
        const char* what;
        Bytes stored;
        std::uint32_t page;
        NUV_StatusCode before, code;
        std::string method;
    };
    Bytes sizeless(99);
    sizeless[0] = 'B', sizeless[1] = 'M', sizeless[14] = 40;
    const Case cases[] = {
        {"nothing", {}, 0, 0, NUV_ERR_BROKEN_DATA, first_probe},
        {"3 bytes", {1, 2, 3}, 0, 0, NUV_ERR_BROKEN_DATA, first_probe},
        {"no signature", Bytes(99, 1), 0, 0, unsupported, search},
        {"nonsense behind one", bytes_of("P5 0 1 255\n"), 0, 0, NUV_ERR_INVALID_DATA, last_probe},
        {"a bitmap without pixels", sizeless, 0, 0, NUV_ERR_INVALID_DATA,
         "NUV_BitmapInfoHeader::is_valid()"},
        {"page 1 of one", anymap(), 1, 0, unsupported, search},
        {"page 1 of nothing", {}, 1, 0, NUV_ERR_BROKEN_DATA, "NUV_TIFFImageFileHeaderload()"},
        {"page 1 of a deep lossless stream", lossless_stream(12), 1, 0, unsupported, search},
        {"after a warning", Bytes(9, 1), 0, NUV_WARN_BROKEN_DATA, unsupported, search},
        {"after an error", {}, 0, NUV_ERR_IO, NUV_ERR_IO, "before"},
    };
    with_both_readers([&]<class Reader>() {
        for (std::size_t i = 0; i < 2 * std::size(cases); ++i) {
            const Case& c = cases[i / 2];
            SCOPED_TRACE(c.what);
            NUV_TestChain chain;
            const NUV_TestStored image(chain.manager(), c.stored);
            chain.manager().raise_short(c.before, "before");
            Reader reader(chain.manager());
            EXPECT_FALSE(i % 2 == 0 ? reader.engine(image.storage(), c.page) != nullptr
                                    : reader.format_info(image.storage(), c.page) != nullptr);
            const char* member = i % 2 == 0 ? "engine()" : "format_info()";
            expect_status(chain.manager(), c.code, c.method + (c.method == search ? member : ""));
            EXPECT_EQ(image.position(), 0);
        }
    });
}

TEST(ReadRaster, LetsAStatusStandThatStoodBefore)
{
    with_both_readers([]<class Reader>() {
        for (const NUV_StatusCode before : {NUV_WARN_BROKEN_DATA, NUV_ERR_IO}) {
            NUV_TestChain chain;
            const NUV_TestStored image(chain.manager(), anymap());
            chain.manager().raise_short(before, "first()");
            const NUV_Held<NUV_FormatInfo> info(
                Reader(chain.manager()).format_info(image.storage(), 0));
            EXPECT_TRUE(info) << "needs no clean status";
            EXPECT_TRUE(image.storage()->to(NUV_TestStored::start));
            EXPECT_EQ(Reader(chain.manager()).engine(image.storage(), 0) != nullptr,
                      before == NUV_WARN_BROKEN_DATA);
            EXPECT_STREQ(chain.status().method, "first()");
        }
    });
}

// The probes before the one that takes the anymap run out of memory, and their errors are gone:
// with one of them pending, no reader could be built.
TEST(ReadRaster, ForgetsTheErrorOfARefusingProbeWhenALaterOneAccepts)
{
    with_both_readers([]<class Reader>() {
        std::size_t accepted = 0;
        bool is_through = false;
        for (std::size_t k = 0; !is_through; ++k) {
            SCOPED_TRACE(k);
            NUV_TestChain chain;
            const NUV_TestStored image(chain.manager(), anymap());
            NUV_FailingMemory& memory = chain.manager().memory();
            memory.fail_at(k);
            NUV_Held<NUV_FormatInfo> info(Reader(chain.manager()).format_info(image.storage(), 0));
            const NUV_StatusCode info_code = chain.status().code;
            EXPECT_EQ(info_code, info ? NUV_STATUS_OK : NUV_ERR_MEMORY);
            is_through = memory.allocations() <= k;
            info.reset();

            chain.manager().reset();
            EXPECT_TRUE(image.storage()->to(NUV_TestStored::start));
            memory.fail_at(k);
            chain.last(Reader(chain.manager()).engine(image.storage(), 0));
            const bool is_hit = memory.allocations() > k;
            is_through = is_through && !is_hit;
            memory.fail_at(NUV_FailingMemory::never);
            EXPECT_EQ(chain.status().code, chain.last() ? NUV_STATUS_OK : NUV_ERR_MEMORY);
            if (chain.last()) {
                accepted += is_hit ? 1 : 0;
                EXPECT_EQ(chain.run_bytes(), bytes_of("abcdef"));
            }
        }
        EXPECT_GT(accepted, 0u);
    });
}

TEST(ReadRaster, IsRefusedWithoutAStorageUnderItsOwnName)
{
    NUV_TestChain chain;
    const NUV_TestStored stored(chain.manager(), anymap());
    EXPECT_TRUE(stored.storage()->close());
    NUV_InputStorage* const closed = stored.storage();
    const auto expect_refusal = [&](const void* result, const char* method) {
        EXPECT_EQ(result, nullptr);
        expect_status(chain.manager(), NUV_ERR_ARGUMENT, method);
    };
    NUV_ReadRaster plain(chain.manager());
    NUV_ReadRasterEx extended(chain.manager());
    expect_refusal(plain.engine(nullptr, 0), "NUV_ReadRaster::engine()");
    expect_refusal(plain.format_info(closed, 0), "NUV_ReadRaster::format_info()");
    expect_refusal(extended.engine(closed, 0), "NUV_ReadRaster::engine()");
    expect_refusal(extended.engine(nullptr, 0), "NUV_ReadRasterEx::engine()");
    expect_refusal(extended.format_info(nullptr, 0), "NUV_ReadRasterEx::engine()");
}

// The first format that fits, and no other when its reader fails; but the extended reader takes
// deep lossless streams, whatever segments they carry, and calls every lossless stream "jpeg".
TEST(ReadRaster, TakesTheFirstFormatThatFits)
{
    struct Case {
        const char* what;
        Bytes stored;
        const char* format;
        const NUV_ColorType* color; // of the image, null when the plain reader refuses
        NUV_StatusCode code = NUV_STATUS_OK;
        std::uint32_t rescued = 0; // the precision, when the extended reader can
        const char* method = "";
    };
    constexpr auto argument = NUV_ERR_ARGUMENT;
    constexpr auto invalid = NUV_ERR_INVALID_DATA;
    constexpr auto jpeg = "NUV_ReadJPEG::engine()";
    constexpr auto read_jfif = "NUV_ReadJFIF::initiate()";
    constexpr auto read_adobe = "NUV_ReadJPEGAdobe::engine()";
    const auto ycbcr = NUV_ColorType::ycbcr;
    const auto rgb = NUV_ColorType::s_rgb;
    const Bytes flat = flat_stream();
    const Bytes deep = lossless_stream(12);
    const Bytes lossy = JPEGCraft().frame(0xC1, 12, 8, 8, {0x11}).scan({1}).end();
    // clang-format off
    const Case cases[] = {
        {"plain", flat, "jpeg", ycbcr},
        {"JFIF", with_jfif(flat), "jfif", ycbcr},
        {"Exif", with_exif(flat), "exif_jpeg", ycbcr},
        {"Exif that breaks off", with_exif(flat, 31), "jpeg", ycbcr},
        {"Exif before JFIF", with_exif(with_jfif(flat)), "jfif", ycbcr},
        {"Exif before all", with_exif(with_jfif(with_adobe(flat))), "jpeg_adobe", rgb},
        {"Adobe behind JFIF", with_jfif(with_adobe(flat)), "jpeg_adobe", rgb},
        {"Adobe before JFIF", with_adobe(with_jfif(flat)), "jpeg_adobe", rgb},
        {"lossless JFIF", with_jfif(lossless_stream(8)), "jfif", ycbcr},
        {"lossless Adobe", with_adobe(lossless_stream(8)), "jpeg_adobe", rgb},
        {"16 bits", lossless_stream(16), "jpeg", rgb},
        {"9 bits", lossless_stream(9), "jpeg", nullptr, argument, 9, jpeg},
        {"12 bits", deep, "jpeg", nullptr, argument, 12, jpeg},
        {"12 bits, Exif", with_exif(deep), "jpeg", nullptr, argument, 12, jpeg},
        {"12 bits, JFIF", with_jfif(deep), "jfif", nullptr, invalid, 12, read_jfif},
        {"12 bits, both", with_jfif(with_adobe(deep)), "jpeg_adobe", nullptr, invalid, 12, read_adobe},
        {"12 bits, not lossless", lossy, "jpeg", nullptr, argument, 0, jpeg},
        {"the same as JFIF", with_jfif(lossy), "jfif", nullptr, invalid, 0, read_jfif},
        {"lossless of 4 bits", lossless_stream(4), "jpeg", nullptr, NUV_ERR_UNSUPPORTED, 0, "NUV_DecodeJPEGEngine::initiate()"},
        {"the same as Adobe", with_adobe(lossless_stream(4)), "jpeg_adobe", nullptr, invalid, 0, read_adobe},
    };
    // clang-format on
    with_both_readers([&]<class Reader>() {
        constexpr bool is_extended = std::is_same_v<Reader, NUV_ReadRasterEx>;
        for (const Case& c : cases) {
            SCOPED_TRACE(c.what);
            NUV_TestChain chain;
            const NUV_TestStored image(chain.manager(), c.stored);
            NUV_Held<NUV_FormatInfo> info(Reader(chain.manager()).format_info(image.storage(), 0));
            ASSERT_TRUE(info && info->loaded());
            const auto* stream = dynamic_cast<const NUV_JPEGInfo*>(info.get());
            EXPECT_STREQ(info->format_name(),
                         is_extended && stream && stream->is_lossless() ? "jpeg" : c.format);
            info.reset();
            EXPECT_EQ(chain.status().code, NUV_STATUS_OK);

            EXPECT_TRUE(image.storage()->to(NUV_TestStored::start));
            chain.last(Reader(chain.manager()).engine(image.storage(), 0));
            if (is_extended && c.rescued > 0) {
                ASSERT_TRUE(chain.last()) << chain.status().method;
                EXPECT_EQ(chain.run<std::uint16_t>(), lossless_picture(c.rescued).samples);
                continue;
            }
            EXPECT_EQ(chain.last() ? chain.header().color_type() : nullptr, c.color);
            expect_status(chain.manager(), c.code, c.method);
            EXPECT_TRUE(chain.last() || image.position() == 0);
        }
    });
}

TEST(ReadRaster, IsCleanAtEveryAllocation)
{
    for (const Bytes& stored : {with_adobe(lossless_stream(12)), with_exif(flat_stream())}) {
        expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
            const NUV_TestStored image(chain.manager(), stored);
            if (!image.storage())
                return;
            const NUV_Held<NUV_FormatInfo> info(
                NUV_ReadRasterEx(chain.manager()).format_info(image.storage(), 0));
            static_cast<void>(image.storage()->to(NUV_TestStored::start));
            chain.last(NUV_ReadRasterEx(chain.manager()).engine(image.storage(), 0));
            static_cast<void>(chain.run_bytes());
        });
    }
}

Bytes flat_with(std::size_t offset, std::uint8_t byte)
{
    Bytes stream = flat_stream();
    stream[offset] = byte;
    return stream;
}

// A file of tests/data with some bytes, from a place on, in place of others.
Bytes edited(const char* name, std::size_t at, const Bytes& bytes)
{
    Bytes file = test_data(name);
    std::copy(bytes.begin(), bytes.end(), file.begin() + static_cast<std::ptrdiff_t>(at));
    return file;
}

Bytes begin_of(const char* name, std::size_t bytes)
{
    Bytes file = test_data(name);
    file.resize(bytes);
    return file;
}

// One row a file: whose fault it is, where it stands, and the part of a sentence that says it.
TEST(ReadRaster, TellsUnknownFromUnsupportedAndWhatWasFoundWhere)
{
    struct Case {
        Bytes stored;
        NUV_Cause cause;
        std::int64_t byte;
        const char* found;
    };
    constexpr std::size_t sof = 3; // the second byte of the marker, and three behind it the depth
    constexpr std::int64_t nowhere = NUV_Diagnosis::unknown;
    using enum NUV_Cause;
    // clang-format off
    const Case cases[] = {
        {bytes_of("hello, world"), unknown_kind, 0, "it starts with 68 65 6c 6c"},
        {bytes_of("P"), unknown_kind, nowhere, "it is too short"},
        {flat_with(sof, 0xC9), unsupported, 2, "arithmetic coding (SOF9)"},
        {flat_with(sof, 0xC5), unsupported, 2, "hierarchical coding (SOF5)"},
        {with_jfif(flat_with(sof, 0xCA)), unsupported, 20, "arithmetic coding (SOF10)"},
        {flat_with(sof, 0xCC), unsupported, 2, "arithmetic coding (DAC)"},
        {bytes_of("P5 2 1 65535\nabcd"), unsupported, 12, "P5 with samples up to 65535, served is 255"},
        {bytes_of("P5 2 1 65536\nabcd"), invalid, 12, "P5 with samples up to 65536, served is 255"},
        {bytes_of("P5 2     "), damaged, 9, "the header ends early"},
        {bytes_of("P5 x     "), invalid, 3, "the byte 78 where the header has a number"},
        {bytes_of("P512 12 12 "), invalid, 1, "no space before a number of the header"},
        {bytes_of("P5 1234567890123456789012 "), invalid, 24, "a number of too many digits in the header"},
        {bytes_of("P5 4294967296 1 "), invalid, 13, "the number 4294967296 in the header"},
        {bytes_of("P5 2 1 255#\nab"), invalid, 9, "a comment right behind the header"},
        {bytes_of("P5 0 1 255\nab"), invalid, 4, "a 0 in the header"},
        {bytes_of("P5 2 3 255\nabc"), damaged, 14, "line 2 of 3 is not there as a whole"},
        {bytes_of("P1 2 2\n1 0 1 x"), damaged, 13, "the byte 78 where a number should stand"},
        {bytes_of("P2 2 2 255\n1 2 x 4 5 6"), damaged, 15, "the byte 78 where a number should stand"},
        {bytes_of("P2 2 2 255\n1 2 3 256 7 8"), damaged, 20, "the sample 256 is too large"},
        {bytes_of("P2 2 2 255\n1 2 3 1234567 8"), damaged, 23, "a sample is too large"},
        {begin_of("sunras/colour_im.sun", 9), damaged, 9, "the header ends 23 bytes early"},
        {edited("sunras/colour_im.sun", 4, {0, 0, 0, 0}), invalid, 4, "0 x 5 pixels"},
        {edited("sunras/colour_im.sun", 15, {7}), invalid, 12, "7 bits a pixel"},
        {edited("sunras/colour_im.sun", 23, {4}), invalid, 20, "type 4"},
        {edited("sunras/colour_im.sun", 27, {2}), invalid, 24, "a colour map of type 2"},
        {edited("sunras/gray_map.ras", 30, {0, 1}), invalid, 28, "a colour map of 1 bytes"},
        {begin_of("sunras/gray_map.ras", 99), damaged, 99, "the colour map ends 701 bytes early"},
        {begin_of("sunras/colour_im.sun", 100), damaged, 100, "line 2 of 5 is not there as a whole"},
        {test_data("sunras/run_length.ras"), unsupported, nowhere, "byte-encoded pixels (type 2)"},
        {begin_of("bmp/windows_24.bmp", 9), damaged, 9, "the file header ends 5 bytes early"},
        {begin_of("bmp/windows_24.bmp", 30), damaged, 30, "the information header ends 24 bytes early"},
        {edited("bmp/windows_24.bmp", 10, {50}), invalid, 10, "pixels at byte 50, within 54 bytes of headers"},
        {edited("bmp/windows_24.bmp", 11, {9}), damaged, 10, "pixels at byte 2358, behind the end"},
        {edited("bmp/windows_24.bmp", 18, {0}), invalid, 18, "0 x 5 pixels"},
        {edited("bmp/windows_24.bmp", 28, {3}), invalid, 28, "3 bits a pixel"},
        {edited("bmp/os2_24.bmp", 24, {3}), invalid, 24, "3 bits a pixel"},
        {edited("bmp/windows_24.bmp", 30, {4}), invalid, 30, "a coding 4"},
        {edited("bmp/windows_24.bmp", 30, {3}), invalid, 28, "fields of 24 bits"},
        {edited("bmp/v5_fields_32.bmp", 54, {0xFF}), invalid, 54, "fields 00ff00ff 0000ff00 000000ff"},
        {begin_of("bmp/windows_4.bmp", 100), damaged, 100, "the colour table ends 18 bytes early"},
        {begin_of("bmp/rle8.bmp", 1100), damaged, nowhere, "the codes end in stored line 2 of 5"},
        {edited("bmp/windows_24.bmp", 30, {1}), unsupported, nowhere, "run-length coding of 3 x 8 bits"},
        {edited("internal/gray.nuv", 42, {0xFF, 0xFF}), unsupported, nowhere, "the coding unknown"},
        {edited("internal/gray.nuv", 33, {1, 0, 1, 0, 0, 0, 0, 0, 0, 1, 0x42}), damaged, nowhere, "the run data ends within a number"},
        {begin_of("internal/gray.nuv", 20), damaged, 20, "the header ends 36 bytes early"},
        {edited("internal/gray.nuv", 5, {2}), unsupported, 4, "the version 00020000"},
        {edited("internal/gray.nuv", 15, {0}), invalid, 8, "0 bytes of data"},
        {edited("internal/gray.nuv", 19, {1}), unsupported, 16, "a side of 2^32 pixels or more"},
        {edited("internal/gray.nuv", 49, {9, 0, 1, 0, 0, 0, 2}), invalid, 48, "a palette of 2 entries, 1 x 9 bits"},
        {edited("internal/gray.nuv", 49, {8, 0, 1, 0, 0, 0, 99}), damaged, 121, "the palette ends 34 bytes early"},
        {edited("internal/gray.nuv", 23, {0}), invalid, nowhere, "0 x 5 pixels, 1 x 8 bits, in a color of 1 channels"},
        {begin_of("internal/gray.nuv", 80), damaged, 69, "line 2 of 5 is not there as a whole"},
        {edited("png/gray.png", 4, {0}), damaged, 8, "PNG file corrupted by ASCII conversion"},
        {edited("png/gray.png", 24, {3}), damaged, 33, "IHDR: CRC error"},
        {begin_of("png/gray.png", 60), damaged, 60, "it ends early"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.found);
        NUV_TestChain chain;
        const NUV_TestStored image(chain.manager(), c.stored);
        chain.last(NUV_ReadRasterEx(chain.manager()).engine(image.storage(), 0));
        if (chain.last())
            static_cast<void>(chain.run_bytes());
        EXPECT_EQ(chain.manager().diagnosis().cause, c.cause);
        EXPECT_EQ(chain.manager().diagnosis().byte,
                  c.byte < 0 ? c.byte : c.byte + NUV_TestStored::start);
        EXPECT_STREQ(chain.manager().diagnosis().text, c.found);
    }
}

// Its last entry becomes the pointer to a directory that sets an attribute, or to one that sets
// none.
TEST(ReadRaster, TellsAnExifTIFFFileByWhatItsDirectoryHas)
{
    constexpr std::size_t last_entry = 0x176;
    for (const char* wanted : {"tiff", "exif_tiff"}) {
        Bytes file = test_data("tiff/rgb.tif");
        const auto end = static_cast<std::uint8_t>(file.size() - 256);
        const Bytes pointer = {0x69, 0x87, 4, 0, 1, 0, 0, 0, end, 1, 0, 0};
        std::ranges::copy(pointer, file.begin() + last_entry);
        const auto tag =
            static_cast<std::uint8_t>(*wanted == 'e' ? 0xA0 : 0xB0); // or a private one
        file.insert(file.end(), {1, 0, 2, tag, 4, 0, 1, 0, 0, 0, 8, 0, 0, 0, 0, 0, 0, 0});
        NUV_TestChain chain;
        const NUV_TestStored image(chain.manager(), file, 0);
        const NUV_Held<NUV_FormatInfo> info(
            NUV_ReadRaster(chain.manager()).format_info(image.storage(), 0));
        EXPECT_STREQ(info ? info->format_name() : "none", wanted);
    }
}

TEST(DecodeToRaw, AppendsNothingBehindSamplesAndRefusesWhatItCannotDecode)
{
    expect_nothing_appended({.width = 3}, {appending<NUV_DecodeToRaw>()});
    const NUV_TestImage jpeg2000{.encode_type = NUV_EncodeType::jpeg2000};
    const NUV_TestImage unknown{.encode_type = NUV_EncodeType::unknown};
    const NUV_RefusalSource nothing([](NUV_TestChain&) {});
    const NUV_RefusalSource headless([](NUV_TestChain& chain) { chain.headless_source(); });
    constexpr auto engine = "NUV_DecodeToRaw::engine()";
    const auto decode = appending<NUV_DecodeToRaw>();
    expect_refusals({{"JPEG 2000", jpeg2000, decode, NUV_ERR_UNSUPPORTED, engine},
                     {"unknown", unknown, decode, NUV_ERR_UNSUPPORTED, engine},
                     {"nothing", nothing, decode, NUV_ERR_ARGUMENT, engine},
                     {"no image", headless, decode, NUV_ERR_ARGUMENT, engine}});
}

class CountingStorage final : public NUV_InputStorageDecorator {
public:
    using NUV_InputStorageDecorator::NUV_InputStorageDecorator;
    std::int32_t read(void* into, std::int32_t bytes) override
    {
        const std::int32_t got = NUV_InputStorageDecorator::read(into, bytes);
        count += static_cast<std::size_t>(got);
        return got;
    }
    std::size_t count = 0; // of bytes that were read
};

struct Outcome {                                     // of each operation
    std::vector<std::pair<Bytes, std::string>> ends; // what came, and what is said of it
    std::vector<std::size_t> reads;                  // bytes of samples
};

const NUV_Append line_losers[] = {
    [](NUV_TestChain& chain) {
        return chain.append<NUV_MirrorX>() && chain.append<NUV_Crop>(1U, 3U, 5U, 2U);
    },
    appending<NUV_ScaleNN>(4U, 2U), appending<NUV_ScaleShrinkLI>(5U, 2U, false)};

// Lines can be passed over where one reader alone looks at them.
Outcome run_line_losers(const Bytes& stored, bool passes)
{
    Outcome run;
    for (const NUV_Append& append : line_losers) {
        NUV_TestChain chain;
        const NUV_TestStored image(chain.manager(), stored, 0);
        auto storage = make_initiated<CountingStorage>(chain.manager(), image.storage());
        chain.last(NUV_ReadRasterEx(chain.manager()).engine(storage.get(), 0));
        storage->count = 0;
        if (chain.last() && !passes)
            chain.last(chain.last()->branch(2)[0]);
        if (chain.last() && !append(chain))
            chain.last(nullptr);
        const Bytes out = chain.run_bytes();
        const NUV_Diagnosis& why = chain.manager().diagnosis();
        run.ends.emplace_back(out, std::to_string(chain.status().code) + why.text + " at " +
                                       std::to_string(why.byte) + "," + std::to_string(why.line));
        run.reads.push_back(storage->count);
        storage.reset();
    }
    return run;
}

TEST(ReadRaster, ReadsNoLinesThatNobodyLooksAtAndEndsWhereItWouldHaveEnded)
{
    for (const char* name :
         {"pnm/colour.ppm", "pnm/bilevel.pbm", "pnm/gray_plain.pgm", "sunras/colour_im.sun",
          "sunras/many_colours.ras", "internal/colour_16.nuv", "internal/gray.nuv", "tiff/rgb.tif",
          "tiff/bilevel_reversed.tif", "tiff/gray_16_big_endian.tif", "bmp/windows_24.bmp"}) {
        const Bytes whole = test_data(name);
        for (std::size_t end = whole.size(); end > 8; end -= end + 3 > whole.size() ? 1 : 3) {
            SCOPED_TRACE(::testing::Message() << name << " up to " << end);
            const Bytes stored(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(end));
            const Outcome all = run_line_losers(stored, false);
            const Outcome some = run_line_losers(stored, true);
            ASSERT_EQ(some.ends, all.ends);
            const bool is_in_lines = name[0] != 'b' && !std::string_view(name).ends_with("n.pgm");
            if (end == whole.size() && is_in_lines) {
                EXPECT_EQ(some.reads[0] * 5, all.reads[0] * 2);
            }
        }
    }
    Bytes tall = test_data("bmp/windows_24.bmp");
    constexpr std::size_t line_bytes = 33000; // of 11000 pixels; three fit into a band
    tall[18] = 0xF8, tall[19] = 0x2A, tall[22] = 40;
    tall.resize(54 + 40 * line_bytes, 0x77);
    const Outcome some = run_line_losers(tall, true);
    EXPECT_EQ(some.ends, run_line_losers(tall, false).ends);
    EXPECT_EQ(some.reads[1], 2 * line_bytes);
}

} // namespace
} // namespace nuv
