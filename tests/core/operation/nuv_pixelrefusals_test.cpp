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
#include <string>
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

struct Refused {
    NUV_RefusalSource source;
    NUV_Append append;
    NUV_StatusCode code;
};
[[nodiscard]] Refused bad(const NUV_RefusalSource& source, NUV_Append append)
{
    return {source, std::move(append), NUV_ERR_ARGUMENT};
}
[[nodiscard]] Refused unserved(const NUV_RefusalSource& source, NUV_Append append)
{
    return {source, std::move(append), NUV_ERR_UNSUPPORTED};
}

// Each of the calls behind its source is refused with this text.
template <class... Calls>
void expect_text(const char* text, const Calls&... calls)
{
    int number = 0;
    (expect_refusals({{std::to_string(++number) + " with " + text, calls.source, calls.append,
                       calls.code, text}}),
     ...);
}

TEST(PixelRefusals, OfChannels)
{
    const auto select = [](std::uint32_t first, std::uint32_t count, const Color* color) {
        return appending<NUV_SelectChannel>(first, count, color);
    };
    expect_text("NUV_SelectNChannel::engine()", bad(rgb, select(0, 0, Color::none)),
                bad(rgb, select(2, 2, Color::none)), bad(rgb, select(huge, 2, Color::none)),
                bad(rgb, select(2, huge, Color::none)), bad(rgb, select(0, 2, Color::gray)),
                bad(rgb_bits, select(0, 2, nullptr)),
                unserved(of_bits(4, 3), select(0, 2, Color::none)));
    expect_text("NUV_Select1Channel::engine()", bad(rgb, select(3, 1, Color::none)),
                bad(rgb, select(0, 1, Color::s_rgb)), bad(rgb, select(0, 1, nullptr)),
                unserved(of_bits(4, 3), select(0, 1, Color::none)));
    expect_text("NUV_Select1Channel8xNbits::engine()",
                unserved(rgb_bits, appending<NUV_Select1Channel8xNbits>(1U, Color::none)));
    expect_text("NUV_Select1Channel1bit::engine()",
                unserved(rgb, appending<NUV_Select1Channel1bit>(1U, Color::none)),
                bad(nothing, appending<NUV_Select1Channel1bit>(1U, Color::none)));
    expect_text("NUV_SelectNChannel8xNbits::engine()",
                unserved(rgb_bits, appending<NUV_SelectNChannel8xNbits>(1U, 2U, Color::none)),
                bad(nothing, appending<NUV_SelectNChannel8xNbits>(1U, 2U, Color::none)));
    expect_text("NUV_SelectNChannel1bit::engine()",
                unserved(rgb, appending<NUV_SelectNChannel1bit>(1U, 2U, Color::none)));
    expect_text("NUV_ReverseChannel::engine()",
                unserved(of_bits(4, 3), appending<NUV_ReverseChannel>()));
    expect_text("NUV_ReverseChannel8xNbitsEngine::initiate()",
                unserved(of_bits(32, 3), appending<NUV_ReverseChannel>()),
                unserved(of_bits(24, 3, odd), appending<NUV_ReverseChannel>()));
    expect_text("NUV_ReverseChannel1bitEngine::initiate()",
                unserved(of_bits(1, 3, odd), appending<NUV_ReverseChannel>()));
    expect_text("NUV_ReverseChannel8xNbits::engine()",
                bad(nothing, appending<NUV_ReverseChannel8xNbits>()));
    expect_text("NUV_ReverseChannel1bit::engine()",
                bad(nothing, appending<NUV_ReverseChannel1bit>()));
}

template <class Creator>
[[nodiscard]] Refused merged(const NUV_TestImage& first, const NUV_TestImage& second,
                             NUV_StatusCode code, const Color* color = Color::none)
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
    return {NUV_RefusalSource(build), append, code};
}

