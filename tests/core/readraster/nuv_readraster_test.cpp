#include "core/readraster/nuv_readraster.h"

#include "core/decodetoraw/nuv_decodetoraw.h"
#include "extension/readrasterex/nuv_readrasterex.h"
#include "tests/core/jpeg/nuv_jpegcraft.h"
#include "tests/support/nuv_model_runs.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_testsamples.h"
#include "tests/support/nuv_teststored.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::string_view jfif("JFIF\0\1\2\0\0\1\0\1\0\0", 14);
constexpr std::string_view adobe("Adobe\0\144\0\0\0\0\0", 12); // colours as they are

// A stream with an application segment behind SOI.
Bytes with_segment(Bytes stream, std::uint8_t id, std::string_view payload)
{
    Bytes segment = {0xFF, id, 0, static_cast<std::uint8_t>(payload.size() + 2)};
    segment.insert(segment.end(), payload.begin(), payload.end());
    stream.insert(stream.begin() + 2, segment.begin(), segment.end());
    return stream;
}

Bytes with_jfif(const Bytes& stream)
{
    return with_segment(stream, 0xE0, jfif);
}

Bytes with_adobe(const Bytes& stream)
{
    return with_segment(stream, 0xEE, adobe);
}

// 8 x 8 pixels of 3 channels that are all 128.
constexpr std::size_t flat_bytes = std::size_t{8} * 8 * 3;

