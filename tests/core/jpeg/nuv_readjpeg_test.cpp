#include "core/jpeg/nuv_readjpeg.h"

#include "core/decodetoraw/nuv_decodetoraw.h"
#include "core/jfif/nuv_readjfif.h"
#include "core/jpeg/nuv_decodejpeg.h"
#include "core/jpegadobe/nuv_convertycck.h"
#include "core/jpegadobe/nuv_readjpegadobe.h"
#include "core/readraster/nuv_readraster.h"
#include "extension/readrasterex/nuv_readrasterex.h"
#include "tests/core/jpeg/nuv_jpegcraft.h"
#include "tests/core/jpeg/nuv_jpegreference.h"
#include "tests/support/nuv_readerharness.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_teststored.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <string>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;

// What comes out of a stored stream, and what the manager says afterwards.
struct Outcome {
    bool has_engine = false;
    const NUV_ColorType* color = nullptr;
    std::uint16_t bits = 0;
    std::uint16_t channels = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    Bytes bytes;
    std::string format; // that the probes of format_info find
    NUV_StatusCode code = NUV_STATUS_OK;
    std::string method;
    std::int32_t position = 0; // of the storage when reading was refused
};

using Reader = std::function<NUV_Engine*(NUV_Manager&, NUV_InputStorage*)>;

NUV_Engine* read_raster(NUV_Manager& manager, NUV_InputStorage* storage)
{
    return NUV_ReadRasterEx(manager).engine(storage, 0);
}

Outcome read(const Bytes& stored, const Reader& reader = read_raster,
             const NUV_Cpu& cpu = NUV_Cpu::current())
{
    Outcome outcome;
    {
        NUV_TestChain chain;
        const NUV_TestStored image(chain.manager(), stored);
        const NUV_Held<NUV_FormatInfo> info(
            NUV_ReadRasterEx(chain.manager()).format_info(image.storage(), 0));
        outcome.format = info ? info->format_name() : "";
    }
    NUV_TestChain chain(cpu);
    const NUV_TestStored image(chain.manager(), stored);
    NUV_Engine* engine = reader(chain.manager(), image.storage());
    outcome.has_engine = engine != nullptr;
    outcome.position = image.position();
    if (engine) {
        outcome.color = engine->header()->color_type();
        outcome.bits = engine->header()->bits();
        outcome.channels = engine->header()->channels();
        outcome.width = engine->header()->width();
        outcome.height = engine->header()->height();
        // Whoever shares the storage may move it.
        EXPECT_TRUE(image.storage()->to(3));
        chain.last(engine);
        outcome.bytes = chain.run_bytes();
    }
    outcome.code = chain.status().code;
    outcome.method = chain.status().method;
    return outcome;
}

Bytes fixture(const std::string& name)
{
    return test_data("jpeg/" + name);
}

struct Fixture {
    const char* file;
    const char* format;
    const NUV_ColorType* color;
};

const Fixture lossy_fixtures[] = {
    {"420.jpg", "jfif", NUV_ColorType::ycbcr},
    {"422_restarts.jpg", "jfif", NUV_ColorType::ycbcr},
    {"444.jpg", "jfif", NUV_ColorType::ycbcr},
    {"411.jpg", "jfif", NUV_ColorType::ycbcr},
    {"420_odd.jpg", "jfif", NUV_ColorType::ycbcr},
    {"progressive_restarts.jpg", "jfif", NUV_ColorType::ycbcr},
    {"progressive_intervals.jpg", "jfif", NUV_ColorType::ycbcr},
    {"three_scans.jpg", "jfif", NUV_ColorType::ycbcr},
    {"two_scans.jpg", "jfif", NUV_ColorType::ycbcr},
    {"gray.jpg", "jfif", NUV_ColorType::gray},
    {"adobe_rgb.jpg", "jpeg_adobe", NUV_ColorType::s_rgb},
};