TEST(PixelRefusals, OfMerging)
{
    const NUV_TestImage none{.width = 0};
    const NUV_TestImage wide{.width = 0x1FFFFFFF};
    const NUV_TestImage coded{.encode_type = NUV_EncodeType::flate};
    using Any = NUV_MergeChannel;
    expect_text("NUV_MergeChannelEngine::initiate()", merged<Any>(coded, gray8, unsupported),
                merged<Any>(gray8, coded, unsupported), merged<Any>(gray8, {.width = 3}, argument),
                merged<Any>(gray8, {.height = 3}, argument),
                merged<Any>(gray8, of_bits(16), argument), merged<Any>(bit, gray8, argument),
                merged<Any>(gray8, signed8, argument),
                merged<Any>(gray8, gray8, argument, Color::s_rgb),
                merged<Any>(of_bits(8, 40000), of_bits(8, 25536), unsupported),
                merged<Any>(wide, wide, unsupported));
    expect_text("NUV_MergeChannel8xNbitsEngine::initiate()", merged<Any>(four, four, unsupported),
                merged<Any>(of_bits(32), of_bits(32), unsupported));
    expect_text("NUV_MergeChannel::engine()", merged<Any>(gray8, gray8, argument, nullptr),
                merged<Any>(gray8, none, argument));
    expect_text("NUV_MergeChannel8xNbits::engine()",
                merged<NUV_MergeChannel8xNbits>(gray8, none, argument));
    expect_text("NUV_MergeChannel1bit::engine()",
                merged<NUV_MergeChannel1bit>(bit, none, argument));
    expect_text("NUV_MergeChannel1bitEngine::initiate()",
                merged<NUV_MergeChannel1bit>(gray8, gray8, unsupported));
    NUV_TestChain chain;
    EXPECT_FALSE(NUV_MergeChannel(chain.manager()).engine({}, Color::none));
    EXPECT_STREQ(chain.status().method, "NUV_MergeChannel::engine()");
}

TEST(PixelRefusals, OfColors)
{
    const auto to = [](const Color* color) { return appending<NUV_ColorSpace>(color); };
    const auto image = [](const Color* color, std::uint16_t bits) {
        return NUV_TestImage{.channels = static_cast<std::uint16_t>(color->channels()),
                             .bits = bits,
                             .color_type = color};
    };
    const Color* gray = Color::gray;
    expect_text(
        "NUV_ColorSpace::engine()", bad(image(gray, 8), to(nullptr)), unserved(gray8, to(gray)),
        unserved(NUV_TestImage{.color_type = Color::unknown}, to(gray)),
        unserved(image(gray, 8), to(Color::none)), unserved(image(gray, 8), to(Color::unknown)),
        unserved(image(gray, 4), to(Color::lstar)), unserved(image(gray, 32), to(Color::lstar)),
        unserved(image(gray, 1), to(Color::s_rgb)), unserved(image(Color::s_rgb, 1), to(gray)),
        unserved(NUV_TestImage{.data_type = s, .color_type = gray}, to(Color::s_rgb)),
        unserved(NUV_TestImage{.bits = 1, .encode_type = runs, .color_type = gray},
                 to(Color::gray_reverse)),
        unserved(palette, to(gray)));
}

TEST(PixelRefusals, OfConversions)
{
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
    expect_text(
        "NUV_ConvertDataType::engine()", unserved(gray8, any(u, 12, 2)),
        unserved(gray8, any(u, 64, 2)), unserved(gray8, any(u, 0, 2)), unserved(four, any(u, 4, 2)),
        unserved(gray8, any(s, 1, 2)), unserved(gray8, any(real, 16, 2)),
        unserved(gray8, any(odd, 8, 2)), unserved(odd8, any(nullptr, 8, 2)),
        unserved(odd8, any(u, 8, 3)), unserved(palette, any(u, 16, 2)),
        unserved(NUV_TestImage{.width = 300, .palette = true}, any(u, 16, 2)),
        unserved(four, any(u, 8, 3)), unserved(four, any(u, 8, 2)), unserved(four, any(u, 1, 3)));
    expect_text("NUV_Lut8xNbitsEngine::initiate()",
                unserved(of_width(0x10000000), any(real, 64, 3)));
    expect_text("NUV_ConvertDataTypeFrom1bitEngine::initiate()",
                unserved(of_width(0x10000000, 1), any(real, 64, 3)), unserved(gray8, by_from(8)));
    expect_text("NUV_ConvertDataType8xNbitsEngine::initiate()",
                unserved(of_width(0x5000000, 32), any(real, 64, 3)), unserved(palette, by_wide(8)));
    expect_text("NUV_ConvertDataType8xNbits::engine()", bad(nothing, by_wide(8)),
                unserved(gray8, by_wide(12)), unserved(bit, by_wide(8)));
    expect_text("NUV_ConvertDataTypeFrom1bit::engine()", bad(nothing, by_from(8)),
                unserved(bit, by_from(1)));
    expect_text("NUV_ConvertDataTypeTo1bit::engine()", bad(nothing, by_to), unserved(bit, by_to));
    expect_text("NUV_ConvertDataType1bit::engine()", bad(nothing, by_bits),
                unserved(gray8, by_bits));
    expect_text("NUV_ConvertDataTypeTo1bitEngine::initiate()", unserved(palette, by_to));
}

