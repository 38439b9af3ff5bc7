#include "core/jpeg/nuv_readjpeg.h"

#include "core/colorspace/nuv_colorspace.h"
#include "core/jfif/nuv_readjfif.h"
#include "core/jpeg/nuv_decodejpeg.h"
#include "core/jpegadobe/nuv_convertycck.h"
#include "core/jpegadobe/nuv_readjpegadobe.h"
#include "extension/readrasterex/nuv_readrasterex.h"
#include "tests/core/jpeg/nuv_jpegcraft.h"
#include "tests/core/jpeg/nuv_jpegstreams.h"
#include "tests/support/nuv_readerharness.h"
#include "tests/support/nuv_refusals.h"

namespace nuv {
namespace {

// What comes out of a stored stream, and what the manager says afterwards.
struct Outcome {
    NUV_TestImage image = {.color_type = nullptr}; // without an engine
    Bytes bytes;
    NUV_StatusCode code = NUV_STATUS_OK;
    std::string method;
};

using Reader = std::function<NUV_Engine*(NUV_Manager&, NUV_InputStorage*)>;

NUV_Engine* read_raster(NUV_Manager& manager, NUV_InputStorage* storage)
{
    return NUV_ReadRasterEx(manager).engine(storage, 0);
}

Outcome read(const Bytes& stored, const Reader& reader = read_raster)
{
    Outcome outcome;
    NUV_TestChain chain;
    const NUV_TestStored storage(chain.manager(), stored);
    if (NUV_Engine* const engine = reader(chain.manager(), storage.storage())) {
        outcome.image = image_of(*engine->header());
        // Whoever shares the storage may move it.
        EXPECT_TRUE(storage.storage()->to(3));
        chain.last(engine);
        outcome.bytes = chain.run_bytes();
    }
    outcome.code = chain.status().code;
    outcome.method = chain.status().method;
    return outcome;
}

std::string format_of(const Bytes& stored)
{
    NUV_TestChain chain;
    const NUV_TestStored storage(chain.manager(), stored);
    const NUV_Held<NUV_FormatInfo> info(
        NUV_ReadRasterEx(chain.manager()).format_info(storage.storage(), 0));
    return info ? info->format_name() : "";
}

Bytes fixture(const std::string& name)
{
    return test_data("jpeg/" + name);
}

// clang-format off
constexpr const char* lossy_fixtures[] = {
    "420", "422_restarts", "444", "411", "420_odd", "progressive_restarts", "two_scans", "three_scans", "gray", "adobe_rgb",
    "progressive_intervals"};
// clang-format on

TEST(ReadJPEG, GivesTheSamplesOfTheReference)
{
    for (const std::string name : lossy_fixtures) {
        SCOPED_TRACE(name);
        const Bytes stored = fixture(name + ".jpg");
        EXPECT_EQ(format_of(stored), name == "adobe_rgb" ? "jpeg_adobe" : "jfif");
        const Outcome outcome = read(stored);
        EXPECT_EQ(outcome.image.color_type, name == "gray"        ? NUV_ColorType::gray
                                            : name == "adobe_rgb" ? NUV_ColorType::s_rgb
                                                                  : NUV_ColorType::ycbcr);
        EXPECT_EQ(outcome.bytes, decode_by_reference(stored)->samples);
        EXPECT_EQ(outcome.code, NUV_STATUS_OK) << outcome.method;
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
        EXPECT_EQ(format_of(stored), "jpeg");
        const Outcome outcome = read(stored);
        EXPECT_EQ(outcome.image.bits, bits);
        EXPECT_EQ(outcome.bytes, expected);
        EXPECT_EQ(outcome.code, NUV_STATUS_OK) << outcome.method;
    }
}

template <class Creator>
Reader at_scale(std::int32_t scale)
{
    return [scale](NUV_Manager& manager, NUV_InputStorage* storage) {
        return Creator(manager).engine(storage, scale);
    };
}

Bytes small_stream(std::uint32_t channels, const JPEGReferenceSettings& settings = {})
{
    return encode_by_reference(busy_picture(21, 18, channels), settings);
}

TEST(ReadJPEGAdobe, TurnsCMYKAndFoldsYCCK)
{
    const Bytes stored = small_stream(4, {.key = 0x11111111, .adobe_transform = 0});
    const Outcome turned = read(stored);
    EXPECT_EQ(turned.image.color_type, NUV_ColorType::cmyk);
    Bytes expected = decode_by_reference(stored)->samples;
    for (std::uint8_t& sample : expected)
        sample = static_cast<std::uint8_t>(255 - sample);
    EXPECT_EQ(turned.bytes, expected);
    EXPECT_EQ(read(fixture("adobe_cmyk.jpg")).image.color_type, NUV_ColorType::cmyk);

    // Half the chroma each way, as the usual writers do. The reference would turn YCCK itself, so
    // that its samples come from the same stream under transform 0.
    const auto ycck =
        decode_by_reference(small_stream(4, {.key = 0x22111122, .adobe_transform = 0}));
    const Outcome folded = read(small_stream(4, {.key = 0x22111122, .adobe_transform = 2}));
    EXPECT_EQ(folded.image.color_type, NUV_ColorType::ycbcr);
    expected.clear();
    for (std::size_t i = 0; i < ycck->samples.size(); i += 4) {
        const std::uint8_t* in = &ycck->samples[i];
        for (const int sample : {std::max(in[3] - in[0], 0), 255 - in[1], 255 - in[2]})
            expected.push_back(static_cast<std::uint8_t>(sample));
    }
    EXPECT_EQ(folded.bytes, expected);

    for (const NUV_TestImage& image :
         {NUV_TestImage{.channels = 3}, NUV_TestImage{.channels = 4, .bits = 16},
          NUV_TestImage{.channels = 4, .data_type = NUV_DataType::s_integer}})
        expect_refusals({{"no CMYK", image, appending<NUV_ConvertYCCKToYCbCr>(),
                          NUV_ERR_UNSUPPORTED, "NUV_ConvertYCCKToYCbCrEngine::initiate()"}});
}

TEST(ReadJPEG, TellsTheFormatsApartByTheirSegments)
{
    const Bytes plain = small_stream(3);
    const std::string jfif("JFIF\0\1\2\2\1\54\0\226\0\0", 14); // 300 x 150, per centimetre
    const std::string adobe("Adobe\0\144\0\0\0\0\1", 12);
    EXPECT_EQ(format_of(with_segment(plain, 0xE0, jfif.substr(0, 5))), "jfif");
    EXPECT_EQ(format_of(with_segment(plain, 0xE0, jfif.substr(0, 4))), "jpeg");
    EXPECT_EQ(format_of(with_segment(plain, 0xE1, jfif)), "jpeg");
    EXPECT_EQ(format_of(with_segment(plain, 0xEE, adobe)), "jpeg_adobe");
    EXPECT_EQ(format_of(with_segment(plain, 0xEE, adobe.substr(0, 11))), "jpeg");
    const Bytes four = small_stream(4, {.key = 0x11111111});
    EXPECT_EQ(read(four).bytes, decode_by_reference(four)->samples); // and not turned

    NUV_TestChain chain;
    const NUV_TestStored image(chain.manager(), with_segment(plain, 0xE0, jfif));
    NUV_JFIFInfo info(chain.manager());
    ASSERT_TRUE(info.load(image.storage()));
    EXPECT_EQ(info.resolution().x, 300);
    EXPECT_EQ(info.resolution().y, 150);
    EXPECT_EQ(info.resolution().unit, 1U);
    const NUV_TestStored other(chain.manager(), plain);
    EXPECT_FALSE(info.load(other.storage()));
    EXPECT_EQ(other.position(), 0);
    EXPECT_EQ(chain.status().code, NUV_STATUS_OK);
}

TEST(JPEGInfo, DeliversTheColorAndTheSizeItIsAskedFor)
{
    const Bytes stream = small_stream(3);
    NUV_TestChain chain;
    const NUV_TestStored image(chain.manager(), stream);
    NUV_JPEGInfo info(chain.manager());
    ASSERT_TRUE(info.load(image.storage(), NUV_ColorType::s_rgb, nullptr, 0));
    EXPECT_EQ(info.color_type(), NUV_ColorType::s_rgb);
    EXPECT_EQ(info.color_code(), 1U);
    chain.last(NUV_ReadJPEG(chain.manager()).engine(image.storage(), &info, 256));
    EXPECT_EQ(chain.run_bytes(), decode_stream(stream, whole, [](NUV_JPEGDecoder& decoder) {
                                     decoder.set_output_color(NUV_JPEGColor::s_rgb);
                                 }).picture.samples);

    const auto quarter = read(stream, at_scale<NUV_ReadJPEG>(64));
    EXPECT_EQ(quarter.image.width, 6U);
    EXPECT_EQ(quarter.image.height, 5U);
    EXPECT_EQ(quarter.bytes.size(), 6U * 5 * 3);
}

// A matrix behind the decoder takes planes, unless others read the same lines.
TEST(ReadJPEG, GivesTheSameColorsFromPlanesAsFromPixels)
{
    const auto to_rgb = [](NUV_Manager& manager, NUV_Engine* engine) {
        return NUV_ColorSpace(manager).engine(engine, NUV_ColorType::s_rgb);
    };
    for (const std::uint32_t key :
         {0x221111U, 0x211111U, 0x111111U, 0x121111U, 0x411111U, 0x222121U, 0x221212U}) {
        for (const std::uint32_t width : {1U, 2U, 150U, 257U}) {
            SCOPED_TRACE(std::to_string(key) + ", " + std::to_string(width));
            const Bytes stored = encode_by_reference(busy_picture(width, 18, 3), {.key = key});
            const auto read_rgb = [&](auto between) {
                return read(stored, [&](NUV_Manager& manager, NUV_InputStorage* storage) {
                    NUV_Engine* const decoder = NUV_ReadJPEG(manager).engine(storage, 256);
                    return to_rgb(manager, between(manager, decoder));
                });
            };
            const Bytes rgb = read_rgb([](auto&, auto* decoder) { return decoder; }).bytes;
            EXPECT_EQ(rgb.size(), std::size_t{width} * 18 * 3);
            EXPECT_EQ(rgb,
                      read_rgb([](auto&, auto* decoder) { return decoder->branch(1)[0]; }).bytes);
            EXPECT_EQ(rgb, read_rgb([&](auto& manager, auto* decoder) {
                               EXPECT_TRUE(to_rgb(manager, decoder));
                               return decoder->branch(1)[0];
                           }).bytes);
        }
    }
}

Bytes without_data(std::size_t frame, int precision, int width, const std::vector<int>& factors)
{
    JPEGCraft craft;
    return craft.frame(frame, precision, width, 8, factors)
        .scan(factors.size() == 2 ? std::vector<int>{1, 2} : std::vector<int>{1})
        .stream();
}

TEST(ReadJPEG, RefusesWithTheStatusOfItsKind)
{
    constexpr auto engine = "NUV_DecodeJPEGEngine::initiate()";
    constexpr auto header = "NUV_JPEGInfoInternal::get_jpeginfo()";
    constexpr auto internal = "NUV_JPEGInfoInternal::initiate()";
    constexpr auto line = "NUV_JPEGInfoInternal::execute()";
    constexpr auto unsupported = NUV_ERR_UNSUPPORTED;
    constexpr auto invalid = NUV_ERR_INVALID_DATA;
    constexpr auto format = NUV_ERR_FORMAT;
    const Bytes gray = small_stream(1);
    const Reader to_half = at_scale<NUV_ReadJPEG>(128);
    const auto as_lossless = [](NUV_Manager& manager, NUV_InputStorage* storage) {
        return NUV_ReadLosslessJPEG(manager).engine(storage);
    };
    const auto from_nothing = [](NUV_Manager& manager, NUV_InputStorage*) {
        return NUV_ReadJPEG(manager).engine(nullptr, nullptr, 256);
    };
    JPEGCraft nonsense;
    nonsense.quantisers().categories().symbols(0x10, {0}).frame(0xC0, 8, 8, 8, {17}).scan({1});
    struct Refusal {
        const char* what;
        NUV_StatusCode code;
        const char* method;
        Bytes stream;
        Reader reader = read_raster;
    };
    // clang-format off
    const Refusal refusals[] = {
        {"another format", format, "NUV_ReadJPEG::engine()", bytes_of("P5 1"), to_half},
        {"no JFIF", format, "NUV_ReadJFIF::engine()", gray, at_scale<NUV_ReadJFIF>(256)},
        {"no Adobe", format, "NUV_ReadJPEGAdobe::engine()", gray, at_scale<NUV_ReadJPEGAdobe>(256)},
        {"lossy, to the lossless reader", unsupported, "NUV_ReadLosslessJPEG::engine()", gray, as_lossless},
        {"extended sequential", unsupported, internal, without_data(0xC1, 8, 8, {17})},
        {"missing tables", invalid, internal, without_data(0xC0, 8, 8, {17})},
        {"two components", invalid, "NUV_JPEGInfo::update()", without_data(0xC0, 8, 8, {17, 17})},
        {"no width", invalid, "NUV_JPEGInfo::load()", without_data(0xC0, 8, 0, {17})},
        {"arithmetic coding", unsupported, header, fixture("refused_arithmetic.jpg")},
        {"wide quantisers", invalid, header, fixture("refused_wide_quantisers.jpg")},
        {"2 x 1 for all", unsupported, engine, fixture("refused_2x1_all.jpg")},
        {"3 x 1", unsupported, engine, fixture("refused_3x1.jpg")},
        {"CMYK, chroma by 2", unsupported, engine, fixture("refused_cmyk_2x2.jpg")},
        {"scale 0", unsupported, engine, gray, at_scale<NUV_ReadJPEG>(0)},
        {"scale 100", unsupported, engine, gray, at_scale<NUV_ReadJPEG>(100)},
        {"a scale above 1", unsupported, engine, gray, at_scale<NUV_ReadJPEG>(512)},
        {"half, progressive", unsupported, engine, fixture("progressive_restarts.jpg"), to_half},
        {"half, lossless", unsupported, engine, fixture("lossless_8.jpg"), to_half},
        {"half, two scans", NUV_ERR_ARGUMENT, internal, fixture("two_scans.jpg"), to_half},
        {"a header that ends", NUV_ERR_BROKEN_DATA, header, first_bytes(gray, 30)},
        {"no such code", NUV_ERR_BROKEN_DATA, line, nonsense.bits(31, 5).bits(0, 30).bits(0, 30).end()},
        {"nothing to read from", NUV_ERR_ARGUMENT, "NUV_ReadJPEG::engine()", gray, from_nothing},
    };
    // clang-format on
    for (const Refusal& refusal : refusals) {
        const Outcome outcome = read(refusal.stream, refusal.reader);
        EXPECT_EQ(outcome.image.color_type != nullptr, refusal.method == std::string(line))
            << refusal.what;
        EXPECT_TRUE(outcome.bytes.empty()) << refusal.what;
        EXPECT_EQ(outcome.code, refusal.code) << refusal.what;
        EXPECT_EQ(outcome.method, refusal.method) << refusal.what;
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

// The header's status, or an image of full height with a warning.
TEST(ReadJPEG, SurvivesEveryPrefixOfEveryFixture)
{
    std::vector<std::string> names = {"lossless_8_4", "lossless_12_2", "lossless_rgb",
                                      "lossless_16_point_transform"};
    names.insert(names.end(), std::begin(lossy_fixtures), std::end(lossy_fixtures));
    for (const std::string& name : names) {
        const Bytes stream = fixture(name + ".jpg");
        const std::size_t scan = JPEGTestSegments(stream).scan_position;
        const std::size_t full_size = read(stream).bytes.size();
        for (std::size_t at = 0; at < stream.size(); ++at) {
            SCOPED_TRACE(testing::Message() << name << " at " << at);
            const Outcome cut = read(first_bytes(stream, at));
            ASSERT_EQ(cut.image.color_type != nullptr, at >= scan);
            ASSERT_EQ(cut.bytes.size(), at >= scan ? full_size : 0);
            const bool is_clean = at + 4 > stream.size() && cut.code == NUV_STATUS_OK;
            ASSERT_TRUE(is_clean ||
                        cut.code == (at >= scan ? NUV_WARN_BROKEN_DATA : NUV_ERR_BROKEN_DATA));
        }
    }
}

TEST(DecodeJPEG, TakesTablesFromAStreamOfTheirOwn)
{
    const NUV_TestImage coded = {.width = 21,
                                 .height = 18,
                                 .channels = 3,
                                 .encode_type = NUV_EncodeType::jpeg,
                                 .color_type = NUV_ColorType::ycbcr};
    const Bytes stream = small_stream(3, {.key = 0x211111});
    const JPEGTestSegments segments(stream);
    const auto at = [&](std::size_t place) {
        return stream.begin() + static_cast<std::ptrdiff_t>(place);
    };
    Bytes tables = {0xFF, 0xD8};
    Bytes image = tables;
    for (const auto& segment : segments.segments) {
        Bytes& part = segment.id == 0xDB || segment.id == 0xC4 ? tables : image;
        part.insert(part.end(), at(segment.position - 4),
                    at(segment.position + segment.payload.size()));
    }
    image.insert(image.end(), at(segments.scan_position), stream.end());
    Bytes with_end = tables;
    with_end.insert(with_end.end(), {0xFF, 0xD9});
    struct Case {
        Bytes tables;
        NUV_StatusCode code = NUV_STATUS_OK;
    };
    // clang-format off
    const Case cases[] = {
        {tables},
        {with_end},
        {{'B', 'M', 0, 0}, NUV_ERR_BROKEN_DATA},
        {{0xFF, 0xD8}, NUV_ERR_BROKEN_DATA},
        {{tables.begin(), tables.end() - 1}, NUV_ERR_BROKEN_DATA},
        {{0xFF, 0xD8, 0xFF, 0xDB, 0, 2}, NUV_ERR_INVALID_DATA},
    };
    // clang-format on
    for (const Case& c : cases) {
        NUV_TestChain chain;
        NUV_JPEGTableInfo info(chain.manager());
        const NUV_TestStored stored(chain.manager(), c.tables);
        EXPECT_EQ(info.load(stored.storage()), c.code == NUV_STATUS_OK);
        EXPECT_EQ(chain.status().code, c.code);
        if (c.code != NUV_STATUS_OK) {
            EXPECT_STREQ(chain.status().method, "NUV_JPEGTableInfoInternal::initiate()");
            continue;
        }
        const NUV_DecodeJPEGOption option(info, 0, 256);
        chain.source_bytes(coded, image);
        ASSERT_TRUE(chain.append<NUV_DecodeJPEG>(&option)) << chain.status().method;
        EXPECT_EQ(chain.run_bytes(), decode_by_reference(stream)->samples);
    }

    expect_nothing_appended({.width = 2, .height = 2}, {appending<NUV_DecodeJPEG>()});
    expect_refusals({{"no chain", NUV_RefusalSource([](NUV_TestChain&) {}),
                      appending<NUV_DecodeJPEG>(), NUV_ERR_ARGUMENT, "NUV_DecodeJPEG::engine()"}});
    NUV_TestChain foreign;
    foreign.source_bytes(coded, {1, 2, 3, 4});
    EXPECT_FALSE(foreign.append<NUV_DecodeJPEG>());
    EXPECT_EQ(foreign.status().code, NUV_ERR_FORMAT);
}

} // namespace
} // namespace nuv