TEST(ReadJPEG, GivesTheSamplesOfTheReferenceUnderTheColorOfTheFormat)
{
    for (const Fixture& stored : lossy_fixtures) {
        const auto expected = decode_by_reference(fixture(stored.file));
        ASSERT_TRUE(expected) << stored.file;
        for (const NUV_TestLevel& level : jpeg_levels()) {
            const Outcome outcome = read(fixture(stored.file), read_raster, level.cpu);
            ASSERT_TRUE(outcome.has_engine) << stored.file << ": " << outcome.method;
            EXPECT_EQ(outcome.format, stored.format) << stored.file;
            EXPECT_EQ(outcome.color, stored.color) << stored.file;
            EXPECT_EQ(outcome.bytes, expected->samples) << stored.file << level.name;
            EXPECT_EQ(outcome.code, NUV_STATUS_OK) << stored.file << ": " << outcome.method;
        }
    }
}

// Of the tools of dcmtk.
TEST(ReadLosslessJPEG, GivesTheSamplesThatWereCodedWithEveryPredictor)
{
    struct Case {
        std::string file;
        std::string judge;
        std::uint32_t precision;
        std::size_t samples = std::size_t{19} * 13;
        std::uint8_t kept = 0xFF; // bits of the low bytes
    };
    std::vector<Case> cases = {
        {"lossless_rgb", "lossless_rgb.ppm", 8, std::size_t{33} * 17 * 3},
        {"lossless_16_point_transform", "lossless_16.pgm", 16, std::size_t{19} * 13, 0xF8},
    };
    for (const std::uint32_t precision : {8U, 12U, 16U}) {
        const std::string base = "lossless_" + std::to_string(precision);
        for (const char* predictor : {"", "_2", "_3", "_4", "_5", "_6", "_7"})
            cases.push_back({base + predictor, base + ".pgm", precision});
    }
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        const Bytes stored = fixture(c.file + ".jpg");
        EXPECT_EQ(JPEGTestSegments(stored).payload(0xC3)[0], c.precision);
        const std::uint16_t bits = c.precision > 8 ? 16 : 8;
        Bytes expected = anymap_samples(("jpeg/" + c.judge).c_str(), c.samples * bits / 8, bits);
        for (std::size_t i = 0; i < expected.size(); i += 2)
            expected[i] &= c.kept;
        for (const NUV_TestLevel& level : jpeg_levels()) {
            const Outcome outcome = read(stored, read_raster, level.cpu);
            EXPECT_EQ(outcome.format, "jpeg");
            EXPECT_EQ(outcome.bits, bits);
            EXPECT_EQ(outcome.bytes, expected) << level.name;
            EXPECT_EQ(outcome.code, NUV_STATUS_OK) << outcome.method;
        }
    }
}

JPEGTestPicture small_picture(std::uint32_t channels)
{
    return busy_picture(21, 18, channels);
}

TEST(ReadJPEGAdobe, TurnsCMYKAndFoldsYCCK)
{
    const Bytes stored_cmyk =
        encode_by_reference(small_picture(4), {.key = 0x11111111, .adobe_transform = 0});
    const auto cmyk = decode_by_reference(stored_cmyk);
    const Outcome turned = read(stored_cmyk);
    ASSERT_TRUE(turned.has_engine) << turned.method;
    EXPECT_EQ(turned.color, NUV_ColorType::cmyk);
    ASSERT_EQ(turned.bytes.size(), cmyk->samples.size());
    for (std::size_t i = 0; i < turned.bytes.size(); ++i)
        ASSERT_EQ(turned.bytes[i], 255 - cmyk->samples[i]);

    // Half the chroma each way, as the usual writers do. The reference would turn YCCK itself, so
    // that its samples come from the same stream under transform 0.
    const JPEGReferenceSettings settings = {.key = 0x22111122, .adobe_transform = 0};
    const auto ycck = decode_by_reference(encode_by_reference(small_picture(4), settings));
    JPEGReferenceSettings transformed = settings;
    transformed.adobe_transform = 2;
    const Outcome folded = read(encode_by_reference(small_picture(4), transformed));
    ASSERT_TRUE(folded.has_engine) << folded.method;
    EXPECT_EQ(folded.color, NUV_ColorType::ycbcr);
    ASSERT_EQ(folded.bytes.size(), ycck->samples.size() / 4 * 3);
    for (std::size_t i = 0; i < ycck->samples.size() / 4; ++i) {
        const std::uint8_t* in = &ycck->samples[4 * i];
        ASSERT_EQ(folded.bytes[3 * i], std::max(in[3] - in[0], 0));
        ASSERT_EQ(folded.bytes[3 * i + 1], 255 - in[1]);
        ASSERT_EQ(folded.bytes[3 * i + 2], 255 - in[2]);
    }
    EXPECT_EQ(read(fixture("adobe_cmyk.jpg")).color, NUV_ColorType::cmyk);
}

