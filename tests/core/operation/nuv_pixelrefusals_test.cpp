#include "core/channel/nuv_mergechannel.h"
#include "core/channel/nuv_reversechannel.h"
#include "core/channel/nuv_selectchannel.h"
#include "core/colorspace/nuv_colorspace.h"
#include "core/constantcolor/nuv_constantcolor.h"
#include "core/convert1to8xnbits/nuv_convert1to8xnbits.h"
#include "core/convertdatatype/nuv_convertdatatype.h"
#include "core/limitpixelvalue/nuv_limitpixelvalue.h"
#include "core/operation/nuv_not.h"
#include "core/shiftdata/nuv_shiftdata.h"
#include "tests/support/nuv_pixeltables.h"
#include "tests/support/nuv_refusals.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

namespace nuv {
namespace {

using Color = NUV_ColorType;
using Bytes = std::vector<std::uint8_t>;
const NUV_DataType* const u = NUV_DataType::u_integer;
const NUV_DataType* const s = NUV_DataType::s_integer;
const NUV_DataType* const real = NUV_DataType::floating;
const NUV_DataType* const odd = NUV_DataType::unknown;
const NUV_EncodeType* const runs = NUV_EncodeType::qd_rle;
constexpr auto argument = NUV_ERR_ARGUMENT;
constexpr auto unsupported = NUV_ERR_UNSUPPORTED;
constexpr std::uint16_t b8 = 8;
constexpr std::uint32_t huge = 0xFFFFFFFF;

[[nodiscard]] NUV_TestImage of_bits(std::uint16_t bits, std::uint16_t channels = 1,
                                    const NUV_DataType* type = u)
{
    return {.channels = channels, .bits = bits, .data_type = type};
}
[[nodiscard]] NUV_TestImage of_width(std::uint32_t width, std::uint16_t bits = 8)
{
    return {.width = width, .bits = bits};
}

const NUV_TestImage gray8{};
const NUV_TestImage bit{.bits = 1};
const NUV_TestImage four{.bits = 4};
const NUV_TestImage rgb{.channels = 3};
const NUV_TestImage rgb_bits{.channels = 3, .bits = 1};
const NUV_TestImage signed8{.data_type = s};
const NUV_TestImage palette{.palette = true};
const NUV_RefusalSource nothing([](NUV_TestChain&) {});

[[nodiscard]] NUV_Refusal bad(const char* what, const NUV_RefusalSource& source, NUV_Append append,
                              const char* text)
{
    return {what, source, std::move(append), NUV_ERR_ARGUMENT, text};
}
[[nodiscard]] NUV_Refusal unserved(const char* what, const NUV_RefusalSource& source,
                                   NUV_Append append, const char* text)
{
    return {what, source, std::move(append), NUV_ERR_UNSUPPORTED, text};
}

TEST(PixelRefusals, OfChannels)
{
    const auto select = [](std::uint32_t first, std::uint32_t count, const Color* color) {
        return appending<NUV_SelectChannel>(first, count, color);
    };
    constexpr auto one = "NUV_Select1Channel::engine()";
    constexpr auto one_byte = "NUV_Select1Channel8xNbits::engine()";
    constexpr auto one_bit = "NUV_Select1Channel1bit::engine()";
    constexpr auto many = "NUV_SelectNChannel::engine()";
    constexpr auto bytes = "NUV_SelectNChannel8xNbits::engine()";
    constexpr auto bits = "NUV_SelectNChannel1bit::engine()";
    constexpr auto reverse = "NUV_ReverseChannel8xNbitsEngine::initiate()";
    expect_refusals({
        bad("no channel", rgb, select(0, 0, Color::none), many),
        bad("one behind the last", rgb, select(3, 1, Color::none), one),
        bad("two from the last", rgb, select(2, 2, Color::none), many),
        bad("a sum that wraps", rgb, select(huge, 2, Color::none), many),
        bad("a count that wraps", rgb, select(2, huge, Color::none), many),
        bad("one of a colour of three", rgb, select(0, 1, Color::s_rgb), one),
        bad("two of gray", rgb, select(0, 2, Color::gray), many),
        bad("no colour", rgb, select(0, 1, nullptr), one),
        bad("no colour for two", rgb_bits, select(0, 2, nullptr), many),
        unserved("1 of 4 bits", of_bits(4, 3), select(0, 1, Color::none), one),
        unserved("of 4 bits", of_bits(4, 3), select(0, 2, Color::none), many),
        unserved("one of bits", rgb_bits, appending<NUV_Select1Channel8xNbits>(1U, Color::none),
                 one_byte),
        unserved("one of bytes", rgb, appending<NUV_Select1Channel1bit>(1U, Color::none), one_bit),
        unserved("some of bits", rgb_bits,
                 appending<NUV_SelectNChannel8xNbits>(1U, 2U, Color::none), bytes),
        unserved("some of bytes", rgb, appending<NUV_SelectNChannel1bit>(1U, 2U, Color::none),
                 bits),
        bad("one of nothing", nothing, appending<NUV_Select1Channel1bit>(1U, Color::none), one_bit),
        bad("some of nothing", nothing, appending<NUV_SelectNChannel8xNbits>(1U, 2U, Color::none),
            bytes),
        unserved("reversed 4 bits", of_bits(4, 3), appending<NUV_ReverseChannel>(),
                 "NUV_ReverseChannel::engine()"),
        unserved("reversed 32 bits", of_bits(32, 3), appending<NUV_ReverseChannel>(), reverse),
        unserved("reversed 24 bits", of_bits(24, 3, odd), appending<NUV_ReverseChannel>(), reverse),
        unserved("reversed odd bits", of_bits(1, 3, odd), appending<NUV_ReverseChannel>(),
                 "NUV_ReverseChannel1bitEngine::initiate()"),
        bad("reversed bytes of nothing", nothing, appending<NUV_ReverseChannel8xNbits>(),
            "NUV_ReverseChannel8xNbits::engine()"),
        bad("reversed bits of nothing", nothing, appending<NUV_ReverseChannel1bit>(),
            "NUV_ReverseChannel1bit::engine()"),
    });
}

template <class Creator>
[[nodiscard]] NUV_Refusal merged(const char* what, const NUV_TestImage& first,
                                 const NUV_TestImage& second, NUV_StatusCode code, const char* text,
                                 const Color* color = Color::none)
{
    const auto engines = std::make_shared<std::vector<NUV_Engine*>>();
    const auto build = [=](NUV_TestChain& chain) {
        for (const NUV_TestImage& image : {first, second}) {
            if (image.width > 0)
                chain.blank_source(image);
            engines->push_back(image.width > 0 ? chain.last() : nullptr);
        }
    };
    const auto append = [=](NUV_TestChain& chain) {
        chain.last(Creator(chain.manager()).engine(*engines, color));
        return chain.last() != nullptr;
    };
    return {what, NUV_RefusalSource(build), append, code, text};
}

TEST(PixelRefusals, OfMerging)
{
    constexpr auto base = "NUV_MergeChannelEngine::initiate()";
    constexpr auto bytes = "NUV_MergeChannel8xNbitsEngine::initiate()";
    constexpr auto bits = "NUV_MergeChannel1bitEngine::initiate()";
    const NUV_TestImage none{.width = 0};
    const NUV_TestImage wide{.width = 0x1FFFFFFF};
    const NUV_TestImage coded{.encode_type = NUV_EncodeType::flate};
    constexpr auto creator = "NUV_MergeChannel::engine()";
    using Any = NUV_MergeChannel;
    expect_refusals({
        merged<Any>("coded first", coded, gray8, unsupported, base),
        merged<Any>("coded second", gray8, coded, unsupported, base),
        merged<Any>("width", gray8, {.width = 3}, argument, base),
        merged<Any>("height", gray8, {.height = 3}, argument, base),
        merged<Any>("bits", gray8, of_bits(16), argument, base),
        merged<Any>("one bit", bit, gray8, argument, base),
        merged<Any>("type", gray8, signed8, argument, base),
        merged<Any>("colour for three", gray8, gray8, argument, base, Color::s_rgb),
        merged<Any>("channels", of_bits(8, 40000), of_bits(8, 25536), unsupported, base),
        merged<Any>("lines beyond 32 bits", wide, wide, unsupported, base),
        merged<Any>("4 bits", four, four, unsupported, bytes),
        merged<Any>("32 bits", of_bits(32), of_bits(32), unsupported, bytes),
        merged<Any>("no colour", gray8, gray8, argument, creator, nullptr),
        merged<Any>("one missing", gray8, none, argument, creator),
        merged<NUV_MergeChannel8xNbits>("byte missing", gray8, none, argument,
                                        "NUV_MergeChannel8xNbits::engine()"),
        merged<NUV_MergeChannel1bit>("bit missing", bit, none, argument,
                                     "NUV_MergeChannel1bit::engine()"),
        merged<NUV_MergeChannel1bit>("bits of bytes", gray8, gray8, unsupported, bits),
    });
    NUV_TestChain chain;
    EXPECT_FALSE(NUV_MergeChannel(chain.manager()).engine({}, Color::none));
    EXPECT_STREQ(chain.status().method, "NUV_MergeChannel::engine()");
}

TEST(PixelRefusals, OfColors)
{
    constexpr auto text = "NUV_ColorSpace::engine()";
    const auto to = [](const Color* color) { return appending<NUV_ColorSpace>(color); };
    const auto image = [](const Color* color, std::uint16_t bits) {
        return NUV_TestImage{.channels = static_cast<std::uint16_t>(color->channels()),
                             .bits = bits,
                             .color_type = color};
    };
    const Color* gray = Color::gray;
    expect_refusals({
        bad("no colour", image(gray, 8), to(nullptr), text),
        unserved("from none", gray8, to(gray), text),
        unserved("from unknown", NUV_TestImage{.color_type = Color::unknown}, to(gray), text),
        unserved("to none", image(gray, 8), to(Color::none), text),
        unserved("to unknown", image(gray, 8), to(Color::unknown), text),
        unserved("four bits", image(gray, 4), to(Color::lstar), text),
        unserved("32 bits", image(gray, 32), to(Color::lstar), text),
        unserved("bilevel to three", image(gray, 1), to(Color::s_rgb), text),
        unserved("bilevel of three", image(Color::s_rgb, 1), to(gray), text),
        unserved("signed", NUV_TestImage{.data_type = s, .color_type = gray}, to(Color::s_rgb),
                 text),
        unserved("runs", NUV_TestImage{.bits = 1, .encode_type = runs, .color_type = gray},
                 to(Color::gray_reverse), text),
        unserved("palette", palette, to(gray), text),
    });
}

TEST(PixelRefusals, OfConversions)
{
    constexpr auto router = "NUV_ConvertDataType::engine()";
    constexpr auto wide = "NUV_ConvertDataType8xNbits::engine()";
    constexpr auto wide_engine = "NUV_ConvertDataType8xNbitsEngine::initiate()";
    constexpr auto from = "NUV_ConvertDataTypeFrom1bit::engine()";
    constexpr auto from_engine = "NUV_ConvertDataTypeFrom1bitEngine::initiate()";
    constexpr auto to = "NUV_ConvertDataTypeTo1bit::engine()";
    constexpr auto bits = "NUV_ConvertDataType1bit::engine()";
    const auto any = [](const NUV_DataType* type, std::uint16_t to_bits, double slope) {
        return appending<NUV_ConvertDataType>(type, to_bits, slope, 0.0);
    };
    const auto by_wide = [](std::uint16_t to_bits) {
        return appending<NUV_ConvertDataType8xNbits>(u, to_bits, 1.0, 1.0);
    };
    const auto by_from = [](std::uint16_t to_bits) {
        return appending<NUV_ConvertDataTypeFrom1bit>(u, to_bits, 1.0, 1.0);
    };
    const auto by_to = appending<NUV_ConvertDataTypeTo1bit>(1.0, 1.0);
    const auto by_bits = appending<NUV_ConvertDataType1bit>(1.0, 1.0);
    const NUV_TestImage odd8{.data_type = odd};
    expect_refusals({
        unserved("to 12 bits", gray8, any(u, 12, 2), router),
        unserved("to 64 bits", gray8, any(u, 64, 2), router),
        unserved("to 0 bits", gray8, any(u, 0, 2), router),
        unserved("to 4 bits", four, any(u, 4, 2), router),
        unserved("to a signed bit", gray8, any(s, 1, 2), router),
        unserved("to short reals", gray8, any(real, 16, 2), router),
        unserved("to no type", gray8, any(odd, 8, 2), router),
        unserved("from no type, which null stands for", odd8, any(nullptr, 8, 2), router),
        unserved("from no type", odd8, any(u, 8, 3), router),
        unserved("palette", palette, any(u, 16, 2), router),
        unserved("large palette", NUV_TestImage{.width = 300, .palette = true}, any(u, 16, 2),
                 router),
        unserved("from four bits", four, any(u, 8, 3), router),
        unserved("from four bits by a shift", four, any(u, 8, 2), router),
        unserved("from four bits to one", four, any(u, 1, 3), router),
        unserved("too long a line", of_width(0x10000000), any(real, 64, 3),
                 "NUV_Lut8xNbitsEngine::initiate()"),
        unserved("too long a line of bits", of_width(0x10000000, 1), any(real, 64, 3), from_engine),
        unserved("too long a line of 32 bits", of_width(0x5000000, 32), any(real, 64, 3),
                 wide_engine),
        bad("nothing to wide", nothing, by_wide(8), wide),
        bad("nothing from bits", nothing, by_from(8), from),
        bad("nothing to bits", nothing, by_to, to),
        bad("no bits", nothing, by_bits, bits),
        unserved("wide to 12", gray8, by_wide(12), wide),
        unserved("wide of bits", bit, by_wide(8), wide),
        unserved("wide of a palette", palette, by_wide(8), wide_engine),
        unserved("from bits of bytes", gray8, by_from(8), from_engine),
        unserved("from bits to bits", bit, by_from(1), from),
        unserved("to bits of bits", bit, by_to, to),
        unserved("to bits of a palette", palette, by_to,
                 "NUV_ConvertDataTypeTo1bitEngine::initiate()"),
        unserved("bits of bytes", gray8, by_bits, bits),
    });
}

TEST(PixelRefusals, OfShiftsLimitsAndBits)
{
    const auto nl = [](const NUV_DataType* type, std::uint16_t bits, int shift) {
        return appending<NUV_ShiftData>(type, bits, shift, false);
    };
    constexpr auto creator = "NUV_ShiftDataNL::engine()";
    constexpr auto engine = "NUV_ShiftDataNLEngine::initiate()";
    constexpr auto limit = "NUV_LimitPixelValueEngine::initiate()";
    const auto limiting = [](std::int64_t most, std::int64_t least) {
        return appending<NUV_LimitPixelValue>(most, least);
    };
    constexpr auto expand = "NUV_Convert1To8xNBits::engine()";
    constexpr auto expand_engine = "NUV_Convert1To8xNBitsEngine::initiate()";
    const auto expanding = [](const NUV_DataType* type, std::uint16_t bits, int one, int zero) {
        return appending<NUV_Convert1To8xNBits>(type, bits, one, zero);
    };
    expect_refusals({
        bad("32 to the left", gray8, nl(u, 8, 32), creator),
        bad("32 to the right", gray8, nl(u, 8, -32), creator),
        bad("no type", gray8, nl(nullptr, 8, 1), creator),
        unserved("to bits", gray8, nl(u, 1, 1), creator),
        unserved("from bits", bit, nl(u, 8, 1), creator),
        unserved("to reals", gray8, nl(real, 32, 0), creator),
        unserved("palette", palette, nl(u, 8, 1), engine),
        unserved("a line too long", of_width(0x10000000), nl(u, 32, 1), engine),
        bad("limited", gray8, appending<NUV_ShiftData>(u, b8, 32, true),
            "NUV_ShiftDataWL::engine()"),
        unserved("limited palette", palette, appending<NUV_ShiftData>(u, b8, 1, true),
                 "NUV_ShiftDataWLEngine::initiate()"),
        bad("ends swapped", gray8, limiting(4, 5), limit),
        bad("maximum beyond the sample", gray8, limiting(256, 0), limit),
        bad("minimum beyond the sample", gray8, limiting(4, -1), limit),
        bad("beyond all samples", gray8,
            appending<NUV_LimitPixelValue>(~std::uint64_t{0}, std::uint64_t{0}), limit),
        unserved("limits of a palette", palette, limiting(9, 0), limit),
        unserved("limits of bits", bit, limiting(1, 0), "NUV_LimitPixelValue::engine()"),
        unserved("limits of reals", of_bits(32, 1, real), limiting(1, 0),
                 "NUV_LimitPixelValue::engine()"),
        bad("one too large", bit, expanding(u, 8, 256, 0), expand_engine),
        bad("zero too small", bit, expanding(u, 16, 1, -1), expand_engine),
        bad("bits to no type", bit, expanding(nullptr, 8, 1, 0), expand),
        unserved("bits to 32", bit, expanding(u, 32, 1, 0), expand),
        unserved("bits to bits", bit, expanding(u, 1, 1, 0), expand),
        unserved("bits to reals", bit, expanding(real, 32, 1, 0), expand),
        unserved("bytes as bits", gray8, expanding(u, 8, 1, 0), expand_engine),
        unserved("bits of a palette", NUV_TestImage{.bits = 1, .palette = true},
                 expanding(u, 8, 1, 0), expand_engine),
        unserved("a line of bits too long", of_width(0x20000000, 1), expanding(u, 16, 1, 0),
                 expand_engine),
        unserved("runs of two channels",
                 NUV_TestImage{.channels = 2, .bits = 1, .encode_type = runs}, appending<NUV_Not>(),
                 "NUV_NotQDRLEEngine::initiate()"),
        unserved("runs too wide",
                 NUV_TestImage{.width = 0x0FFFFFFF, .bits = 1, .encode_type = runs},
                 appending<NUV_Not>(), "NUV_NotQDRLEEngine::initiate()"),
        bad("runs of nothing", nothing, appending<NUV_NotQDRLE>(), "NUV_NotQDRLE::engine()"),
    });
}

TEST(PixelRefusals, OfConstants)
{
    constexpr auto creator = "NUV_ConstantColor::engine()";
    constexpr auto bytes = "NUV_ConstantColorRaw8xNBitsEngine::initiate()";
    constexpr auto bits = "NUV_ConstantColorRaw1Engine::initiate()";
    // The header that stands in front is taken for another image.
    const auto fill = [](std::vector<double> color) -> NUV_Append {
        return [=](NUV_TestChain& chain) {
            return NUV_ConstantColor(chain.manager())
                       .engine(chain.last() ? &chain.header() : nullptr, color) != nullptr;
        };
    };
    const double nan = std::numeric_limits<double>::quiet_NaN();
    expect_refusals({
        bad("no header", nothing, fill({}), creator),
        bad("too few values", rgb, fill({1, 2}), bytes),
        bad("value beyond the sample", gray8, fill({256}), bytes),
        bad("value below the sample", gray8, fill({-1}), bytes),
        bad("half a value", gray8, fill({0.5}), bytes),
        bad("no number", gray8, fill({nan}), bytes),
        bad("no bit", bit, fill({2}), bits),
        bad("too many bits", bit, fill({1, 1}), bits),
        unserved("4 bits", four, fill({1}), "NUV_ConstantColorRaw::engine()"),
        unserved("coded", NUV_TestImage{.encode_type = runs}, fill({1}), creator),
    });
}

TEST(PixelRefusals, OfTables)
{
    constexpr auto engine = "NUV_Lut8xNbitsEngine::initiate()";
    // One that stands otherwise than its bytes say, where `bits` differ.
    const auto table = [](std::size_t bytes, std::uint16_t channels, std::uint16_t bits,
                          const Color* target) -> NUV_Append {
        return [=](NUV_TestChain& chain) {
            const auto made = make_table(chain.manager(), 8, channels, u, Bytes(bytes));
            if (bits == 64)
                made->channels = 1; // so that the sizes agree
            made->bits = bits;
            return chain.append<NUV_Lut>(made.get(), target);
        };
    };
    const auto of_type = []<class Creator>() -> NUV_Append {
        return [](NUV_TestChain& chain) {
            const auto made = make_table(chain.manager(), 8, 1, u, Bytes(256));
            return chain.append<Creator>(made.get());
        };
    };
    const NUV_LutData* none = nullptr;
    const auto empty = [](NUV_TestChain& chain) {
        const auto made = make_object<NUV_LutData>(chain.manager());
        return chain.append<NUV_Lut>(made.get());
    };
    const auto expand = [](std::size_t bytes, std::uint16_t bits) -> NUV_Append {
        return [=](NUV_TestChain& chain) {
            const Bytes memory(bytes);
            const auto* header = chain.last() ? &chain.header() : nullptr;
            return bool{
                expand_lut(chain.manager(), header, bytes > 0 ? memory.data() : nullptr, 1, bits)};
        };
    };
    constexpr auto unsigned_engine = "NUV_LutU8xNbitsEngine::initiate()";
    constexpr auto signed_engine = "NUV_LutS8xNbitsEngine::initiate()";
    constexpr auto lut = "NUV_Lut::engine()";
    expect_refusals({
        bad("an entry too few", gray8, table(255, 1, 8, nullptr), engine),
        bad("twice the entries", gray8, table(512, 1, 8, nullptr), engine),
        bad("256 for 16 bits", of_bits(16), table(256, 1, 8, nullptr), engine),
        bad("two tables for three", rgb, table(512, 2, 8, nullptr), engine),
        bad("bits changed behind", gray8, table(256, 1, 16, nullptr), engine),
        bad("integers of 64 bits", gray8, table(2048, 8, 64, nullptr), engine),
        bad("entries of 12 bits", gray8, table(256, 1, 12, nullptr), engine),
        bad("a colour of three", gray8, table(256, 1, 8, Color::s_rgb), engine),
        unserved("bilevel", bit, table(256, 1, 8, nullptr), engine),
        unserved("palette", palette, table(256, 1, 8, nullptr), engine),
        unserved("no type", of_bits(8, 1, odd), table(256, 1, 8, nullptr), signed_engine),
        unserved("signed", signed8, of_type.operator()<NUV_LutU8xNbits>(), unsigned_engine),
        unserved("unsigned", gray8, of_type.operator()<NUV_LutS8xNbits>(), signed_engine),
        bad("no table", gray8, appending<NUV_Lut>(none), engine),
        bad("no entries", gray8, empty, engine),
        bad("unsigned nothing", nothing, appending<NUV_LutU8xNbits>(none),
            "NUV_LutU8xNbits::engine()"),
        bad("signed nothing", nothing, appending<NUV_LutS8xNbits>(none),
            "NUV_LutS8xNbits::engine()"),
        unserved("too long a line", of_width(0x8000000), appending_table(64, 1, real, Bytes(2048)),
                 engine),
        bad("expanded, no header", nothing, expand(1, 8), lut),
        bad("expanded, no table", gray8, expand(0, 8), lut),
        unserved("expanded for bits", bit, expand(1, 8), lut),
        unserved("expanded for 32 bits", of_bits(32), expand(1, 8), lut),
        bad("expanded to 12 bits", gray8, expand(1, 12), lut),
        bad("expanded to 64 bits", gray8, expand(8, 64), lut),
        bad("expanded beyond 32 bits", of_bits(16, 65535), expand(1, 16), lut),
    });
}

TEST(PixelRefusals, OfMatrices)
{
    using Reals = std::vector<double>;
    constexpr auto creator = "NUV_ColorMatrix::engine()";
    constexpr auto engine = "NUV_ColorMatrix8xNbitsEngine::initiate()";
    constexpr auto by_three = "NUV_ColorMatrix3x3_8xNbits::engine()";
    const Reals nine{1, 2, 3, 4, 5, 6, 7, 8, 9};
    const NUV_TestImage srgb{.channels = 3, .color_type = Color::s_rgb};
    const NUV_Matrix* none = nullptr;
    for (const bool fixed : {false, true}) {
        const auto matrix = [&](std::uint32_t rows, const Reals& numbers, Reals offsets = {},
                                const Color* target = nullptr) {
            return appending_matrix(rows, numbers, offsets, fixed, target);
        };
        expect_refusals({
            bad("nothing", nothing, matrix(1, {1}), creator),
            bad("other columns", gray8, matrix(3, nine), creator),
            bad("an empty matrix", gray8, matrix(1, {}), "NUV_Matrix::value()"),
            unserved("bilevel", bit, matrix(1, {2}), "NUV_ColorMatrix8xNbits::engine()"),
            unserved("signed", of_bits(8, 3, s), matrix(3, nine), by_three),
            unserved("palette", palette, matrix(1, {2}), engine),
            bad("too few offsets", rgb, matrix(3, nine, {1, 2}),
                "NUV_ColorMatrix3x3_8xNbitsEngine::initiate()"),
            bad("another colour", rgb, matrix(1, {1, 2, 3}, {}, Color::s_rgb), engine),
            bad("a colour that no longer fits", srgb, matrix(1, {1, 2, 3}), engine),
            bad("too many channels", gray8, matrix(65536, Reals(65536)), engine),
            unserved("too long a line", of_width(0x18000000), matrix(3, {1, 1, 1}), engine),
            bad("not three by three", rgb,
                appending_matrix<NUV_ColorMatrix3x3_8xNbits>(1, {1, 2, 3}, {}, fixed), by_three),
            bad("no matrix", gray8,
                appending<NUV_ColorMatrix8xNbits>(none, Reals{}, nullptr, fixed),
                "NUV_ColorMatrix8xNbits::engine()"),
        });
    }
}

TEST(PixelRefusals, OfGrids)
{
    constexpr auto creator = "NUV_DLutTetrahedron::engine()";
    constexpr auto engine = "NUV_DLutTetrahedronEngine::initiate()";
    const auto grid = [](std::uint16_t bits, std::uint16_t inputs, std::uint16_t outputs,
                         const Color* target) {
        return appending_grid(bits, inputs, outputs, 2, {}, target);
    };
    const auto empty = [](NUV_TestChain& chain) {
        const NUV_DLutData table(chain.manager());
        return chain.append<NUV_DLutTetrahedron>(&table, Color::none);
    };
    const NUV_DLutData* none = nullptr;
    expect_refusals({
        unserved("bilevel", bit, grid(8, 1, 1, Color::none), creator),
        unserved("signed", signed8, grid(8, 1, 1, Color::none), creator),
        unserved("palette", palette, grid(8, 1, 1, Color::none), engine),
        bad("other bits", gray8, grid(16, 1, 1, Color::none), engine),
        bad("other channels", gray8, grid(8, 3, 1, Color::none), engine),
        bad("empty", gray8, empty, engine),
        bad("no colour", gray8, grid(8, 1, 1, nullptr), engine),
        bad("another colour", gray8, grid(8, 1, 1, Color::s_rgb), engine),
        unserved("too long a line", of_width(0x18000000), grid(8, 1, 3, Color::s_rgb), engine),
        bad("nothing", nothing, appending<NUV_DLutTetrahedron>(none, Color::none), creator),
        bad("no table", gray8, appending<NUV_DLutTetrahedron>(none, Color::none), engine),
    });
    struct Size {
        std::uint16_t bits, inputs, outputs;
        std::uint32_t points;
    };
    for (const auto& [bits, inputs, outputs, points] : {Size{1, 3, 3, 33},
                                                        {32, 3, 3, 33},
                                                        {8, 0, 3, 33},
                                                        {8, 5, 3, 33},
                                                        {8, 3, 0, 33},
                                                        {8, 3, 3, 1},
                                                        {8, 1, 3, 65537},
                                                        {8, 3, 3, 1500},
                                                        {8, 4, 1, 256},
                                                        {16, 2, 1, 65536}}) {
        NUV_TestChain chain;
        NUV_DLutData table(chain.manager());
        EXPECT_FALSE(table.allocate(bits, inputs, outputs, points));
        EXPECT_EQ(chain.status().code, argument);
        EXPECT_STREQ(chain.status().method, "NUV_DLutData::allocate()");
        EXPECT_TRUE(table.is_empty());
    }
}

TEST(PixelRefusals, OfTableBytes)
{
    NUV_TestChain chain;
    const auto table = make_object<NUV_LutData>(chain.manager());
    table->bits = 16;
    table->channels = 3;
    table->entries = 256;
    const Bytes bytes(1537, 5);
    EXPECT_TRUE(table->value(bytes.data(), 1536));
    EXPECT_TRUE(table->is_valid());
    const std::uint8_t* before = table->value();
    EXPECT_FALSE(table->value(bytes.data(), 1537));
    EXPECT_STREQ(chain.status().method, "NUV_LutData::value()");
    EXPECT_FALSE(table->value(nullptr, 1536));
    EXPECT_FALSE(table->value(bytes.data(), 0));
    EXPECT_EQ(table->value(), before);
    EXPECT_TRUE(table->value(nullptr, 0));
    EXPECT_FALSE(table->is_valid());
}

} // namespace
} // namespace nuv
