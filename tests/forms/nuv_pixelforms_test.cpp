#include "core/colormatrix/source/nuv_colormatrixkernels.h"
#include "core/dlut/source/nuv_dlutkernels.h"
#include "core/lut/source/nuv_lutkernels.h"
#include "core/mirror/source/nuv_mirrorx_kernels.h"
#include "core/rotate/source/nuv_rotate90_1_kernels.h"
#include "core/rotate/source/nuv_rotate90_8xn_kernels.h"
#include "tests/support/nuv_testforms.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

namespace nuv {
namespace {

using U8 = std::uint8_t;

TEST(PixelForms, Mirror)
{
    for (const std::size_t bytes : {1, 2, 3, 4, 6, 8}) {
        SCOPED_TRACE(bytes);
        expect_same_forms<U8>(
            MirrorRow{mirror_row_portable<0>},
            [&](const NUV_Cpu& cpu) { return choose_mirror_row(cpu, bytes); },
            [&](NUV_FormArguments& arguments) {
                const std::size_t width = arguments.length(100);
                const U8* in = arguments.input<U8>(width * bytes);
                return NUV_FormCall{width * bytes,
                                    [=](MirrorRow form, U8* out) { form(in, out, width, bytes); }};
            });
    }
}

TEST(PixelForms, Lut)
{
    using Form = LutRow<U8, U8>;
    for (std::size_t channels = 1; channels <= 5; ++channels) {
        SCOPED_TRACE(channels);
        expect_same_forms<U8>(
            Form{lut_row_portable<U8, U8>},
            [&](const NUV_Cpu& cpu) { return choose_lut_row<U8, U8>(cpu, channels); },
            [&](NUV_FormArguments& arguments) {
                const std::size_t pixels = arguments.length(200);
                const U8* in = arguments.input<U8>(pixels * channels);
                const U8* tables = arguments.input<U8>(256 * channels);
                return NUV_FormCall{pixels * channels, [=](Form form, U8* out) {
                                        form(in, out, pixels, channels, tables);
                                    }};
            });
    }
}

TEST(PixelForms, DLut)
{
    using Form = DLutRow<U8>;
    constexpr std::size_t points = 33;
    // Whatever the fractions are, forms must agree.
    std::vector<std::uint32_t> places(257);
    for (std::uint32_t v = 0; v < 256; ++v)
        places[v] = v / 8 << dlut_fraction_bits | (v * 2663 % 41 * 409);
    const auto samples = random_samples<U8>(points * points * points * 4, 1);
    for (const std::size_t outputs : {1, 3, 4}) {
        SCOPED_TRACE(outputs);
        const NUV_DLutGrid<U8> grid{
            samples.data(), places.data(), {points * points * 4, points * 4, 4, 0}, outputs};
        expect_same_forms<U8>(
            choose_dlut_row_portable<U8>(3),
            [&](const NUV_Cpu& cpu) {
                return choose_dlut_row<U8>(cpu, 3, static_cast<std::uint32_t>(outputs), points);
            },
            [&](NUV_FormArguments& arguments) {
                const std::size_t pixels = arguments.length(40);
                const U8* in = arguments.input<U8>(3 * pixels);
                return NUV_FormCall{outputs * pixels, [=, &grid](Form form, U8* out) {
                                        form(in, out, pixels, grid);
                                    }};
            });
    }
}

// Factors of any 16 bits, small ones, and zeros among them.
TEST(PixelForms, ColorMatrix)
{
    using Form = MatrixRow<U8, std::int32_t>;
    struct Shape {
        std::size_t rows, columns;
    };
    for (const Shape& shape : {Shape{1, 3}, {3, 3}, {3, 1}}) {
        const auto [rows, columns] = shape;
        constexpr std::int32_t small[9] = {};
        expect_same_forms<U8>(
            Form{matrix_row_portable<U8, std::int32_t, 0, 0>},
            [&](const NUV_Cpu& cpu) {
                return choose_matrix_row<U8, std::int32_t>(cpu, {small, small, rows, columns});
            },
            [&](NUV_FormArguments& arguments) {
                const std::size_t pixels = arguments.length(90);
                const U8* in = arguments.input<U8>(columns * pixels);
                auto* numbers = arguments.input<std::int32_t>(columns * rows + rows);
                for (std::size_t i = 0; i < columns * rows; ++i)
                    numbers[i] >>= arguments.one_of({16, 19, 31});
                for (std::size_t i = 0; i < rows; ++i)
                    numbers[columns * rows + i] >>= 10;
                const NUV_MatrixView<std::int32_t> matrix{numbers, numbers + columns * rows, rows,
                                                          columns};
                return NUV_FormCall{rows * pixels,
                                    [=](Form form, U8* out) { form(in, out, pixels, matrix); }};
            });
    }
}

TEST(PixelForms, RotateTile)
{
    for (const std::size_t bytes : {1, 3}) {
        const auto choose = [&](const NUV_Cpu& cpu) { return choose_rotate90tile(bytes, cpu); };
        const auto draw = [&](NUV_FormArguments& arguments) {
            const std::size_t width = 1 + arguments.length(49);
            const std::size_t rows = arguments.number(1, 40);
            const std::size_t out_step = rows * bytes + 20;
            const auto in_step = static_cast<std::ptrdiff_t>(width * bytes);
            const bool turned = arguments.number(0, 1) == 1;
            const U8* in = arguments.input<U8>(width * rows * bytes);
            return NUV_FormCall{out_step * width, [=](Rotate90TileForm form, U8* out) {
                                    const auto step = static_cast<std::ptrdiff_t>(out_step);
                                    form({.in = turned ? in + (rows - 1) * width * bytes : in,
                                          .out = turned ? out + (width - 1) * out_step : out,
                                          .in_step = turned ? -in_step : in_step,
                                          .out_step = turned ? -step : step,
                                          .width = static_cast<std::uint32_t>(width),
                                          .rows = static_cast<std::uint32_t>(rows)},
                                         bytes);
                                }};
        };
        expect_same_forms<U8>(choose({}), choose, draw, 4000);
    }
}

TEST(PixelForms, RotateBits)
{
    const auto draw = [](NUV_FormArguments& arguments) {
        const std::size_t width = 1 + arguments.length(399);
        const std::size_t count = arguments.number(1, 20);
        std::vector<Rotate90Group> groups(count);
        for (Rotate90Group& group : groups) {
            for (auto& row : group.rows)
                row = arguments.input<U8>((width + 7) / 8);
            group.column = 1 + static_cast<std::size_t>(&group - groups.data());
            group.joins = arguments.number(0, 1) == 0;
        }
        const std::size_t step = count + 2;
        const bool from_right = arguments.number(0, 1) == 0;
        return NUV_FormCall{step * width, [=](Rotate90Groups form, U8* out) {
                                const auto stride = static_cast<std::ptrdiff_t>(step);
                                form(groups, {.out = from_right ? out + (width - 1) * step : out,
                                              .out_step = from_right ? -stride : stride,
                                              .width = static_cast<std::uint32_t>(width)});
                            }};
    };
    expect_same_forms<U8>(Rotate90Groups{rotate90groups_portable}, choose_rotate90groups, draw,
                          800);
}

} // namespace
} // namespace nuv