// A stream with one application segment behind SOI.
Bytes with_segment(Bytes stream, int id, const std::string& payload)
{
    Bytes segment = {0xFF, static_cast<std::uint8_t>(id), 0,
                     static_cast<std::uint8_t>(payload.size() + 2)};
    segment.insert(segment.end(), payload.begin(), payload.end());
    stream.insert(stream.begin() + 2, segment.begin(), segment.end());
    return stream;
}

TEST(ReadJPEG, TellsTheFormatsApartByTheirSegments)
{
    const Bytes plain = encode_by_reference(small_picture(3), {});
    const Bytes four = encode_by_reference(small_picture(4), {.key = 0x11111111});
    const std::string jfif("JFIF\0\1\2\2\1\54\0\226\0\0", 14); // 300 x 150, per centimetre
    const std::string adobe("Adobe\0\144\0\0\0\0\1", 12);
    struct Case {
        Bytes stream;
        const char* format;
        const NUV_ColorType* color;
    };
    const Case cases[] = {
        {plain, "jpeg", NUV_ColorType::ycbcr},
        {four, "jpeg", NUV_ColorType::cmyk}, // and not turned
        {with_segment(plain, 0xE0, jfif.substr(0, 5)), "jfif", NUV_ColorType::ycbcr},
        {with_segment(plain, 0xE0, jfif.substr(0, 4)), "jpeg", NUV_ColorType::ycbcr},
        {with_segment(plain, 0xE1, jfif), "jpeg", NUV_ColorType::ycbcr},
        {with_segment(plain, 0xEE, adobe), "jpeg_adobe", NUV_ColorType::ycbcr},
        {with_segment(plain, 0xEE, adobe.substr(0, 11)), "jpeg", NUV_ColorType::ycbcr},
    };
    for (const Case& stored : cases) {
        const Outcome outcome = read(stored.stream);
        EXPECT_EQ(outcome.format, stored.format);
        EXPECT_EQ(outcome.color, stored.color);
        EXPECT_EQ(outcome.code, NUV_STATUS_OK) << outcome.method;
        EXPECT_EQ(outcome.bytes,
                  decode_by_reference(outcome.channels == 3 ? plain : four)->samples);
    }

    NUV_TestChain chain;
    const NUV_TestStored image(chain.manager(), with_segment(plain, 0xE0, jfif));
    NUV_JFIFInfo info(chain.manager());
    ASSERT_TRUE(info.load(image.storage()));
    EXPECT_EQ(info.resolution().x, 300);
    EXPECT_EQ(info.resolution().y, 150);
    EXPECT_EQ(info.resolution().unit, 1U);
}

TEST(JPEGInfo, TellsTheFrameAndTheSegments)
{
    const Bytes stream = with_segment(
        encode_by_reference(small_picture(3), {.key = 0x221111, .is_progressive = true}), 0xE1,
        std::string("G3FAX\0\1\2\3\4", 10));
    NUV_TestChain chain;
    const NUV_TestStored image(chain.manager(), stream);
    NUV_JPEGInfo info(chain.manager());
    EXPECT_EQ(info.sampling(), 0U);
    ASSERT_TRUE(info.load(image.storage()));
    EXPECT_EQ(static_cast<std::size_t>(image.position()), JPEGTestSegments(stream).scan_position);
    EXPECT_EQ(info.width(), 21U);
    EXPECT_EQ(info.height(), 18U);
    EXPECT_EQ(info.sampling(), 0x221111U);
    EXPECT_EQ(info.frame_marker(), 194U);
    EXPECT_TRUE(info.is_progressive());
    EXPECT_EQ(info.precision(), 8U);
    EXPECT_EQ(info.color_code(), 99999U);
    EXPECT_TRUE(info.is_g3fax());
    EXPECT_FALSE(info.is_exif());
    ASSERT_EQ(info.segment_count(), 1U);
    EXPECT_EQ(info.segment(0).marker, 225U);
    EXPECT_EQ(info.segment(0).payload.size(), 10U);
    EXPECT_EQ(info.segment(1).payload.size(), 0U);
}

