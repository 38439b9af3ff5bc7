#include "core/scale/nuv_scalecc.h"
#include "core/scale/nuv_scaleiar.h"
#include "core/scale/nuv_scaleire.h"
#include "core/scale/nuv_scaleli.h"
#include "core/scale/nuv_scalenn.h"
#include "core/scale/nuv_scalennqdrle.h"
#include "core/scale/nuv_scalepp.h"
#include "core/scale/nuv_scaless.h"
#include "tests/support/nuv_refusals.h"

#include <gtest/gtest.h>

namespace nuv {
namespace {

constexpr auto bad = NUV_ERR_ARGUMENT;
constexpr auto no = NUV_ERR_UNSUPPORTED;

const NUV_TestImage gray{.width = 10, .height = 10};
const NUV_TestImage rgb{.width = 10, .height = 10, .channels = 3};
const NUV_TestImage bits{.width = 10, .height = 10, .bits = 1};
const NUV_TestImage rgb_bits{.width = 10, .height = 10, .channels = 3, .bits = 1};
const NUV_TestImage palette{.width = 10, .height = 10, .palette = true};
const NUV_TestImage coded{.width = 10, .height = 10, .encode_type = NUV_EncodeType::jpeg};
const NUV_TestImage floats{
    .width = 10, .height = 10, .bits = 32, .data_type = NUV_DataType::floating};
const NUV_TestImage negative{.width = 10, .height = 10, .data_type = NUV_DataType::s_integer};
const NUV_TestImage runs{
    .width = 10, .height = 10, .bits = 1, .encode_type = NUV_EncodeType::qd_rle};
const NUV_TestImage wide_runs{
    .width = 0x0FFFFFFF, .height = 10, .bits = 1, .encode_type = NUV_EncodeType::qd_rle};
const NUV_TestImage long_line{.width = 524288, .height = 1};
constexpr std::uint32_t huge = 0xFFFFFFFF;

TEST(ScaleRefusal, OfArguments)
{
    expect_refusals({
        {"0", gray, appending<NUV_ScaleNN>(0U, 5U), bad, "NUV_ScaleNN::engine()"},
        {"0", gray, appending<NUV_ScaleLI>(5U, 0U), bad, "NUV_ScaleUsingFixedReal::engine()"},
        {"0", gray, appending<NUV_ScaleCC>(0U, 0U, true), bad, "NUV_ScaleCC::engine()"},
        {"0", runs, appending<NUV_ScaleNNQDRLE>(0U, 1U), bad, "NUV_ScaleNNQDRLE::engine()"},
        {"0", gray, appending<NUV_ScalePP>(0U, 1U, true), bad, "NUV_ScalePP::engine()"},
        {"0", gray, appending<NUV_ScaleWidthIRE>(0U), bad, "NUV_ScaleWidthIRE::engine()"},
        {"0", gray, appending<NUV_ScaleHeightIRE>(0U), bad, "NUV_ScaleHeightIRE::engine()"},
        {"step 0, coded", coded, appending<NUV_ScaleSS>(0U, 1U, 0U, 0U), bad,
         "NUV_ScaleSSEngine::initiate()"},
        {"offset outside", gray, appending<NUV_ScaleSS>(2U, 2U, 0U, 10U), bad,
         "NUV_ScaleSSEngine::initiate()"},
        {"shrink that grows", gray, appending<NUV_ScaleShrinkNN>(5U, 11U), bad,
         "NUV_ScaleShrinkNNEngine::initiate()"},
        {"shrink that grows", gray, appending<NUV_ScaleShrinkLI>(11U, 5U, true), bad,
         "NUV_ScaleShrinkLIEngine::initiate()"},
        {"mean over parts", gray, appending<NUV_ScaleWidthIAR>(3U), bad,
         "NUV_ScaleWidthIAREngine::initiate()"},
        {"mean over parts", gray, appending<NUV_ScaleHeightIAR>(20U), bad,
         "NUV_ScaleHeightIAREngine::initiate()"},
        {"enlarging to less", gray, appending<NUV_ScaleWidthPPE>(3U, true), bad,
         "NUV_ScaleWidthPPEEngine::initiate()"},
        {"reducing to more", gray, appending<NUV_ScaleHeightPPR>(13U, true), bad,
         "NUV_ScaleHeightPPREngine::initiate()"},
    });
}

TEST(ScaleRefusal, OfSizes)
{
    expect_refusals({
        {"line", rgb, appending<NUV_ScaleNN>(0x5FFFFFFFU, 10U), no,
         "NUV_ScaleWidthNNEngine::initiate()"},
        {"line", rgb, appending<NUV_ScaleLI>(huge, 10U), no, "NUV_ScaleWidthLIEngine::initiate()"},
        {"line", rgb, appending<NUV_ScaleCC>(huge, 10U), no, "NUV_ScaleWidthCCEngine::initiate()"},
        {"line", rgb, appending<NUV_ScalePP>(huge, 10U), no, "NUV_ScaleWidthPPEEngine::initiate()"},
        {"line by a whole factor", rgb, appending<NUV_ScaleNN>(0x30000000U * 5, 10U), no,
         "NUV_ScaleWidthIRE8xNBitsEngine::initiate()"},
        {"block", rgb, appending<NUV_ScaleHeightIRE>(huge), no,
         "NUV_ScaleHeightIREEngine::initiate()"},
        {"runs", runs, appending<NUV_ScaleNN>(0x20000000U, 10U), no,
         "NUV_ScaleWidthQDRLEEngine::initiate()"},
        {"from runs", wide_runs, appending<NUV_ScaleNN>(5U, 12U), no,
         "NUV_ScaleWidthQDRLEEngine::initiate()"},
        {"from runs", wide_runs, appending<NUV_ScaleNN>(5U, 4U), no,
         "NUV_ScaleHeightNNQDRLEEngine::initiate()"},
        // The fixed-point tables have 19 bits for the sample.
        {"table", long_line, appending<NUV_ScaleCC>(300U, 1U), no,
         "NUV_ScaleWidthCCEngine::initiate()"},
        {"table", long_line, appending<NUV_ScaleLI>(300U, 1U), no,
         "NUV_ScaleWidthLIEngine::initiate()"},
    });
}

TEST(ScaleRefusal, OfSamples)
{
    expect_refusals({
        {"coded", coded, appending<NUV_ScaleSS>(2U, 2U, 0U, 0U), no,
         "NUV_ScaleSSEngine::initiate()"},
        {"palette", palette, appending<NUV_ScaleLI>(4U, 4U), no,
         "NUV_ScaleShrinkLIEngine::initiate()"},
        {"palette", palette, appending<NUV_ScaleLI>(14U, 10U), no,
         "NUV_ScaleWidthLIEngine::initiate()"},
        {"palette", palette, appending<NUV_ScaleCC>(10U, 4U), no,
         "NUV_ScaleHeightCCEngine::initiate()"},
        {"palette", palette, appending<NUV_ScalePP>(14U, 10U), no,
         "NUV_ScaleWidthPPEngine::initiate()"},
        {"palette", palette, appending<NUV_ScaleIAR>(5U, 5U), no,
         "NUV_ScaleHeightIAREngine::initiate()"},
        {"bits", bits, appending<NUV_ScaleLI>(14U, 10U), no, "NUV_ScaleWidthLI::engine()"},
        {"bits", bits, appending<NUV_ScaleLI>(10U, 4U), no, "NUV_ScaleHeightLI::engine()"},
        {"bits", bits, appending<NUV_ScaleLI>(4U, 4U), no, "NUV_ScaleShrinkLI::engine()"},
        {"bits", bits, appending<NUV_ScaleCC>(14U, 4U), no, "NUV_ScaleHeightCC::engine()"},
        {"bits", bits, appending<NUV_ScaleSS>(2U, 2U, 0U, 0U), no, "NUV_ScaleSS::engine()"},
        {"colours of bits", rgb_bits, appending<NUV_ScaleNN>(14U, 10U), no,
         "NUV_ScaleWidthNNEngine::initiate()"},
        {"colours of bits", rgb_bits, appending<NUV_ScaleNN>(20U, 10U), no,
         "NUV_ScaleWidthIRE1BitEngine::initiate()"},
        {"colours of bits", rgb_bits, appending<NUV_ScaleNN>(4U, 4U), no,
         "NUV_ScaleShrinkNNEngine::initiate()"},
        {"reals", floats, appending<NUV_ScaleNN>(4U, 4U), no, "NUV_ScaleShrinkNN::engine()"},
        {"reals", floats, appending<NUV_ScaleNN>(10U, 14U), no,
         "NUV_ScaleHeightNNEngine::initiate()"},
        {"reals", floats, appending<NUV_ScaleNN>(20U, 10U), no,
         "NUV_ScaleWidthIRE8xNBits::engine()"},
        {"signed", negative, appending<NUV_ScalePP>(14U, 10U), no, "NUV_ScaleWidthPPE::engine()"},
        {"signed", negative, appending<NUV_ScalePP>(10U, 4U), no, "NUV_ScaleHeightPPR::engine()"},
        {"signed", negative, appending<NUV_ScalePP>(5U, 10U), no, "NUV_ScaleWidthIAR::engine()"},
        {"raw as runs", bits, appending<NUV_ScaleHeightNNQDRLE>(4U), no,
         "NUV_ScaleHeightNNQDRLEEngine::initiate()"},
        {"runs", runs, appending<NUV_ScaleCC>(4U, 4U), no, "NUV_ScaleHeightCC::engine()"},
    });
}

} // namespace
} // namespace nuv
