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

namespace nuv {
namespace {

using Color = NUV_ColorType;
const NUV_DataType* const u = NUV_DataType::u_integer;
const NUV_DataType* const s = NUV_DataType::s_integer;
const NUV_DataType* const real = NUV_DataType::floating;
const NUV_DataType* const odd = NUV_DataType::unknown;
const NUV_EncodeType* const runs = NUV_EncodeType::qd_rle;
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

const NUV_TestImage gray8{}, bit{.bits = 1}, four{.bits = 4}, palette{.palette = true};
const NUV_TestImage rgb{.channels = 3}, rgb_bits{.channels = 3, .bits = 1}, signed8{.data_type = s};
const NUV_RefusalSource nothing([](NUV_TestChain&) {});

struct Call {
    NUV_RefusalSource source;
    NUV_Append append;
};

// Each of the calls is refused with this text.
void expect_refused(NUV_StatusCode code, const std::string& text, const std::vector<Call>& calls)
{
    for (const Call& call : calls)
        expect_refusals({{text + " " + std::to_string(&call - calls.data()), call.source,
                          call.append, code, text}});
}
void bad(const char* text, const std::vector<Call>& calls)
{
    expect_refused(NUV_ERR_ARGUMENT, text, calls);
}
void unserved(const char* text, const std::vector<Call>& calls)
{
    expect_refused(NUV_ERR_UNSUPPORTED, text, calls);
}

TEST(PixelRefusals, OfChannels)
{
    const auto select = [](std::uint32_t first, std::uint32_t count,
                           const Color* color = Color::none) {
        return appending<NUV_SelectChannel>(first, count, color);
    };
    const auto reverse = appending<NUV_ReverseChannel>();
    // clang-format off
    bad("NUV_SelectNChannel::engine()", {{rgb, select(0, 0)}, {rgb, select(2, 2)}, {rgb, select(huge, 2)}, {rgb, select(2, huge)},
        {rgb, select(0, 2, Color::gray)}, {rgb_bits, select(0, 2, nullptr)}});
    unserved("NUV_SelectNChannel::engine()", {{of_bits(4, 3), select(0, 2)}});
    bad("NUV_Select1Channel::engine()", {{rgb, select(3, 1)}, {rgb, select(0, 1, Color::s_rgb)}, {rgb, select(0, 1, nullptr)}});
    unserved("NUV_Select1Channel::engine()", {{of_bits(4, 3), select(0, 1)}});
    unserved("NUV_ReverseChannel::engine()", {{of_bits(4, 3), reverse}});
    unserved("NUV_ReverseChannel8xNbitsEngine::initiate()", {{of_bits(32, 3), reverse}, {of_bits(24, 3, odd), reverse}});
    unserved("NUV_ReverseChannel1bitEngine::initiate()", {{of_bits(1, 3, odd), reverse}});
    // clang-format on
}

[[nodiscard]] Call merged(const NUV_TestImage& first, const NUV_TestImage& second,
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
        chain.last(NUV_MergeChannel(chain.manager()).engine(*engines, color));
        return chain.last() != nullptr;
    };
    return {NUV_RefusalSource(build), append};
}

TEST(PixelRefusals, OfMerging)
{
    const NUV_TestImage none{.width = 0};
    const Call no_engines{nothing, [](NUV_TestChain& chain) {
                              return NUV_MergeChannel(chain.manager()).engine({}, nullptr);
                          }};
    const NUV_TestImage wide{.width = 0x1FFFFFFF};
    const NUV_TestImage coded{.encode_type = NUV_EncodeType::flate};
    // clang-format off
    bad("NUV_MergeChannelEngine::initiate()", {merged(gray8, {.width = 3}), merged(gray8, {.height = 3}), merged(gray8, of_bits(16)),
        merged(bit, gray8), merged(gray8, signed8), merged(gray8, gray8, Color::s_rgb)});
    unserved("NUV_MergeChannelEngine::initiate()", {merged(coded, gray8), merged(gray8, coded),
        merged(of_bits(8, 40000), of_bits(8, 25536)), merged(wide, wide)});
    unserved("NUV_MergeChannel8xNbitsEngine::initiate()", {merged(four, four), merged(of_bits(32), of_bits(32))});
    bad("NUV_MergeChannel::engine()", {merged(gray8, gray8, nullptr), merged(gray8, none), no_engines});
    // clang-format on
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
    // clang-format off
    bad("NUV_ColorSpace::engine()", {{image(gray, 8), to(nullptr)}});
    unserved("NUV_ColorSpace::engine()", {{gray8, to(gray)}, {NUV_TestImage{.color_type = Color::unknown}, to(gray)},
        {image(gray, 8), to(Color::none)}, {image(gray, 8), to(Color::unknown)}, {image(gray, 4), to(Color::lstar)},
        {image(gray, 32), to(Color::lstar)}, {image(gray, 1), to(Color::s_rgb)}, {image(Color::s_rgb, 1), to(gray)},
        {NUV_TestImage{.data_type = s, .color_type = gray}, to(Color::s_rgb)},
        {NUV_TestImage{.bits = 1, .encode_type = runs, .color_type = gray}, to(Color::gray_reverse)}, {palette, to(gray)}});
    // clang-format on
}

TEST(PixelRefusals, OfConversions)
{
    const auto any = [](const NUV_DataType* type, std::uint16_t to_bits, double slope) {
        return appending<NUV_ConvertDataType>(type, to_bits, slope, 0.0);
    };
    const NUV_TestImage odd8{.data_type = odd};
    // clang-format off
    unserved("NUV_ConvertDataType::engine()", {{gray8, any(u, 12, 2)}, {gray8, any(u, 64, 2)}, {gray8, any(u, 0, 2)}, {four, any(u, 4, 2)},
        {gray8, any(s, 1, 2)}, {gray8, any(real, 16, 2)}, {gray8, any(odd, 8, 2)}, {odd8, any(nullptr, 8, 2)}, {odd8, any(u, 8, 3)},
        {palette, any(u, 16, 2)}, {NUV_TestImage{.width = 300, .palette = true}, any(u, 16, 2)}, {four, any(u, 8, 3)}, {four, any(u, 8, 2)},
        {four, any(u, 1, 3)}});
    unserved("NUV_Lut8xNbitsEngine::initiate()", {{of_width(0x10000000), any(real, 64, 3)}});
    unserved("NUV_ConvertDataTypeFrom1bitEngine::initiate()", {{of_width(0x10000000, 1), any(real, 64, 3)}});
    unserved("NUV_ConvertDataType8xNbitsEngine::initiate()", {{of_width(0x5000000, 32), any(real, 64, 3)}});
    // clang-format on
}

TEST(PixelRefusals, OfShiftsLimitsAndBits)
{
    const auto shift = [](const NUV_DataType* type, std::uint16_t bits, int by,
                          bool limits = false) {
        return appending<NUV_ShiftData>(type, bits, by, limits);
    };
    const auto limiting = [](std::int64_t most, std::int64_t least) {
        return appending<NUV_LimitPixelValue>(most, least);
    };
    const auto expanding = [](const NUV_DataType* type, std::uint16_t bits, int one, int zero) {
        return appending<NUV_Convert1To8xNBits>(type, bits, one, zero);
    };
    // clang-format off
    bad("NUV_ShiftDataNL::engine()", {{gray8, shift(u, 8, 32)}, {gray8, shift(u, 8, -32)}, {gray8, shift(nullptr, 8, 1)}});
    unserved("NUV_ShiftDataNL::engine()", {{gray8, shift(u, 1, 1)}, {bit, shift(u, 8, 1)}, {gray8, shift(real, 32, 0)}});
    unserved("NUV_ShiftDataNLEngine::initiate()", {{palette, shift(u, 8, 1)}, {of_width(0x10000000), shift(u, 32, 1)}});
    bad("NUV_ShiftDataWL::engine()", {{gray8, shift(u, 8, 32, true)}});
    unserved("NUV_ShiftDataWLEngine::initiate()", {{palette, shift(u, 8, 1, true)}});
    bad("NUV_LimitPixelValueEngine::initiate()", {{gray8, limiting(4, 5)}, {gray8, limiting(256, 0)}, {gray8, limiting(4, -1)},
        {gray8, appending<NUV_LimitPixelValue>(~std::uint64_t{0}, std::uint64_t{0})}});
    unserved("NUV_LimitPixelValueEngine::initiate()", {{palette, limiting(9, 0)}});
    unserved("NUV_LimitPixelValue::engine()", {{bit, limiting(1, 0)}, {of_bits(32, 1, real), limiting(1, 0)}});
    bad("NUV_Convert1To8xNBitsEngine::initiate()", {{bit, expanding(u, 8, 256, 0)}, {bit, expanding(u, 16, 1, -1)}});
    unserved("NUV_Convert1To8xNBitsEngine::initiate()", {{gray8, expanding(u, 8, 1, 0)},
        {NUV_TestImage{.bits = 1, .palette = true}, expanding(u, 8, 1, 0)}, {of_width(0x20000000, 1), expanding(u, 16, 1, 0)}});
    bad("NUV_Convert1To8xNBits::engine()", {{bit, expanding(nullptr, 8, 1, 0)}});
    unserved("NUV_Convert1To8xNBits::engine()", {{bit, expanding(u, 32, 1, 0)}, {bit, expanding(u, 1, 1, 0)},
        {bit, expanding(real, 32, 1, 0)}});
    unserved("NUV_NotQDRLEEngine::initiate()", {{NUV_TestImage{.channels = 2, .bits = 1, .encode_type = runs}, appending<NUV_Not>()},
        {NUV_TestImage{.width = 0x0FFFFFFF, .bits = 1, .encode_type = runs}, appending<NUV_Not>()}});
    // clang-format on
}

TEST(PixelRefusals, OfConstants)
{
    // The header that stands in front is taken for another image.
    const auto fill = [](const std::vector<double>& color) -> NUV_Append {
        return [=](NUV_TestChain& chain) {
            return NUV_ConstantColor(chain.manager())
                       .engine(chain.last() ? &chain.header() : nullptr, color) != nullptr;
        };
    };
    const double nan = std::numeric_limits<double>::quiet_NaN();
    // clang-format off
    bad("NUV_ConstantColor::engine()", {{nothing, fill({})}});
    unserved("NUV_ConstantColor::engine()", {{NUV_TestImage{.encode_type = runs}, fill({1})}});
    bad("NUV_ConstantColorRaw8xNBitsEngine::initiate()", {{rgb, fill({1, 2})}, {gray8, fill({256})}, {gray8, fill({-1})},
        {gray8, fill({0.5})}, {gray8, fill({nan})}});
    bad("NUV_ConstantColorRaw1Engine::initiate()", {{bit, fill({2})}, {bit, fill({1, 1})}});
    unserved("NUV_ConstantColorRaw::engine()", {{four, fill({1})}});
    // clang-format on
}

TEST(PixelRefusals, OfTables)
{
    // One that stands otherwise than its bytes say, where `bits` differ.
    const auto table = [](std::size_t bytes, std::uint16_t channels = 1, std::uint16_t bits = 8,
                          const Color* target = nullptr) -> NUV_Append {
        return [=](NUV_TestChain& chain) {
            const auto made = make_table(chain.manager(), 8, channels, u, Bytes(bytes));
            if (bits == 64)
                made->channels = 1; // so that the sizes agree
            made->bits = bits;
            return chain.append<NUV_Lut>(made.get(), target);
        };
    };
    const NUV_LutData* none = nullptr;
    const auto expand = [](std::size_t bytes, std::uint16_t bits) -> NUV_Append {
        return [=](NUV_TestChain& chain) {
            const Bytes memory(bytes);
            const auto* header = chain.last() ? &chain.header() : nullptr;
            return bool{
                expand_lut(chain.manager(), header, bytes > 0 ? memory.data() : nullptr, 1, bits)};
        };
    };
    // clang-format off
    bad("NUV_Lut8xNbitsEngine::initiate()", {{gray8, table(255)}, {gray8, table(512)}, {of_bits(16), table(256)}, {rgb, table(512, 2)},
        {gray8, table(256, 1, 16)}, {gray8, table(2048, 8, 64)}, {gray8, table(256, 1, 12)}, {gray8, table(256, 1, 8, Color::s_rgb)},
        {gray8, appending<NUV_Lut>(none)}, {gray8, table(0)}});
    unserved("NUV_Lut8xNbitsEngine::initiate()", {{bit, table(256)}, {palette, table(256)},
        {of_width(0x8000000), appending_table(64, 1, real, Bytes(2048))}});
    unserved("NUV_LutS8xNbitsEngine::initiate()", {{of_bits(8, 1, odd), table(256)}});
    bad("NUV_Lut::engine()", {{nothing, expand(1, 8)}, {gray8, expand(0, 8)}, {gray8, expand(1, 12)}, {gray8, expand(8, 64)},
        {of_bits(16, 65535), expand(1, 16)}});
    unserved("NUV_Lut::engine()", {{bit, expand(1, 8)}, {of_bits(32), expand(1, 8)}});
    // clang-format on
}

TEST(PixelRefusals, OfMatrices)
{
    using Reals = std::vector<double>;
    const Reals nine{1, 2, 3, 4, 5, 6, 7, 8, 9};
    const NUV_TestImage srgb{.channels = 3, .color_type = Color::s_rgb};
    const NUV_Matrix* none = nullptr;
    for (const bool fixed : {false, true}) {
        const auto matrix = [&](std::uint32_t rows, const Reals& numbers, const Reals& offsets = {},
                                const Color* target = nullptr) {
            return appending_matrix(rows, numbers, offsets, fixed, target);
        };
        // clang-format off
        bad("NUV_ColorMatrix::engine()", {{nothing, matrix(1, {1})}, {gray8, matrix(3, nine)}});
        bad("NUV_Matrix::value()", {{gray8, matrix(1, {})}});
        bad("NUV_ColorMatrix8xNbits::engine()", {{gray8, appending<NUV_ColorMatrix8xNbits>(none, Reals{}, nullptr, fixed)}});
        unserved("NUV_ColorMatrix8xNbits::engine()", {{bit, matrix(1, {2})}});
        bad("NUV_ColorMatrix3x3_8xNbits::engine()", {{rgb, appending_matrix<NUV_ColorMatrix3x3_8xNbits>(1, {1, 2, 3}, {}, fixed)}});
        unserved("NUV_ColorMatrix3x3_8xNbits::engine()", {{of_bits(8, 3, s), matrix(3, nine)}});
        bad("NUV_ColorMatrix8xNbitsEngine::initiate()", {{rgb, matrix(1, {1, 2, 3}, {}, Color::s_rgb)}, {srgb, matrix(1, {1, 2, 3})},
            {gray8, matrix(65536, Reals(65536))}});
        unserved("NUV_ColorMatrix8xNbitsEngine::initiate()", {{palette, matrix(1, {2})}, {of_width(0x18000000), matrix(3, {1, 1, 1})}});
        bad("NUV_ColorMatrix3x3_8xNbitsEngine::initiate()", {{rgb, matrix(3, nine, {1, 2})}});
        // clang-format on
    }
}

TEST(PixelRefusals, OfGrids)
{
    const auto grid = [](std::uint16_t bits, std::uint16_t inputs, std::uint16_t outputs,
                         const Color* target = Color::none) {
        return appending_grid(bits, inputs, outputs, 2, {}, target);
    };
    const auto empty = [](NUV_TestChain& chain) {
        const NUV_DLutData table(chain.manager());
        return chain.append<NUV_DLutTetrahedron>(&table, Color::none);
    };
    const NUV_DLutData* none = nullptr;
    // clang-format off
    bad("NUV_DLutTetrahedron::engine()", {{nothing, appending<NUV_DLutTetrahedron>(none, Color::none)}});
    unserved("NUV_DLutTetrahedron::engine()", {{bit, grid(8, 1, 1)}, {signed8, grid(8, 1, 1)}});
    bad("NUV_DLutTetrahedronEngine::initiate()", {{gray8, grid(16, 1, 1)}, {gray8, grid(8, 3, 1)}, {gray8, empty},
        {gray8, grid(8, 1, 1, nullptr)}, {gray8, grid(8, 1, 1, Color::s_rgb)}, {gray8, appending<NUV_DLutTetrahedron>(none, Color::none)}});
    unserved("NUV_DLutTetrahedronEngine::initiate()", {{palette, grid(8, 1, 1)}, {of_width(0x18000000), grid(8, 1, 3, Color::s_rgb)}});
    constexpr std::uint32_t sizes[][4] = { // bits, inputs, outputs, points
        {1, 3, 3, 33}, {32, 3, 3, 33}, {8, 0, 3, 33}, {8, 5, 3, 33}, {8, 3, 0, 33},
        {8, 3, 3, 1}, {8, 1, 3, 65537}, {8, 3, 3, 1500}, {8, 4, 1, 256}, {16, 2, 1, 65536}};
    // clang-format on
    for (const auto& [bits, inputs, outputs, points] : sizes) {
        NUV_TestChain chain;
        NUV_DLutData table(chain.manager());
        EXPECT_FALSE(table.allocate(static_cast<std::uint16_t>(bits),
                                    static_cast<std::uint16_t>(inputs),
                                    static_cast<std::uint16_t>(outputs), points));
        expect_status(chain.manager(), NUV_ERR_ARGUMENT, "NUV_DLutData::allocate()");
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