struct Refusal {
    const char* name;
    Bytes stream;
    Reader reader;
    NUV_StatusCode code;
    const char* method;
};

Reader at_scale(std::int32_t scale)
{
    return [scale](NUV_Manager& manager, NUV_InputStorage* storage) {
        return NUV_ReadJPEG(manager).engine(storage, scale);
    };
}

std::vector<Refusal> refusals()
{
    constexpr auto engine = "NUV_DecodeJPEGEngine::initiate()";
    constexpr auto header = "NUV_JPEGInfoInternal::get_jpeginfo()";
    JPEGCraft jfif_12_bits;
    jfif_12_bits.segment(0xE0, {'J', 'F', 'I', 'F', 0}).frame(0xC1, 12, 8, 8, {17}).scan({1});
    JPEGCraft extended;
    extended.frame(0xC1, 8, 8, 8, {17}).scan({1});
    JPEGCraft no_tables;
    no_tables.frame(0xC0, 8, 8, 8, {17}).scan({1});
    JPEGCraft two;
    two.frame(0xC0, 8, 8, 8, {17, 17}).scan({1, 2});
    JPEGCraft no_width;
    no_width.frame(0xC0, 8, 0, 8, {17}).scan({1});
    const Bytes gray = encode_by_reference(small_picture(1), {});
    return {
        {"another format",
         {'P', '5', ' ', '1'},
         at_scale(256),
         NUV_ERR_FORMAT,
         "NUV_ReadJPEG::engine()"},
        {"JFIF without its segment", gray,
         [](NUV_Manager& m, NUV_InputStorage* s) { return NUV_ReadJFIF(m).engine(s, 256); },
         NUV_ERR_FORMAT, "NUV_ReadJFIF::engine()"},
        {"Adobe without its segment", gray,
         [](NUV_Manager& m, NUV_InputStorage* s) { return NUV_ReadJPEGAdobe(m).engine(s, 256); },
         NUV_ERR_FORMAT, "NUV_ReadJPEGAdobe::engine()"},
        {"JFIF of 12 bits", jfif_12_bits.stream(), read_raster, NUV_ERR_INVALID_DATA,
         "NUV_ReadJFIF::initiate()"},
        {"extended sequential", extended.stream(), read_raster, NUV_ERR_UNSUPPORTED,
         "NUV_JPEGInfoInternal::initiate()"},
        {"missing tables", no_tables.stream(), read_raster, NUV_ERR_INVALID_DATA,
         "NUV_JPEGInfoInternal::initiate()"},
        {"two components", two.stream(), read_raster, NUV_ERR_INVALID_DATA,
         "NUV_JPEGInfo::update()"},
        {"no width", no_width.stream(), read_raster, NUV_ERR_INVALID_DATA, "NUV_JPEGInfo::load()"},
        {"arithmetic coding", fixture("refused_arithmetic.jpg"), read_raster, NUV_ERR_UNSUPPORTED,
         header},
        {"quantisers of 16 bits", fixture("refused_wide_quantisers.jpg"), read_raster,
         NUV_ERR_INVALID_DATA, header},
        {"2 x 1 for all", fixture("refused_2x1_all.jpg"), read_raster, NUV_ERR_UNSUPPORTED, engine},
        {"3 x 1", fixture("refused_3x1.jpg"), read_raster, NUV_ERR_UNSUPPORTED, engine},
        {"CMYK, chroma by 2", fixture("refused_cmyk_2x2.jpg"), read_raster, NUV_ERR_UNSUPPORTED,
         engine},
        {"lossy, to the lossless reader", fixture("420.jpg"),
         [](NUV_Manager& m, NUV_InputStorage* s) { return NUV_ReadLosslessJPEG(m).engine(s); },
         NUV_ERR_UNSUPPORTED, "NUV_ReadLosslessJPEG::engine()"},
        {"scale 0", gray, at_scale(0), NUV_ERR_UNSUPPORTED, engine},
        {"scale 100", gray, at_scale(100), NUV_ERR_UNSUPPORTED, engine},
        {"a scale above 1", gray, at_scale(512), NUV_ERR_UNSUPPORTED, engine},
        {"progressive at half its size", fixture("progressive_restarts.jpg"), at_scale(128),
         NUV_ERR_UNSUPPORTED, engine},
        {"lossless at half its size", fixture("lossless_8.jpg"), at_scale(128), NUV_ERR_UNSUPPORTED,
         engine},
        {"several scans at half their size", fixture("two_scans.jpg"), at_scale(128),
         NUV_ERR_ARGUMENT, "NUV_JPEGInfoInternal::initiate()"},
        {"a header that ends", Bytes(gray.begin(), gray.begin() + 30), read_raster,
         NUV_ERR_BROKEN_DATA, header},
    };
}