TEST(PixelRefusals, OfShiftsLimitsAndBits)
{
    const auto nl = [](const NUV_DataType* type, std::uint16_t bits, int shift) {
        return appending<NUV_ShiftData>(type, bits, shift, false);
    };
    const auto limiting = [](std::int64_t most, std::int64_t least) {
        return appending<NUV_LimitPixelValue>(most, least);
    };
    const auto expanding = [](const NUV_DataType* type, std::uint16_t bits, int one, int zero) {
        return appending<NUV_Convert1To8xNBits>(type, bits, one, zero);
    };
    expect_text("NUV_ShiftDataNL::engine()", bad(gray8, nl(u, 8, 32)), bad(gray8, nl(u, 8, -32)),
                bad(gray8, nl(nullptr, 8, 1)), unserved(gray8, nl(u, 1, 1)),
                unserved(bit, nl(u, 8, 1)), unserved(gray8, nl(real, 32, 0)));
    expect_text("NUV_ShiftDataNLEngine::initiate()", unserved(palette, nl(u, 8, 1)),
                unserved(of_width(0x10000000), nl(u, 32, 1)));
    expect_text("NUV_ShiftDataWL::engine()", bad(gray8, appending<NUV_ShiftData>(u, b8, 32, true)));
    expect_text("NUV_ShiftDataWLEngine::initiate()",
                unserved(palette, appending<NUV_ShiftData>(u, b8, 1, true)));
    expect_text("NUV_LimitPixelValueEngine::initiate()", bad(gray8, limiting(4, 5)),
                bad(gray8, limiting(256, 0)), bad(gray8, limiting(4, -1)),
                bad(gray8, appending<NUV_LimitPixelValue>(~std::uint64_t{0}, std::uint64_t{0})),
                unserved(palette, limiting(9, 0)));
    expect_text("NUV_LimitPixelValue::engine()", unserved(bit, limiting(1, 0)),
                unserved(of_bits(32, 1, real), limiting(1, 0)));
    expect_text("NUV_Convert1To8xNBitsEngine::initiate()", bad(bit, expanding(u, 8, 256, 0)),
                bad(bit, expanding(u, 16, 1, -1)), unserved(gray8, expanding(u, 8, 1, 0)),
                unserved(NUV_TestImage{.bits = 1, .palette = true}, expanding(u, 8, 1, 0)),
                unserved(of_width(0x20000000, 1), expanding(u, 16, 1, 0)));
    expect_text("NUV_Convert1To8xNBits::engine()", bad(bit, expanding(nullptr, 8, 1, 0)),
                unserved(bit, expanding(u, 32, 1, 0)), unserved(bit, expanding(u, 1, 1, 0)),
                unserved(bit, expanding(real, 32, 1, 0)));
    expect_text("NUV_NotQDRLEEngine::initiate()",
                unserved(NUV_TestImage{.channels = 2, .bits = 1, .encode_type = runs},
                         appending<NUV_Not>()),
                unserved(NUV_TestImage{.width = 0x0FFFFFFF, .bits = 1, .encode_type = runs},
                         appending<NUV_Not>()));
    expect_text("NUV_NotQDRLE::engine()", bad(nothing, appending<NUV_NotQDRLE>()));
}

TEST(PixelRefusals, OfConstants)
{
    // The header that stands in front is taken for another image.
    const auto fill = [](std::vector<double> color) -> NUV_Append {
        return [=](NUV_TestChain& chain) {
            return NUV_ConstantColor(chain.manager())
                       .engine(chain.last() ? &chain.header() : nullptr, color) != nullptr;
        };
    };
    const double nan = std::numeric_limits<double>::quiet_NaN();
    expect_text("NUV_ConstantColor::engine()", bad(nothing, fill({})),
                unserved(NUV_TestImage{.encode_type = runs}, fill({1})));
    expect_text("NUV_ConstantColorRaw8xNBitsEngine::initiate()", bad(rgb, fill({1, 2})),
                bad(gray8, fill({256})), bad(gray8, fill({-1})), bad(gray8, fill({0.5})),
                bad(gray8, fill({nan})));
    expect_text("NUV_ConstantColorRaw1Engine::initiate()", bad(bit, fill({2})),
                bad(bit, fill({1, 1})));
    expect_text("NUV_ConstantColorRaw::engine()", unserved(four, fill({1})));
}

