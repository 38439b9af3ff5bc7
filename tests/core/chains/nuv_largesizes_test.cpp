#include "core/channel/nuv_reversechannel.h"
#include "core/channel/nuv_selectchannel.h"
#include "core/convert1to8xnbits/nuv_convert1to8xnbits.h"
#include "core/convertdatatype/nuv_convertdatatype.h"
#include "core/crop/nuv_crop.h"
#include "core/limitpixelvalue/nuv_limitpixelvalue.h"
#include "core/mirror/nuv_mirrorx.h"
#include "core/mirror/nuv_mirrory.h"
#include "core/operation/nuv_not.h"
#include "core/qdrle/nuv_decodeqdrle.h"
#include "core/rotate/nuv_rotate90.h"
#include "core/scale/nuv_scalecc.h"
#include "core/scale/nuv_scaleiar.h"
#include "core/scale/nuv_scaleire.h"
#include "core/scale/nuv_scaleli.h"
#include "core/scale/nuv_scalenn.h"
#include "core/scale/nuv_scalepp.h"
#include "core/scale/nuv_scaless.h"
#include "core/shiftdata/nuv_shiftdata.h"
#include "extension/scalei2/nuv_scalei2.h"
#include "extension/scalei2var/nuv_scalei2var.h"
#include "extension/scalei2varex/nuv_scalei2varexby.h"
#include "tests/support/nuv_testchain.h"

#include <gtest/gtest.h>

namespace nuv {
namespace {

struct Operation {
    std::uint16_t bits;
    NUV_Append append;
};

// What takes pictures of the greatest sizes and gives some of nearly the same size.
std::vector<Operation> operations(std::uint32_t width, std::uint32_t height)
{
    const auto type = NUV_DataType::u_integer;
    const auto color = NUV_ColorType::gray;
    const std::uint32_t w = width;
    std::vector<Operation> all{
        {8, appending<NUV_ReverseChannel>()},
        {8, appending<NUV_SelectChannel>(0U, color)},
        {1, appending<NUV_SelectChannel>(0U, color)},
        {1, appending<NUV_Convert1To8xNBits>(type, std::uint16_t{8}, 1, 0)},
        {8, appending<NUV_ConvertDataType8xNbits>(type, std::uint16_t{8}, 2.0, 1.0)},
        {8, appending<NUV_ConvertDataTypeTo1bit>(1.0, 3.0)},
        {1, appending<NUV_ConvertDataTypeFrom1bit>(type, std::uint16_t{8}, 2.0, 1.0)},
        {8, appending<NUV_LimitPixelValue>(9, 1)},
        {8, appending<NUV_ShiftData>(type, std::uint16_t{8}, 1, true)},
        {8, appending<NUV_Not>()},
        {8, appending<NUV_MirrorX>()},
        {1, appending<NUV_MirrorX>()},
        {8, appending<NUV_MirrorY>()},
        {8, appending<NUV_CropHeight>(2U, height)},
        {8, appending<NUV_CropWidth>(1U, w)},
        {1, appending<NUV_CropWidth>(1U, w)},
        {8, appending<NUV_ScaleSS>(2U, 2U, 1U, 1U)},
        {8, appending<NUV_ScaleIRE>(2U, 2U)},
        {1, appending<NUV_ScaleIRE>(2U, 2U)},
        {8, appending<NUV_ScaleHeightIAR>(height / 3)},
        {8, appending<NUV_ScaleI2>(w, height - 9, -1.0F, std::uint16_t{0})},
        {8, appending<NUV_ScaleI2VAR>(w, 100U, -1.0F, std::uint16_t{0})},
        {8, appending<NUV_ScaleI2VARExBy<NUV_FixedReal>>(w, 100U)},
    };
    for (const std::int32_t angle : {90, 180}) {
        for (const std::uint16_t bits : {std::uint16_t{1}, std::uint16_t{8}})
            all.push_back({bits, appending<NUV_Rotate90>(angle)});
    }
    // To few lines, to fewer by one, and to one more.
    for (const std::uint32_t to : {100U, height - 1, height + 1}) {
        all.push_back({8, appending<NUV_ScaleNN>(w, to)});
        all.push_back({1, appending<NUV_ScaleNN>(w, to)});
        for (const bool use_fixed_real : {true, false}) {
            all.push_back({8, appending<NUV_ScaleLI>(w, to, use_fixed_real)});
            all.push_back({8, appending<NUV_ScaleLI>(w - 1, to, use_fixed_real)});
            all.push_back({8, appending<NUV_ScaleCC>(w, to, use_fixed_real)});
            all.push_back({8, appending<NUV_ScalePP>(w, to, use_fixed_real)});
        }
    }
    return all;
}

// Of a picture of zeros that breaks off behind `lines` lines every operation refuses to be made, or
// gives no more lines than it has got.
void expect_nothing_invented(const NUV_TestImage& image, std::uint32_t width, std::uint32_t height,
                             std::size_t lines)
{
    std::size_t number = 0;
    for (const Operation& operation : operations(width, height)) {
        SCOPED_TRACE(number++);
        NUV_TestImage source = image;
        source.bits = operation.bits;
        NUV_TestChain chain;
        chain.source_bytes(source, std::vector<std::uint8_t>(lines * image.width));
        if (operation.append(chain))
            EXPECT_LE(chain.run_bytes().size(), lines * chain.header().line_bytes());
        else
            EXPECT_TRUE(chain.status().has_error());
    }
}

TEST(LargeSizes, GiveAnErrorOrTheLinesThatAreThere)
{
    for (const std::uint32_t size : {0xFFFFFFFFU, 0xFFFFFFFEU}) {
        expect_nothing_invented({.width = 1, .height = size}, 1, size, 5);
        expect_nothing_invented({.width = size, .height = 1}, size, 1, 0);
        expect_nothing_invented({.width = 4, .height = 20}, size, 20, 0);
        expect_nothing_invented({.width = 4, .height = 20}, 4, size, 0);
    }
}

} // namespace
} // namespace nuv