TEST(ReadJPEG, RefusesWithTheStatusOfItsKind)
{
    for (const Refusal& refusal : refusals()) {
        const Outcome outcome = read(refusal.stream, refusal.reader);
        EXPECT_FALSE(outcome.has_engine) << refusal.name;
        EXPECT_EQ(outcome.code, refusal.code) << refusal.name << std::hex << outcome.code;
        EXPECT_EQ(outcome.method, refusal.method) << refusal.name;
    }
    NUV_TestChain chain;
    EXPECT_EQ(NUV_ReadJPEG(chain.manager()).engine(nullptr, nullptr, 256), nullptr);
    EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
    EXPECT_STREQ(chain.status().method, "NUV_ReadJPEG::engine()");
}

TEST(ReadJPEG, LeavesTheStorageWhereItStoodWhenAProbeRefuses)
{
    NUV_TestChain chain;
    const NUV_TestStored image(chain.manager(), encode_by_reference(small_picture(1), {}));
    NUV_JFIFInfo info(chain.manager());
    EXPECT_FALSE(info.load(image.storage()));
    EXPECT_EQ(image.position(), 0);
    EXPECT_EQ(chain.status().code, NUV_STATUS_OK);
}

TEST(ReadJPEG, ReducesTheSize)
{
    const Outcome outcome = read(fixture("420.jpg"), at_scale(64));
    ASSERT_TRUE(outcome.has_engine);
    EXPECT_EQ(outcome.width, 9U);
    EXPECT_EQ(outcome.height, 5U);
    EXPECT_EQ(outcome.bytes.size(), 9U * 5 * 3);
}

TEST(ReadJPEG, WarnsOfLinesThatAreMissingAndFailsOnNonsense)
{
    const Bytes whole = fixture("420.jpg");
    const Outcome cut = read({whole.begin(), whole.end() - 100});
    EXPECT_EQ(cut.code, NUV_WARN_BROKEN_DATA);
    EXPECT_EQ(cut.method, "NUV_DecodeJPEGEngine::execute()");
    EXPECT_EQ(cut.bytes.size(), 33U * 17 * 3);

    JPEGCraft nonsense;
    nonsense.quantisers().categories().symbols(0x10, {0}).frame(0xC0, 8, 8, 8, {17}).scan({1});
    const Outcome failed = read(nonsense.bits(31, 5).bits(0, 30).bits(0, 30).end());
    EXPECT_EQ(failed.code, NUV_ERR_BROKEN_DATA);
    EXPECT_EQ(failed.method, "NUV_JPEGInfoInternal::execute()");
    EXPECT_TRUE(failed.bytes.empty());
}

