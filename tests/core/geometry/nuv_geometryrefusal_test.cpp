#include "core/crop/nuv_crop.h"
#include "core/mirror/nuv_mirrorx.h"
#include "core/mirror/nuv_mirrory.h"
#include "core/qdrle/nuv_decodeqdrle.h"
#include "core/rotate/nuv_rotate90.h"
#include "tests/support/nuv_refusals.h"

#include <gtest/gtest.h>

namespace nuv {
namespace {

constexpr auto bad = NUV_ERR_ARGUMENT;
constexpr auto no = NUV_ERR_UNSUPPORTED;

// 9 x 5, and what is not that.
NUV_TestImage image(std::uint16_t bits, std::uint16_t channels = 1,
                    const NUV_EncodeType* encode_type = NUV_EncodeType::raw)
{
    return {
        .width = 9, .height = 5, .channels = channels, .bits = bits, .encode_type = encode_type};
}

NUV_TestImage runs(std::uint16_t bits = 1, std::uint16_t channels = 1)
{
    return image(bits, channels, NUV_EncodeType::qd_rle);
}

NUV_TestImage large_runs(std::uint32_t width, std::uint32_t height)
{
    return {.width = width, .height = height, .bits = 1, .encode_type = NUV_EncodeType::qd_rle};
}

const NUV_RefusalSource nothing([](NUV_TestChain&) {});
const NUV_TestImage typeless_bits{.bits = 1, .data_type = NUV_DataType::unknown};
const NUV_TestImage typeless_runs{
    .bits = 1, .data_type = NUV_DataType::unknown, .encode_type = NUV_EncodeType::qd_rle};
const NUV_TestImage floats{.bits = 32, .data_type = NUV_DataType::floating};

TEST(GeometryRefusal, OfMirroring)
{
    constexpr auto bytes = "NUV_MirrorX8xNBitsEngine::initiate()";
    constexpr auto bits = "NUV_MirrorX1BitEngine::initiate()";
    expect_refusals({
        {"2 bits", image(2), appending<NUV_MirrorX>(), no, bytes},
        {"4 bits", image(4), appending<NUV_MirrorX>(), no, bytes},
        {"32 bits", image(32), appending<NUV_MirrorX>(), no, bytes},
        {"colours of bits", image(1, 3), appending<NUV_MirrorX>(), no, bits},
        {"no known type", typeless_bits, appending<NUV_MirrorX>(), no, bits},
        {"coded", image(8, 1, NUV_EncodeType::jpeg), appending<NUV_MirrorX>(), no,
         "NUV_ProcessLineToLineEngine::initiate()"},
        {"coded", image(8, 1, NUV_EncodeType::jpeg), appending<NUV_MirrorY>(), no,
         "NUV_ProcessPlaneToLineEngine::initiate()"},
        {"a bit", image(1), appending<NUV_MirrorX8xNBits>(), no, bytes},
        {"bytes", image(8), appending<NUV_MirrorX1Bit>(), no, bits},
        {"nothing", nothing, appending<NUV_MirrorX8xNBits>(), bad, "NUV_MirrorX8xNBits::engine()"},
        {"nothing", nothing, appending<NUV_MirrorX1Bit>(), bad, "NUV_MirrorX1Bit::engine()"},
    });
}

TEST(GeometryRefusal, OfCropping)
{
    constexpr auto lines = "NUV_CropHeightEngine::initiate()";
    constexpr auto columns = "NUV_CropWidthEngine::initiate()";
    constexpr auto in_runs = "NUV_CropQDRLEEngine::initiate()";
    const auto crop = [](std::uint32_t x, std::uint32_t y, std::uint32_t w, std::uint32_t h) {
        return appending<NUV_Crop>(x, y, w, h);
    };
    expect_refusals({
        {"below", image(8), crop(0, 5, 1, 1), bad, lines},
        {"no lines", image(8), crop(0, 0, 1, 0), bad, lines},
        {"right", image(8), crop(9, 0, 1, 5), bad, columns},
        {"far right", image(8), crop(0xFFFFFFFF, 0, 2, 5), bad, columns},
        {"no columns", image(8), crop(0, 0, 0, 5), bad, columns},
        {"4 bits", image(4), crop(0, 1, 9, 1), no, lines},
        {"4 bits", image(4), crop(2, 0, 2, 5), no, "NUV_CropWidth8xNBitsEngine::initiate()"},
        {"coded", image(8, 1, NUV_EncodeType::jpeg), crop(0, 1, 9, 1), no, lines},
        {"coded", image(8, 1, NUV_EncodeType::jpeg), crop(1, 0, 1, 5), no,
         "NUV_ProcessLineToLineEngine::initiate()"},
        {"right", runs(), crop(9, 0, 1, 1), bad, in_runs},
        {"below", runs(), crop(0, 5, 1, 1), bad, in_runs},
        {"no columns", runs(), crop(0, 0, 0, 1), bad, in_runs},
        {"no lines", runs(), crop(0, 0, 1, 0), bad, in_runs},
        {"two channels", runs(1, 2), crop(0, 0, 1, 1), no, in_runs},
        {"too wide", large_runs(0x0FFFFFFF, 1), crop(1, 0, 1, 1), no, in_runs},
        {"inside a byte", image(1), appending<NUV_CropWidth1BitBS>(3U, 4U), no,
         "NUV_CropWidth1BitBSEngine::initiate()"},
        {"on a byte", image(1), appending<NUV_CropWidth1BitIS>(8U, 1U), no,
         "NUV_CropWidth1BitISEngine::initiate()"},
        {"bits", image(1), appending<NUV_CropWidth8xNBits>(8U, 1U), no,
         "NUV_CropWidth8xNBitsEngine::initiate()"},
        {"nothing", nothing, appending<NUV_CropQDRLE>(0U, 0U, 1U, 1U), bad,
         "NUV_CropQDRLE::engine()"},
        {"nothing", nothing, appending<NUV_CropWidth8xNBits>(0U, 1U), bad,
         "NUV_CropWidth8xNBits::engine()"},
        {"nothing", nothing, appending<NUV_CropWidth1BitBS>(0U, 1U), bad,
         "NUV_CropWidth1BitBS::engine()"},
        {"nothing", nothing, appending<NUV_CropWidth1BitIS>(0U, 1U), bad,
         "NUV_CropWidth1BitIS::engine()"},
    });
}

TEST(GeometryRefusal, OfRotation)
{
    constexpr auto bits = "NUV_Rotate90_1Engine::initiate()";
    constexpr auto bytes = "NUV_Rotate90_8xNEngine::initiate()";
    constexpr auto in_runs = "NUV_Rotate90QDRLEEngine::initiate()";
    const NUV_TestImage hundred{.width = 5, .height = 100, .bits = 1};
    const NUV_TestImage padded{.width = 0x60000000, .height = 17, .bits = 1};
    expect_refusals({
        {"45 degrees", image(1), appending<NUV_Rotate90>(45), bad, bits},
        {"-1 degree", image(8), appending<NUV_Rotate90>(-1), bad, bytes},
        {"91 degrees", runs(), appending<NUV_Rotate90>(91), bad, in_runs},
        {"two channels", image(1, 2), appending<NUV_Rotate90>(90), no, bits},
        {"two channels", runs(1, 2), appending<NUV_Rotate90>(90), no, in_runs},
        {"4 bits", image(4), appending<NUV_Rotate90>(90), no, "NUV_Rotate90_8xN::engine()"},
        {"reals", floats, appending<NUV_Rotate90>(90), no, "NUV_Rotate90_8xN::engine()"},
        {"coded", image(8, 1, NUV_EncodeType::jpeg), appending<NUV_Rotate90>(90), no, bytes},
        {"coded", image(1, 1, NUV_EncodeType::mmr), appending<NUV_Rotate90>(90), no,
         "NUV_Rotate90::engine()"},
        {"too wide", large_runs(0x0FFFFFFF, 1), appending<NUV_Rotate90>(90), no, in_runs},
        {"too high", large_runs(1, 0x0FFFFFFF), appending<NUV_Rotate90>(90), no, in_runs},
        {"grows by its padding", padded, appending<NUV_Rotate90>(90), no, bits},
        {"no band", hundred, appending<NUV_Rotate90_1>(90, 0U), bad, bits},
        {"parts of bytes", hundred, appending<NUV_Rotate90_1>(90, 4U), bad, bits},
        {"parts of bytes", hundred, appending<NUV_Rotate90_1>(90, 63U), bad, bits},
        {"beyond the image", hundred, appending<NUV_Rotate90_1>(90, 101U), bad, bits},
        {"no band", image(8), appending<NUV_Rotate90_8xN>(90, 0U), bad, bytes},
        {"nothing", nothing, appending<NUV_Rotate90QDRLE>(0), bad, "NUV_Rotate90QDRLE::engine()"},
    });
}

TEST(GeometryRefusal, OfDecodingRuns)
{
    constexpr auto text = "NUV_DecodeQDRLEEngine::initiate()";
    expect_refusals({
        {"coded otherwise", image(1, 1, NUV_EncodeType::mh), appending<NUV_DecodeQDRLE>(), no,
         text},
        {"the other byte order", image(1, 1, NUV_EncodeType::qd_rle_be),
         appending<NUV_DecodeQDRLE>(), no, text},
        {"8 bits", runs(8), appending<NUV_DecodeQDRLE>(), no, text},
        {"two channels", runs(1, 2), appending<NUV_DecodeQDRLE>(), no, text},
        {"too wide", large_runs(0x0FFFFFFF, 1), appending<NUV_DecodeQDRLE>(), no, text},
        {"no known type", typeless_runs, appending<NUV_DecodeQDRLE>(), no, text},
    });
}

} // namespace
} // namespace nuv