Bytes flat_stream()
{
    JPEGCraft craft;
    craft.frame(0xC0, 8, 8, 8, {0x11, 0x11, 0x11}).quantisers().categories().symbols(0x10, {0});
    craft.scan({1, 2, 3}).bits(0, 24); // of each block the difference 0, and its end
    return craft.end();
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

// The same searches through the plain reader and the extended one.
template <class Reader>
class RasterSearch : public ::testing::Test {};

using Readers = ::testing::Types<NUV_ReadRaster, NUV_ReadRasterEx>;
TYPED_TEST_SUITE(RasterSearch, Readers);

TYPED_TEST(RasterSearch, TellsWhyNobodyTakesTheDataAndLeavesTheStorageWhereItStood)
{
    constexpr auto by_first_probe = "NUV_SunrasInfo::load()";
    constexpr auto by_last_probe = "NUV_PNMInfo::get_value()";
    constexpr auto by_engine_search = "NUV_ReadRaster::engine()";
    constexpr auto by_info_search = "NUV_ReadRaster::format_info()";
    struct Case {
        const char* what;
        Bytes stored;
        std::uint32_t page;
        NUV_StatusCode code;
        const char* engine_method;
        const char* info_method;
    };
    const Case cases[] = {
        {"nothing", {}, 0, NUV_ERR_BROKEN_DATA, by_first_probe, by_first_probe},
        {"3 bytes", {1, 2, 3}, 0, NUV_ERR_BROKEN_DATA, by_first_probe, by_first_probe},
        {"no signature", Bytes(99, 1), 0, NUV_ERR_UNSUPPORTED, by_engine_search, by_info_search},
        {"nonsense behind a signature", bytes_of("P5 0 1 255\n"), 0, NUV_ERR_INVALID_DATA,
         by_last_probe, by_last_probe},
        {"page 1 of one", anymap(), 1, NUV_ERR_UNSUPPORTED, by_engine_search, by_info_search},
        {"page 1 of nothing", {}, 1, NUV_ERR_UNSUPPORTED, by_engine_search, by_info_search},
        {"page 1 of a deep lossless stream", lossless_stream(12), 1, NUV_ERR_UNSUPPORTED,
         by_engine_search, by_info_search},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        const NUV_TestStored image(chain.manager(), c.stored);
        EXPECT_EQ(TypeParam(chain.manager()).engine(image.storage(), c.page), nullptr);
        EXPECT_EQ(chain.status().code, c.code);
        EXPECT_STREQ(chain.status().method, c.engine_method);
        EXPECT_EQ(image.position(), 0);

        chain.manager().reset();
        EXPECT_EQ(TypeParam(chain.manager()).format_info(image.storage(), c.page), nullptr);
        EXPECT_EQ(chain.status().code, c.code);
        EXPECT_STREQ(chain.status().method, c.info_method);
        EXPECT_EQ(image.position(), 0);
    }
}

TYPED_TEST(RasterSearch, LetsAStatusStandThatStoodBefore)
{
    struct Case {
        Bytes stored;
        NUV_StatusCode before;
        bool has_engine;
        const char* after;
    };
    const Case cases[] = {
        {anymap(), NUV_WARN_BROKEN_DATA, true, "first()"},
        {Bytes(9, 1), NUV_WARN_BROKEN_DATA, false, "NUV_ReadRaster::engine()"},
        {anymap(), NUV_ERR_IO, false, "first()"},
        {{}, NUV_ERR_IO, false, "first()"},
    };
    for (const Case& c : cases) {
        NUV_TestChain chain;
        const NUV_TestStored image(chain.manager(), c.stored);
        chain.manager().raise_short(c.before, "first()");
        const NUV_Held<NUV_FormatInfo> info(
            TypeParam(chain.manager()).format_info(image.storage(), 0));
        EXPECT_EQ(info != nullptr, c.stored == anymap()) << "needs no clean status";
        EXPECT_STREQ(chain.status().method,
                     info || c.before == NUV_ERR_IO ? "first()" : "NUV_ReadRaster::format_info()");

        chain.manager().reset();
        chain.manager().raise_short(c.before, "first()");
        EXPECT_TRUE(image.storage()->to(NUV_TestStored::start));
        EXPECT_EQ(TypeParam(chain.manager()).engine(image.storage(), 0) != nullptr, c.has_engine);
        EXPECT_STREQ(chain.status().method, c.after);
    }
}

// The probes before the one that takes the anymap run out of memory, and their errors are gone:
// with one of them pending, no reader could be built.
TYPED_TEST(RasterSearch, ForgetsTheErrorOfARefusingProbeWhenALaterOneAccepts)
{
    std::size_t accepted = 0;
    bool is_through = false;
    for (std::size_t k = 0; !is_through; ++k) {
        SCOPED_TRACE(k);
        NUV_TestChain chain;
        const NUV_TestStored image(chain.manager(), anymap());
        NUV_FailingMemory& memory = chain.manager().memory();
        memory.fail_at(k);
        NUV_Held<NUV_FormatInfo> info(TypeParam(chain.manager()).format_info(image.storage(), 0));
        const NUV_StatusCode info_code = chain.status().code;
        EXPECT_EQ(info_code, info ? NUV_STATUS_OK : NUV_ERR_MEMORY);
        is_through = memory.allocations() <= k;
        info.reset();

        chain.manager().reset();
        EXPECT_TRUE(image.storage()->to(NUV_TestStored::start));
        memory.fail_at(k);
        chain.last(TypeParam(chain.manager()).engine(image.storage(), 0));
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
}

TEST(ReadRaster, IsRefusedWithoutAStorageUnderItsOwnName)
{
    constexpr auto plain_engine = "NUV_ReadRaster::engine()";
    constexpr auto plain_info = "NUV_ReadRaster::format_info()";
    constexpr auto extended = "NUV_ReadRasterEx::engine()"; // for both
    NUV_TestChain chain;
    const NUV_TestStored closed(chain.manager(), anymap());
    EXPECT_TRUE(closed.storage()->close());
    struct Case {
        NUV_InputStorage* storage;
        const char *plain_engine, *plain_info, *extended_engine, *extended_info;
    };
    const Case cases[] = {
        {nullptr, plain_engine, plain_info, extended, extended},
        {closed.storage(), plain_engine, plain_info, plain_engine, plain_info},
    };
    const auto expect_refusal = [&](const void* result, const char* method) {
        EXPECT_EQ(result, nullptr);
        EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
        EXPECT_STREQ(chain.status().method, method);
        chain.manager().reset();
    };
    NUV_ReadRaster plain(chain.manager());
    NUV_ReadRasterEx ex(chain.manager());
    for (const Case& c : cases) {
        expect_refusal(plain.engine(c.storage, 0), c.plain_engine);
        expect_refusal(plain.format_info(c.storage, 0), c.plain_info);
        expect_refusal(ex.engine(c.storage, 0), c.extended_engine);
        expect_refusal(ex.format_info(c.storage, 0), c.extended_info);
    }
}

TEST(ReadRaster, TakesTheFirstFormatThatFitsAndNoOtherWhenItsReaderFails)
{
    struct Case {
        const char* what;
        Bytes stored;
        const char* plain_format;
        const char* extended_format; // a lossless stream is "jpeg" whatever it carries
        const NUV_ColorType* color;  // of the plain reader's image, null when it refuses
        NUV_StatusCode code;
        const char* method;
    };
    const Bytes flat = flat_stream();
    const Bytes deep = lossless_stream(12);
    const Case cases[] = {
        {"plain", flat, "jpeg", "jpeg", NUV_ColorType::ycbcr, NUV_STATUS_OK, ""},
        {"JFIF", with_jfif(flat), "jfif", "jfif", NUV_ColorType::ycbcr, NUV_STATUS_OK, ""},
        {"Adobe behind JFIF", with_jfif(with_adobe(flat)), "jpeg_adobe", "jpeg_adobe",
         NUV_ColorType::s_rgb, NUV_STATUS_OK, ""},
        {"Adobe before JFIF", with_adobe(with_jfif(flat)), "jpeg_adobe", "jpeg_adobe",
         NUV_ColorType::s_rgb, NUV_STATUS_OK, ""},
        {"lossless JFIF", with_jfif(lossless_stream(8)), "jfif", "jpeg", NUV_ColorType::ycbcr,
         NUV_STATUS_OK, ""},
        {"lossless Adobe", with_adobe(lossless_stream(8)), "jpeg_adobe", "jpeg",
         NUV_ColorType::s_rgb, NUV_STATUS_OK, ""},
        {"16 bits", lossless_stream(16), "jpeg", "jpeg", NUV_ColorType::s_rgb, NUV_STATUS_OK, ""},
        {"12 bits", deep, "jpeg", "jpeg", nullptr, NUV_ERR_ARGUMENT, "NUV_ReadJPEG::engine()"},
        {"12 bits, JFIF", with_jfif(deep), "jfif", "jpeg", nullptr, NUV_ERR_INVALID_DATA,
         "NUV_ReadJFIF::initiate()"},
        {"12 bits, Adobe and JFIF", with_jfif(with_adobe(deep)), "jpeg_adobe", "jpeg", nullptr,
         NUV_ERR_INVALID_DATA, "NUV_ReadJPEGAdobe::engine()"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        const NUV_TestStored image(chain.manager(), c.stored);
        const auto format = [&](auto reader) -> std::string {
            EXPECT_TRUE(image.storage()->to(NUV_TestStored::start));
            const NUV_Held<NUV_FormatInfo> info(reader.format_info(image.storage(), 0));
            EXPECT_TRUE(!info || info->loaded());
            return info ? info->format_name() : "";
        };
        EXPECT_EQ(format(NUV_ReadRaster(chain.manager())), c.plain_format);
        EXPECT_EQ(format(NUV_ReadRasterEx(chain.manager())), c.extended_format);
        EXPECT_EQ(chain.status().code, NUV_STATUS_OK);

        EXPECT_TRUE(image.storage()->to(NUV_TestStored::start));
        chain.last(NUV_ReadRaster(chain.manager()).engine(image.storage(), 0));
        EXPECT_EQ(chain.last() ? chain.header().color_type() : nullptr, c.color);
        EXPECT_EQ(chain.status().code, c.code);
        EXPECT_STREQ(chain.status().method, c.method);
        if (!chain.last()) {
            EXPECT_EQ(image.position(), 0);
        }
        if (c.what == std::string_view("Adobe behind JFIF")) {
            EXPECT_EQ(chain.run_bytes(), Bytes(flat_bytes, 128));
        }
    }
}

TEST(ReadRasterEx, RescuesDeepLosslessStreamsWhateverTheyCarry)
{
    for (const std::uint32_t precision : {9U, 12U, 15U}) {
        const Bytes plain = lossless_stream(precision);
        for (const Bytes& stored : {plain, with_jfif(plain), with_jfif(with_adobe(plain))}) {
            NUV_TestChain chain;
            const NUV_TestStored image(chain.manager(), stored);
            chain.last(NUV_ReadRasterEx(chain.manager()).engine(image.storage(), 0));
            EXPECT_EQ(chain.status().code, NUV_STATUS_OK) << chain.status().method;
            ASSERT_TRUE(chain.last());
            EXPECT_EQ(chain.header().bits(), 16u);
            EXPECT_EQ(chain.run<std::uint16_t>(), lossless_picture(precision).samples);
        }
    }
}

TEST(ReadRasterEx, TellsTheFirstFailureOfWhatItCannotRescue)
{
    struct Case {
        const char* what;
        Bytes stored;
        NUV_StatusCode code;
        const char* method;
    };
    const Bytes lossy = JPEGCraft().frame(0xC1, 12, 8, 8, {0x11}).scan({1}).end();
    const Bytes shallow = lossless_stream(4);
    const Case cases[] = {
        {"12 bits, not lossless", lossy, NUV_ERR_ARGUMENT, "NUV_ReadJPEG::engine()"},
        {"the same as JFIF", with_jfif(lossy), NUV_ERR_INVALID_DATA, "NUV_ReadJFIF::initiate()"},
        {"lossless of 4 bits", shallow, NUV_ERR_UNSUPPORTED, "NUV_DecodeJPEGEngine::initiate()"},
        {"the same as Adobe", with_adobe(shallow), NUV_ERR_INVALID_DATA,
         "NUV_ReadJPEGAdobe::engine()"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        const NUV_TestStored image(chain.manager(), c.stored);
        EXPECT_EQ(NUV_ReadRasterEx(chain.manager()).engine(image.storage(), 0), nullptr);
        EXPECT_EQ(chain.status().code, c.code);
        EXPECT_STREQ(chain.status().method, c.method);
        EXPECT_EQ(image.position(), 0);
    }
}

TEST(ReadRasterEx, IsCleanAtEveryAllocation)
{
    for (const Bytes& stored : {with_adobe(lossless_stream(12)), with_jfif(flat_stream())}) {
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

TEST(DecodeToRaw, PutsADecoderOnlyBehindWhatIsCoded)
{
    NUV_TestChain raw;
    raw.source<std::uint8_t>({.width = 3}, {1, 2, 3});
    NUV_Engine* const source = raw.last();
    ASSERT_TRUE(raw.append<NUV_DecodeToRaw>());
    EXPECT_EQ(raw.last(), source);
    EXPECT_EQ(raw.live_objects_behind_source(), 0u);
    EXPECT_EQ(raw.run_bytes(), (Bytes{1, 2, 3}));

    Bytes runs;
    append_record(runs, 2, 9);
    append_record(runs, 0xFFFFFFFF, 0xFFFFFFFF);
    NUV_TestChain run_form;
    run_form.source_bytes(run_description(11, 1), runs);
    ASSERT_TRUE(run_form.append<NUV_DecodeToRaw>());
    EXPECT_TRUE(run_form.header().is_raw());
    EXPECT_EQ(run_form.run_bytes(), (Bytes{0x3F, 0xC0}));

    NUV_TestChain stream;
    stream.source_bytes({.width = 8,
                         .height = 8,
                         .channels = 3,
                         .encode_type = NUV_EncodeType::jpeg,
                         .color_type = NUV_ColorType::ycbcr},
                        with_jfif(flat_stream()), 5);
    ASSERT_TRUE(stream.append<NUV_DecodeToRaw>());
    EXPECT_TRUE(stream.header().is_raw());
    EXPECT_EQ(stream.run_bytes(), Bytes(flat_bytes, 128));
}

TEST(DecodeToRaw, RefusesWhatItCannotDecode)
{
    const auto expect_refusal = [](NUV_TestChain& chain, NUV_StatusCode code) {
        EXPECT_FALSE(chain.append<NUV_DecodeToRaw>());
        EXPECT_EQ(chain.status().code, code);
        EXPECT_STREQ(chain.status().method, "NUV_DecodeToRaw::engine()");
    };
    for (const NUV_EncodeType* encoding :
         {NUV_EncodeType::jpeg2000, NUV_EncodeType::base64, NUV_EncodeType::unknown}) {
        NUV_TestChain chain;
        chain.blank_source({.encode_type = encoding});
        expect_refusal(chain, NUV_ERR_UNSUPPORTED);
        EXPECT_EQ(chain.live_objects_behind_source(), 0u);
    }
    NUV_TestChain none;
    expect_refusal(none, NUV_ERR_ARGUMENT);

    NUV_TestChain headless;
    const NUV_Held<NUV_Engine> engine = make_object<NUV_HeadlessEngine>(headless.manager());
    headless.last(engine.get());
    expect_refusal(headless, NUV_ERR_ARGUMENT);
}

} // namespace
} // namespace nuv