TEST(ConvertYCCKToYCbCr, RefusesOtherImages)
{
    for (const NUV_TestImage& image :
         {NUV_TestImage{.channels = 3}, NUV_TestImage{.channels = 4, .bits = 16},
          NUV_TestImage{.channels = 4, .data_type = NUV_DataType::s_integer}}) {
        NUV_TestChain chain;
        chain.blank_source(image);
        EXPECT_FALSE(chain.append<NUV_ConvertYCCKToYCbCr>());
        EXPECT_EQ(chain.status().code, NUV_ERR_UNSUPPORTED);
        EXPECT_STREQ(chain.status().method, "NUV_ConvertYCCKToYCbCrEngine::initiate()");
    }
}

TEST(ReadJPEG, LeavesNothingBehindWhenMemoryRunsOut)
{
    for (const char* name : {"three_scans.jpg", "adobe_cmyk.jpg", "lossless_12.jpg"}) {
        const Bytes stream = fixture(name);
        expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
            const NUV_TestStored image(chain.manager(), stream);
            if (!image.storage())
                return;
            chain.last(NUV_ReadRasterEx(chain.manager()).engine(image.storage(), 0));
            static_cast<void>(chain.run_bytes());
        });
    }
}

// Every prefix of every fixture: the header's status, or an image of full height with a warning.
// With a byte of its data changed a lossless one has its height, too.
TEST(ReadJPEG, SurvivesEveryPrefixAndEveryChangedByteOfEveryFixture)
{
    std::vector<std::string> names = {"lossless_8_4.jpg", "lossless_12_2.jpg", "lossless_16.jpg",
                                      "lossless_16_point_transform.jpg", "lossless_rgb.jpg"};
    for (const Fixture& stored : lossy_fixtures)
        names.emplace_back(stored.file);
    for (const std::string& name : names) {
        const Bytes whole = fixture(name);
        const std::size_t scan = JPEGTestSegments(whole).scan_position;
        const std::size_t full_size = read(whole).bytes.size();
        for (std::size_t at = 0; at < whole.size(); ++at) {
            const Outcome cut =
                read({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(at)});
            ASSERT_EQ(cut.has_engine, at >= scan) << name << " cut to " << at;
            ASSERT_EQ(cut.bytes.size(), at >= scan ? full_size : 0) << name << at;
            const bool is_clean = at + 4 > whole.size() && cut.code == NUV_STATUS_OK;
            ASSERT_TRUE(is_clean ||
                        cut.code == (at >= scan ? NUV_WARN_BROKEN_DATA : NUV_ERR_BROKEN_DATA))
                << name << " cut to " << at << ": " << std::hex << cut.code;

            Bytes changed = whole;
            changed[at] ^= static_cast<std::uint8_t>(1U << at % 8);
            const Outcome outcome = read(changed); // which looks for leaks
            if (at >= scan && name.starts_with("lossless")) {
                ASSERT_EQ(outcome.bytes.size(), full_size) << name << ' ' << at;
                ASSERT_TRUE(outcome.code == NUV_STATUS_OK || outcome.code == NUV_WARN_BROKEN_DATA);
            }
        }
    }
}

// A stream taken apart into its tables and the rest.
struct Abbreviated {
    Bytes tables = {0xFF, 0xD8};
    Bytes image = {0xFF, 0xD8};
};

Abbreviated abbreviate(const Bytes& stream)
{
    Abbreviated parts;
    const JPEGTestSegments segments(stream);
    for (const auto& segment : segments.segments) {
        const bool is_table = segment.id == 0xDB || segment.id == 0xC4;
        Bytes& part = is_table ? parts.tables : parts.image;
        part.insert(part.end(), stream.begin() + static_cast<std::ptrdiff_t>(segment.position) - 4,
                    stream.begin() +
                        static_cast<std::ptrdiff_t>(segment.position + segment.payload.size()));
    }
    parts.image.insert(parts.image.end(),
                       stream.begin() + static_cast<std::ptrdiff_t>(segments.scan_position),
                       stream.end());
    return parts;
}

const NUV_TestImage coded_image = {.width = 21,
                                   .height = 18,
                                   .channels = 3,
                                   .encode_type = NUV_EncodeType::jpeg,
                                   .color_type = NUV_ColorType::ycbcr};

