#include "core/colormatrix/source/nuv_colormatrixkernels.h"
#include "core/dlut/source/nuv_dlutkernels.h"
#include "core/jpeg/kernels/nuv_jpegprimitives.h"
#include "core/jpeg/kernels/nuv_jpegsamples.h"
#include "core/lut/source/nuv_lutkernels.h"
#include "core/mirror/source/nuv_mirrorx_kernels.h"
#include "core/rotate/source/nuv_rotate90_1_kernels.h"
#include "core/rotate/source/nuv_rotate90_8xn_kernels.h"
#include "core/scale/kernels/nuv_linekernels.h"
#include "core/scale/kernels/nuv_ppkernels.h"
#include "core/scale/kernels/nuv_tapkernels.h"
#include "extension/scalei2utility/nuv_scalei2kernels.h"
#include "tests/support/nuv_testforms.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace nuv {
namespace {

using U8 = std::uint8_t;
using U16 = std::uint16_t;

// No form may reach a processor below its level, and none may be forgotten.
TEST(ChosenForms, OfPixels)
{
    expect_chosen("lut, 1", "PPAV", [](auto& cpu) { return choose_lut_row<U8, U8>(cpu, 1); });
    expect_chosen("lut, 4", "PPPV", [](auto& cpu) { return choose_lut_row<U8, U8>(cpu, 4); });
    expect_chosen("lut, 5", "PPPP", [](auto& cpu) { return choose_lut_row<U8, U8>(cpu, 5); });
    expect_chosen("lut, 16", "PPPP", [](auto& cpu) { return choose_lut_row<U16, U8>(cpu, 1); });
    expect_chosen("dlut", "PPAA", [](auto& cpu) { return choose_dlut_row<U8>(cpu, 3, 4, 9); });
    expect_chosen("dlut, 4", "PPPP", [](auto& cpu) { return choose_dlut_row<U8>(cpu, 4, 4, 9); });
    constexpr std::int32_t factors[] = {1, 2, 32767, 4, 5, 32768, 7, 8, 9};
    const auto matrix = [&](std::size_t first, std::size_t rows, std::size_t columns) {
        return [=](const NUV_Cpu& cpu) {
            return choose_matrix_row<U8, std::int32_t>(cpu,
                                                       {factors + first, nullptr, rows, columns});
        };
    };
    expect_chosen("matrix 1 x 3", "PPAA", matrix(0, 1, 3));
    expect_chosen("matrix 3 x 1", "PPAA", matrix(2, 3, 1));
    expect_chosen("matrix of large factors", "PPPP", matrix(3, 1, 3));
    expect_chosen("matrix 2 x 2", "PPPP", matrix(0, 2, 2));
    for (const std::size_t bytes : {1, 2, 3, 6})
        expect_chosen("mirror", "PPAA", [&](auto& cpu) { return choose_mirror_row(cpu, bytes); });
    expect_chosen("rotated bits", "PSAA", choose_rotate90groups);
}

} // namespace
} // namespace nuv