TEST(PixelRefusals, OfTables)
{
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
    expect_text("NUV_Lut8xNbitsEngine::initiate()", bad(gray8, table(255, 1, 8, nullptr)),
                bad(gray8, table(512, 1, 8, nullptr)), bad(of_bits(16), table(256, 1, 8, nullptr)),
                bad(rgb, table(512, 2, 8, nullptr)), bad(gray8, table(256, 1, 16, nullptr)),
                bad(gray8, table(2048, 8, 64, nullptr)), bad(gray8, table(256, 1, 12, nullptr)),
                bad(gray8, table(256, 1, 8, Color::s_rgb)),
                unserved(bit, table(256, 1, 8, nullptr)),
                unserved(palette, table(256, 1, 8, nullptr)), bad(gray8, appending<NUV_Lut>(none)),
                bad(gray8, empty),
                unserved(of_width(0x8000000), appending_table(64, 1, real, Bytes(2048))));
    expect_text("NUV_LutS8xNbitsEngine::initiate()",
                unserved(of_bits(8, 1, odd), table(256, 1, 8, nullptr)),
                unserved(gray8, of_type.operator()<NUV_LutS8xNbits>()));
    expect_text("NUV_LutU8xNbitsEngine::initiate()",
                unserved(signed8, of_type.operator()<NUV_LutU8xNbits>()));
    expect_text("NUV_LutU8xNbits::engine()", bad(nothing, appending<NUV_LutU8xNbits>(none)));
    expect_text("NUV_LutS8xNbits::engine()", bad(nothing, appending<NUV_LutS8xNbits>(none)));
    expect_text("NUV_Lut::engine()", bad(nothing, expand(1, 8)), bad(gray8, expand(0, 8)),
                unserved(bit, expand(1, 8)), unserved(of_bits(32), expand(1, 8)),
                bad(gray8, expand(1, 12)), bad(gray8, expand(8, 64)),
                bad(of_bits(16, 65535), expand(1, 16)));
}

TEST(PixelRefusals, OfMatrices)
{
    using Reals = std::vector<double>;
    const Reals nine{1, 2, 3, 4, 5, 6, 7, 8, 9};
    const NUV_TestImage srgb{.channels = 3, .color_type = Color::s_rgb};
    const NUV_Matrix* none = nullptr;
    for (const bool fixed : {false, true}) {
        const auto matrix = [&](std::uint32_t rows, const Reals& numbers, Reals offsets = {},
                                const Color* target = nullptr) {
            return appending_matrix(rows, numbers, offsets, fixed, target);
        };
        expect_text("NUV_ColorMatrix::engine()", bad(nothing, matrix(1, {1})),
                    bad(gray8, matrix(3, nine)));
        expect_text("NUV_Matrix::value()", bad(gray8, matrix(1, {})));
        expect_text("NUV_ColorMatrix8xNbits::engine()", unserved(bit, matrix(1, {2})),
                    bad(gray8, appending<NUV_ColorMatrix8xNbits>(none, Reals{}, nullptr, fixed)));
        expect_text(
            "NUV_ColorMatrix3x3_8xNbits::engine()", unserved(of_bits(8, 3, s), matrix(3, nine)),
            bad(rgb, appending_matrix<NUV_ColorMatrix3x3_8xNbits>(1, {1, 2, 3}, {}, fixed)));
        expect_text("NUV_ColorMatrix8xNbitsEngine::initiate()", unserved(palette, matrix(1, {2})),
                    bad(rgb, matrix(1, {1, 2, 3}, {}, Color::s_rgb)),
                    bad(srgb, matrix(1, {1, 2, 3})), bad(gray8, matrix(65536, Reals(65536))),
                    unserved(of_width(0x18000000), matrix(3, {1, 1, 1})));
        expect_text("NUV_ColorMatrix3x3_8xNbitsEngine::initiate()",
                    bad(rgb, matrix(3, nine, {1, 2})));
    }
}

TEST(PixelRefusals, OfGrids)
{
    const auto grid = [](std::uint16_t bits, std::uint16_t inputs, std::uint16_t outputs,
                         const Color* target) {
        return appending_grid(bits, inputs, outputs, 2, {}, target);
    };
    const auto empty = [](NUV_TestChain& chain) {
        const NUV_DLutData table(chain.manager());
        return chain.append<NUV_DLutTetrahedron>(&table, Color::none);
    };
    const NUV_DLutData* none = nullptr;
    expect_text("NUV_DLutTetrahedron::engine()", unserved(bit, grid(8, 1, 1, Color::none)),
                unserved(signed8, grid(8, 1, 1, Color::none)),
                bad(nothing, appending<NUV_DLutTetrahedron>(none, Color::none)));
    expect_text("NUV_DLutTetrahedronEngine::initiate()",
                unserved(palette, grid(8, 1, 1, Color::none)),
                bad(gray8, grid(16, 1, 1, Color::none)), bad(gray8, grid(8, 3, 1, Color::none)),
                bad(gray8, empty), bad(gray8, grid(8, 1, 1, nullptr)),
                bad(gray8, grid(8, 1, 1, Color::s_rgb)),
                unserved(of_width(0x18000000), grid(8, 1, 3, Color::s_rgb)),
                bad(gray8, appending<NUV_DLutTetrahedron>(none, Color::none)));
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