TEST(DecodeJPEG, TakesTablesFromAStreamOfTheirOwn)
{
    const Bytes whole = encode_by_reference(small_picture(3), {.key = 0x211111});
    const Abbreviated parts = abbreviate(whole);
    Bytes with_end = parts.tables;
    with_end.insert(with_end.end(), {0xFF, 0xD9});
    for (const Bytes& tables : {parts.tables, with_end}) {
        NUV_TestChain chain;
        NUV_JPEGTableInfo info(chain.manager());
        {
            const NUV_TestStored stored(chain.manager(), tables);
            ASSERT_TRUE(info.load(stored.storage()));
        }
        const NUV_DecodeJPEGOption option(info, 0, 256);
        chain.source_bytes(coded_image, parts.image);
        ASSERT_TRUE(chain.append<NUV_DecodeJPEG>(&option)) << chain.status().method;
        EXPECT_EQ(chain.run_bytes(), decode_by_reference(whole)->samples);
        EXPECT_EQ(chain.status().code, NUV_STATUS_OK);
    }

    struct Case {
        Bytes tables;
        NUV_StatusCode code;
    };
    const Case cases[] = {
        {{'B', 'M', 0, 0}, NUV_ERR_BROKEN_DATA},
        {{0xFF, 0xD8}, NUV_ERR_BROKEN_DATA},
        {{parts.tables.begin(), parts.tables.end() - 1}, NUV_ERR_BROKEN_DATA},
        {{0xFF, 0xD8, 0xFF, 0xDB, 0, 2}, NUV_ERR_INVALID_DATA},
    };
    for (const Case& bad : cases) {
        NUV_TestChain chain;
        NUV_JPEGTableInfo info(chain.manager());
        const NUV_TestStored stored(chain.manager(), bad.tables);
        EXPECT_FALSE(info.load(stored.storage()));
        EXPECT_EQ(chain.status().code, bad.code);
        EXPECT_STREQ(chain.status().method, "NUV_JPEGTableInfoInternal::initiate()");
    }
}

TEST(DecodeToRaw, DecodesTheJPEGStreamOfAnEngine)
{
    const Bytes stream =
        encode_by_reference(small_picture(3), {.key = 0x221111, .is_progressive = true});
    NUV_TestChain chain;
    chain.source_bytes(coded_image, stream, 7);
    ASSERT_TRUE(chain.append<NUV_DecodeToRaw>());
    EXPECT_EQ(chain.run_bytes(), decode_by_reference(stream)->samples);

    NUV_TestChain raw;
    raw.blank_source({.width = 2, .height = 2});
    NUV_Engine* const before = raw.last();
    EXPECT_TRUE(raw.append<NUV_DecodeJPEG>());
    EXPECT_EQ(raw.last(), before);

    NUV_TestChain none;
    EXPECT_FALSE(none.append<NUV_DecodeJPEG>());
    EXPECT_EQ(none.status().code, NUV_ERR_ARGUMENT);
    EXPECT_STREQ(none.status().method, "NUV_DecodeJPEG::engine()");

    NUV_TestChain foreign;
    foreign.source_bytes(coded_image, {1, 2, 3, 4});
    EXPECT_FALSE(foreign.append<NUV_DecodeJPEG>());
    EXPECT_EQ(foreign.status().code, NUV_ERR_FORMAT);
}

// The colour that an info is asked for.
TEST(JPEGInfo, DeliversTheColorItIsAskedFor)
{
    const Bytes stream = encode_by_reference(small_picture(3), {});
    NUV_TestChain chain;
    const NUV_TestStored image(chain.manager(), stream);
    NUV_JPEGInfo info(chain.manager());
    ASSERT_TRUE(info.load(image.storage(), NUV_ColorType::s_rgb, nullptr, 0));
    EXPECT_EQ(info.color_type(), NUV_ColorType::s_rgb);
    EXPECT_EQ(info.color_code(), 1U);
    chain.last(NUV_ReadJPEG(chain.manager()).engine(image.storage(), &info, 256));
    const Bytes rgb = chain.run_bytes();
    ASSERT_EQ(rgb.size(), 21U * 18 * 3);
    EXPECT_NE(rgb, decode_by_reference(stream)->samples);
}

} // namespace
} // namespace nuv
