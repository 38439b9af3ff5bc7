#include "core/channel/source/nuv_interleave_kernels.h"
#include "core/channel/source/nuv_selectrow_kernels.h"
#include "core/colormatrix/source/nuv_colorplanes_kernels.h"
#include "core/convertdatatype/source/nuv_convertsample.h"
#include "core/dib/source/nuv_dibrow_kernels.h"
#include "core/dlut/source/nuv_dlut_kernels.h"
#include "core/include/nuv_mirrorrow_kernels.h"
#include "core/include/nuv_reversebits_kernels.h"
#include "core/lut/source/nuv_lineartable.h"
#include "core/lut/source/nuv_lut_kernels.h"
#include "core/rotate/source/nuv_rotate90_1_kernels.h"
#include "core/rotate/source/nuv_rotate90_8xn_kernels.h"
#include "core/tiff/source/nuv_chromaunits_kernels.h"
#include "tests/support/nuv_testforms.h"

namespace nuv {
namespace {

using U8 = std::uint8_t;
using U16 = std::uint16_t;

// What these give is compared with a model, at each level, among the operations.
TEST(PixelForms, MirrorRotateAndDLut)
{
    for (const std::size_t bytes : {1U, 2U, 3U, 6U})
        expect_chosen("PPAA", [=](auto& cpu) { return choose_mirror_row(cpu, bytes); });
    expect_chosen("PSSS", [](auto& cpu) { return choose_rotate90tile(cpu, 1); });
    expect_chosen("PSSS", [](auto& cpu) { return choose_rotate90tile(cpu, 2); });
    expect_chosen("PPAA", [](auto& cpu) { return choose_rotate90tile(cpu, 3); });
    expect_chosen("PSAA", choose_rotate90groups);
    for (const std::uint32_t outputs : {1U, 3U, 4U})
        expect_chosen("PPAA",
                      [=](auto& cpu) { return choose_dlut_row<U8>(cpu, 3, outputs, 35937); });
    expect_chosen("PPPP", [](auto& cpu) { return choose_dlut_row<U8>(cpu, 4, 4, 9); });
}

// Fractions of any kind, equal ones and whole ones among them.
TEST(PixelForms, DLutOf16Bits)
{
    for (const std::uint32_t outputs : {1U, 3U, 4U}) {
        const auto choose = [=](const NUV_Cpu& cpu) {
            return choose_dlut_row<U16>(cpu, 3, outputs, 27);
        };
        expect_same_forms<U16>(
            "PPAA", choose,
            [=](NUV_FormDraw& draw, auto compare) {
                const std::size_t pixels = draw.length(40);
                const U16* in = draw.input<U16>(3 * pixels);
                auto* samples = draw.input<U16>(std::size_t{27} * 4);
                samples[draw.number(0, 107)] = draw.one_of<U16>({0, 65535});
                auto* places = draw.input<std::uint32_t>(65537);
                for (std::size_t i = 0; i < 3 * pixels; ++i)
                    places[in[i]] =
                        static_cast<std::uint32_t>(draw.number(0, 1)) << dlut_fraction_bits |
                        draw.one_of({0U, 1U, dlut_half, dlut_one,
                                     static_cast<std::uint32_t>(draw.number(0, dlut_one))});
                const NUV_DLutGrid<U16> grid{samples, places, {36, 12, 4, 0}, outputs};
                compare(pixels * outputs,
                        [&](auto form, U16* out) { form(in, out, pixels, grid); });
            },
            300);
    }
}

TEST(PixelForms, ReverseBits)
{
    const auto draw_call = [](NUV_FormDraw& draw, auto compare) {
        const auto width = static_cast<std::uint32_t>(draw.length(1500));
        const U8* in = draw.input<U8>((width + 7) / 8);
        compare((width + 7) / 8, [&](auto form, U8* out) { form(in, out, width); });
    };
    expect_same_forms<U8>("PPAA", choose_reverse_bits, draw_call);
}

TEST(PixelForms, Lut)
{
    const auto compare_all = []<class O>(const char(&forms)[5], std::size_t channels, O) {
        const auto choose = [=](const NUV_Cpu& cpu) {
            return choose_lut_row<U8, O>(cpu, channels);
        };
        expect_same_forms<O>(forms, choose, [=](auto& draw, auto compare) {
            const std::size_t pixels = draw.length(200);
            const U8* in = draw.template input<U8>(pixels * channels);
            const O* tables = draw.template input<O>(256 * channels);
            compare(pixels * channels,
                    [&](auto form, O* out) { form(in, out, pixels, channels, tables); });
        });
    };
    compare_all("PPAV", 1, U8{});
    for (const std::size_t channels : {2U, 3U, 4U})
        compare_all("PPPV", channels, U8{});
    compare_all("PPPV", 1, U16{});
    expect_chosen("PPPP", [](auto& cpu) { return choose_lut_row<U8, U8>(cpu, 5); });
    expect_chosen("PPPP", [](auto& cpu) { return choose_lut_row<U16, U8>(cpu, 1); });
}

// Whatever the line, whether or not a table has it.
TEST(PixelForms, LinearTable)
{
    const auto compare_all = []<class I, class O>(const char(&forms)[5], I, O) {
        const auto choose = [](const NUV_Cpu& cpu) {
            const auto form = choose_linear_row<I, O>(cpu);
            return form ? form : linear_row_portable<I, O>;
        };
        expect_same_forms<O>(forms, choose, [](auto& draw, auto compare) {
            const std::size_t count = draw.length(100);
            const I* in = draw.template input<I>(count);
            const std::uint32_t* numbers = draw.template input<std::uint32_t>(4);
            NUV_LinearTable line{numbers[0] >> draw.number(0, 24), numbers[1] >> 1,
                                 numbers[2] | 1U << 31, numbers[3],
                                 static_cast<int>(draw.number(0, 24))};
            const std::uint32_t whole = numbers[1] << 16 >> draw.number(0, 8);
            if (draw.number(0, 2) == 0) // with little to add, as tables have it
                line = {numbers[0] >> 16, 0, ~whole, whole, line.shift};
            else if (draw.number(0, 1) == 0) // or to take away
                line = {numbers[0] >> 16, whole, ~0U, 0 - whole, line.shift};
            compare(count, [&](auto form, O* out) { form(in, out, count, line); });
        });
    };
    compare_all("PPAP", U8{}, U16{}); // the table is faster with AVX-512
    compare_all("PPAA", U16{}, U8{});

    // All entries are looked at, so that a line is that of the table.
    const auto finds = []<class I, class O>(I, O, double slope, double offset) {
        std::vector<O> entries(std::size_t{1} << (8 * sizeof(I)));
        convert_all([](std::size_t i) { return static_cast<I>(i); }, entries.data(), entries.size(),
                    {slope, offset});
        const bool found = find_linear_table<I>(entries.data(), slope, offset).has_value();
        ++entries[entries.size() / 3];
        EXPECT_FALSE(find_linear_table<I>(entries.data(), slope, offset));
        return found;
    };
    for (const double offset : {0.0, 100.0, -3.25, -70000.0, 20000.0}) {
        for (const double slope : {1.5, 16.0, 100.3, 256.0, 257.0})
            EXPECT_TRUE(finds(U8{}, U16{}, slope, offset)) << slope << ", " << offset;
        for (const double slope : {0.5, 1 / 16.0, 1 / 256.0, 1 / 257.0})
            EXPECT_TRUE(finds(U16{}, U8{}, slope, offset)) << slope << ", " << offset;
    }
    for (const double slope : {1e300, 1e-300, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_FALSE(finds(U8{}, U16{}, slope, 1)) << slope;
}

// Factors of any 16 bits, small ones, and zeros among them.
TEST(PixelForms, ColorMatrix)
{
    using Matrix = NUV_MatrixView<std::int32_t>;
    const auto choose = [](const Matrix& matrix) {
        return [=](const NUV_Cpu& cpu) { return choose_matrix_row<U8>(cpu, matrix); };
    };
    constexpr std::int32_t extremes[] = {-32768, 0, 32767, 0, 0, 0, 0, 0, 0, 0, 32768, 0};
    for (const std::size_t rows : {1U, 3U}) {
        for (std::size_t columns = 4 - rows; columns <= 3; columns += 2) {
            const std::size_t count = rows * columns;
            const auto& forms = rows == 3 && columns == 3 ? "PPAV" : "PPAA";
            expect_same_forms<U8>(
                forms, choose({extremes, extremes, rows, columns}),
                [&](NUV_FormDraw& draw, auto compare) {
                    const std::size_t pixels = draw.length(90);
                    const U8* in = draw.input<U8>(columns * pixels);
                    auto* numbers = draw.input<std::int32_t>(count + rows);
                    for (std::size_t i = 0; i < count + rows; ++i)
                        numbers[i] >>= i < count ? draw.one_of({16, 19, 31}) : 10;
                    if (draw.number(0, 3) == 0) { // what repeats gray
                        std::fill_n(numbers, count, NUV_FixedReal::one);
                        std::fill_n(numbers + count, rows, draw.one_of({0, 5000}));
                    }
                    const Matrix matrix{numbers, numbers + count, rows, columns};
                    compare(rows * pixels,
                            [&](auto form, U8* out) { form(in, out, pixels, matrix); });
                });
        }
    }
    expect_chosen("PPPP", choose({extremes + 9, extremes, 1, 3}));
    expect_chosen("PPPP", choose({extremes, extremes, 2, 2}));
}

// Factors of any 16 bits, and offsets that are more than a sample can be.
TEST(PixelForms, ColorMatrixOfPlanes)
{
    using Matrix = NUV_MatrixView<std::int32_t>;
    constexpr auto one = NUV_FixedReal::one;
    std::int32_t factors[] = {one, 0, 5743, one, -1409, -2925, one, 7258, 0};
    const auto choose = [&](const NUV_Cpu& cpu) {
        return choose_matrix_planes(cpu, {factors, factors, 3, 3});
    };
    expect_same_forms<U8>("PPAV", choose, [](NUV_FormDraw& draw, auto compare) {
        const std::size_t pixels = draw.length(200);
        const U8* in = draw.input<U8>(3 * pixels);
        auto* numbers = draw.input<std::int32_t>(12);
        for (std::size_t i = 0; i < 12; ++i)
            numbers[i] >>= i < 9 ? draw.one_of({16, 18, 31}) : draw.one_of({1, 10});
        numbers[0] = numbers[3] = numbers[6] = one;
        const Matrix matrix{numbers, numbers + 9, 3, 3};
        compare(3 * pixels, [&](auto form, U8* out) { form(in, out, pixels, matrix); });
    });
    for (std::size_t i = 0; i < 9; ++i) { // none of them may be so
        const std::int32_t more = i % 3 == 0 ? 1 : 65536;
        factors[i] += more;
        expect_chosen("PPPP", choose);
        factors[i] -= more;
    }
}

// Sums at and beyond both limits, at halves, and what is not a number.
TEST(PixelForms, ColorMatrixOfDoubles)
{
    using Matrix = NUV_MatrixView<double>;
    const auto compare_shape = [](std::size_t rows, std::size_t columns) {
        const auto choose = [=](const NUV_Cpu& cpu) {
            return choose_matrix_row<U16>(cpu, Matrix{nullptr, nullptr, rows, columns});
        };
        expect_same_forms<U16>("PPAV", choose, [=](NUV_FormDraw& draw, auto compare) {
            const std::size_t pixels = draw.length(40);
            const U16* in = draw.input<U16>(columns * pixels);
            double numbers[12];
            for (double& number : numbers)
                number = draw.one_of({0.299, -0.5, 0.0, 1.0, 1.402, -70000.5, 65535.0, 1e-9, 1e300,
                                      std::numeric_limits<double>::quiet_NaN()});
            const Matrix matrix{numbers, numbers + 9, rows, columns};
            compare(rows * pixels, [&](auto form, U16* out) { form(in, out, pixels, matrix); });
        });
    };
    compare_shape(3, 3);
    compare_shape(3, 1);
    compare_shape(1, 3);
}

TEST(PixelForms, BitmapRows)
{
    const auto compare_all = [](const char(&forms)[5], std::uint32_t depth,
                                std::uint32_t sample_bits, const NUV_BitFields& given = {}) {
        expect_same_forms<U8>(
            forms,
            [&](const NUV_Cpu& cpu) { return choose_dib_row(cpu, depth, sample_bits, given); },
            [&](NUV_FormDraw& draw, auto compare) {
                const std::size_t pixels = draw.length(70);
                const U8* in = draw.input<U8>(pixels * depth / 8);
                NUV_BitFields fields = given;
                for (std::size_t c = 0; c < 3 && depth == 16; ++c) {
                    fields.masks[c] = *draw.input<U16>(1);
                    fields.right[c] = static_cast<std::uint32_t>(draw.number(0, 15));
                    fields.left[c] = static_cast<std::uint32_t>(draw.number(0, 3));
                }
                compare(3 * pixels, [&](auto form, U8* out) { form(in, out, pixels, fields); });
            });
    };
    compare_all("PPAA", 16, 8);
    compare_all("PPAA", 24, 8);
    compare_all("PPAA", 32, 8, {{0xFF0000, 0xFF00, 0xFF}, {16, 8, 0}, {}});
    compare_all("PPAA", 32, 8, {{0xFF, 0, 0xFF000000}, {0, 0, 24}, {}});
    expect_chosen("PPPP", [](auto& cpu) {
        return choose_dib_row(cpu, 32, 8, {{0xFF00, 0x7E0000, 0x1F}, {8, 17, 0}, {}});
    });
}

TEST(PixelForms, PlanesAndChromaUnits)
{
    const auto compare_planes = []<class T>(T) {
        expect_same_forms<T>("PPAA", choose_interleave_triples<T>, [](auto& draw, auto compare) {
            const std::size_t pixels = draw.length(100);
            const T* planes[] = {draw.template input<T>(pixels), draw.template input<T>(pixels),
                                 draw.template input<T>(pixels)};
            compare(3 * pixels,
                    [&](auto form, T* out) { form(planes[0], planes[1], planes[2], out, pixels); });
        });
        const auto choose = [](const auto& cpu) {
            return choose_select_row(cpu, 3 * sizeof(T), sizeof(T));
        };
        expect_same_forms<U8>("PPAA", choose, [](auto& draw, auto compare) {
            const std::size_t pixels = draw.length(100);
            const U8* in = draw.template input<U8>(3 * sizeof(T) * pixels);
            const std::size_t first = draw.number(0, 2) * sizeof(T);
            compare(pixels * sizeof(T), [&](auto form, U8* out) {
                form(in + first, out, pixels, 3 * sizeof(T), sizeof(T));
            });
        });
    };
    compare_planes(U8{});
    compare_planes(U16{});
    expect_chosen("PPPP", [](auto& cpu) { return choose_select_row(cpu, 4, 1); });
    const auto compare_units = [](auto choose, std::size_t across, std::size_t down) {
        expect_same_forms<U8>("PPAA", choose, [=](NUV_FormDraw& draw, auto compare) {
            const std::size_t pixels = draw.length(60);
            const std::size_t units = (pixels + across - 1) / across;
            const U8* in = draw.input<U8>(units * (across * down + 2));
            const std::size_t row = draw.number(0, down - 1);
            compare(3 * pixels, [&](auto form, U8* out) { form(in, out, pixels, row); });
        });
    };
    compare_units(choose_expand_chroma_units<2, 1>, 2, 1);
    compare_units(choose_expand_chroma_units<2, 2>, 2, 2);
    compare_units(choose_expand_chroma_units<4, 1>, 4, 1);
}

} // namespace
} // namespace nuv
