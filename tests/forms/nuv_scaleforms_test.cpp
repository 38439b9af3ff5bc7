#include "core/scale/kernels/nuv_cubicweights.h"
#include "core/scale/kernels/nuv_nearestbits_kernels.h"
#include "core/scale/kernels/nuv_pixelwindows_kernels.h"
#include "core/scale/kernels/nuv_scalelines_kernels.h"
#include "core/scale/kernels/nuv_scalepp_kernels.h"
#include "core/scale/kernels/nuv_scaleshrinkli_kernels.h"
#include "core/scale/kernels/nuv_tapwindows.h"
#include "extension/scalei2utility/nuv_scalei2_kernels.h"
#include "tests/support/nuv_testforms.h"

#include <initializer_list>

namespace nuv {
namespace {

using U8 = std::uint8_t;
using U16 = std::uint16_t;

// Weights that put many sums on a half, but for what is lost in adding up a position.
double draw_fraction(NUV_FormDraw& draw)
{
    const double lost =
        draw.one_of({0.0, -6e-17, 1e-13, -1e-13, 1e-11, -1e-11, 3e-10, -1e-7, 3e-6});
    return lost + draw.one_of({0.0, 0.37, 0.25, 0.75, 1.0 / 6, 0.5, 0.9, 131.0 / 256, 1.0});
}

// Those whose output goes past the caches.
template <class Choose>
auto far_forms(Choose choose)
{
    return [=](const NUV_Cpu& cpu) { return far_form(choose(cpu)); };
}

template <class Choose>
void expect_same_blends(Choose choose)
{
    expect_same_forms<U16>("PPAV", choose, [](NUV_FormDraw& draw, auto compare) {
        const std::size_t count = draw.length(100);
        const double weight = draw_fraction(draw);
        U16* lines[] = {draw.input<U16>(count), draw.input<U16>(count)};
        const std::size_t most_apart = draw.one_of<std::size_t>({4, 60, 65535});
        for (std::size_t i = 0; i < count; ++i)
            lines[1][i] =
                static_cast<U16>(lines[0][i] + draw.number(0, 2 * most_apart) - most_apart);
        compare(count, [&](auto form, U16* out) { form(lines[0], lines[1], out, count, weight); });
    });
}

TEST(ScaleForms, BlendLines)
{
    expect_same_blends(choose_blend_lines<U16, double>);
    expect_same_blends(far_forms(choose_blend_lines<U16, double>));
}

// What these give is compared with a model, at each level, among the operations.
TEST(ScaleForms, BlendBytesAndReduceAreaRow)
{
    expect_chosen("PPAA", choose_blend_lines<U8, std::int32_t>);
    expect_chosen("PPAA", choose_blend_lines<U16, std::int32_t>);
    for (const std::uint32_t channels : {3U, 4U}) {
        for (const bool has_small_sums : {false, true})
            expect_chosen(has_small_sums ? "PPAA" : "PPPP", [=](const NUV_Cpu& cpu) {
                return choose_reduce_area_row<U8>(cpu, channels, has_small_sums);
            });
    }
}

// Ratios that put many means on a half are among them, and those of which all lie between.
template <class T, class Sum>
void expect_same_area_lines()
{
    const auto choose = choose_reduce_area_lines<T, Sum>;
    expect_same_forms<T>("PPAA", choose, [](NUV_FormDraw& draw, auto compare) {
        const std::size_t count = draw.length(100) * draw.one_of<std::size_t>({1, 1, 20});
        const std::size_t lines = draw.number(0, 3);
        const double share = draw.one_of({0.5, 1.0, draw_fraction(draw)});
        const double rest = draw.one_of({0.0, 0.5, 1.0, 1 - share});
        const double ratio = share + static_cast<double>(lines) + rest;
        const T* ends[] = {draw.input<T>(count), draw.input<T>(count)};
        std::vector<Sum> sums(count);
        for (Sum& sum : sums)
            sum = static_cast<Sum>(draw.number(0, lines * std::numeric_limits<T>::max()));
        const double inverse = 1 / std::max(ratio, 1.0);
        compare(count, [&](auto form, T* out) {
            form(ends[0], sums.data(), ends[1], out, count, {0, share, rest}, inverse);
        });
    });
}

TEST(ScaleForms, ReduceAreaLines)
{
    expect_same_area_lines<U8, std::int16_t>();
    expect_same_area_lines<U8, std::int32_t>();
    expect_same_area_lines<U16, std::int32_t>();
}

TEST(ScaleForms, MoveBits)
{
    struct Kind {
        char forms[5];          // those that a line of least_bytes gets for chosen_step
        std::uint32_t steps[2]; // that they are drawn with, from and to
        std::uint32_t chosen_step;
        std::size_t least_bytes;
        bool has_fast_pext; // wherever there is AVX2
    };
    // clang-format off
    constexpr Kind kinds[] = {
        {"PPAV", {0, 8},   8, 64, true},
        {"PPAA", {0, 8},   8, 63, false},
        {"PPAA", {0, 8},   0, 16, true},
        {"PPPP", {0, 8},   8, 15, false},
        {"PPPP", {0, 9},   9, 72, false},
        {"PPAA", {1, 3},   1, 63, true},
        {"PPAA", {1, 150}, 9, 72, true},
    };
    // clang-format on
    for (const Kind& kind : kinds) {
        if (kind.has_fast_pext && !NUV_Cpu::current().has_fast_pext)
            continue;
        const auto draw_call = [&](NUV_FormDraw& draw, auto compare) {
            std::vector<std::uint32_t> pixels(1 + draw.length(300));
            auto pixel = static_cast<std::uint32_t>(draw.number(0, 70));
            const std::size_t shorter = draw.one_of<std::size_t>({0, 60}); // one in so many
            for (std::uint32_t& next : pixels) {
                next = pixel;
                const bool is_long = draw.number(0, shorter) != 0;
                pixel += static_cast<std::uint32_t>(
                    is_long ? kind.steps[1] : draw.number(kind.steps[0], kind.steps[1]));
            }
            NUV_NearestBits bits{
                .pixels = pixels,
                .windows = {},
                .masks = {},
                .out_pixels = pixels.size(),
                .in_bytes = std::max<std::size_t>(kind.least_bytes, pixels.back() / 8 + 1)};
            const U8* in = draw.input<U8>(bits.in_bytes);
            compare((pixels.size() + 7) / 8, [&](auto form, U8* out) {
                std::vector<NUV_NearestBits::Window> windows(
                    count_bit_windows(form, pixels.size()));
                std::vector<std::uint64_t> masks(count_bit_masks(form, bits.in_bytes));
                if (!windows.empty())
                    set_bit_windows(form, pixels, bits.in_bytes, windows);
                if (!masks.empty())
                    set_bit_masks(pixels, masks);
                bits.windows = windows;
                bits.masks = masks;
                form(bits, in, out);
            });
        };
        std::vector<std::uint32_t> chosen;
        for (std::uint32_t pixel = 0; chosen.size() < 64 && pixel < kind.least_bytes * 8;
             pixel += kind.chosen_step)
            chosen.push_back(pixel);
        const auto choose = [&](NUV_Cpu cpu) {
            cpu.has_fast_pext = cpu.has_avx2 && kind.has_fast_pext;
            return choose_move_bits(cpu, chosen, kind.least_bytes);
        };
        expect_same_forms<U8>(kind.forms, choose, draw_call);
    }
}

template <class T, class Weight>
auto combine_lines_chosen(bool narrow)
{
    return [=](const NUV_Cpu& cpu) { return choose_combine_lines<T, Weight>(cpu, narrow); };
}

// Half of the samples are ends of the range, so that sums leave it on both sides.
template <class T, RealNumber R, class Choose>
void expect_same_combinations(const char (&forms)[5], Choose choose)
{
    expect_same_forms<T>(forms, choose, [](NUV_FormDraw& draw, auto compare) {
        const std::size_t count = draw.length(100) * draw.one_of<std::size_t>({1, 1, 20});
        const T* lines[4] = {};
        for (const T*& line : lines) {
            T* samples = draw.input<T>(count);
            for (std::size_t i = draw.number(0, 3); i < count; i += 2)
                samples[i] = draw.one_of({std::numeric_limits<T>::max(), T{0}});
            line = samples;
        }
        const auto weights = cubic_weights<R>(draw_fraction(draw), draw.one_of({-1, -1, -4, 4}));
        const auto limits = NUV_SampleLimits<T>::of_bits(draw.one_of<U16>({0, 6}));
        compare(count, [&](auto form, T* out) { form(lines, out, count, weights, limits); });
    });
}

TEST(ScaleForms, CombineLines)
{
    expect_same_combinations<U8, NUV_FixedReal>("PPAA",
                                                combine_lines_chosen<U8, std::int32_t>(true));
    expect_same_combinations<U16, NUV_FixedReal>("PPAA",
                                                 combine_lines_chosen<U16, std::int32_t>(true));
    const auto reals = combine_lines_chosen<U16, double>(true);
    expect_same_combinations<U16, double>("PPAV", reals);
    expect_same_combinations<U16, double>("PPAV", far_forms(reals));
    expect_chosen("PPPP", combine_lines_chosen<U8, std::int32_t>(false));
    expect_chosen("PPAV", combine_lines_chosen<U16, double>(false));
}

// Tables of the packed forms, in turns.
struct PackedTaps {
    std::vector<std::uint32_t> offsets;
    std::vector<std::int32_t> pairs[2];

    void push(std::size_t offset, const std::int32_t (&weights)[4])
    {
        offsets.push_back(static_cast<std::uint32_t>(offset));
        for (std::size_t i = 0; i < 4; i += 2)
            pairs[i / 2].push_back((weights[i] & 0xFFFF) | weights[i + 1] * 65536);
    }
    [[nodiscard]] NUV_PackedTaps taps() const
    {
        return {offsets.data(), pairs[0].data(), pairs[1].data()};
    }
};

template <class Taps>
std::vector<NUV_TapWindow<Taps>> tap_windows(const std::vector<Taps>& taps, std::size_t channels)
{
    std::vector<NUV_TapWindow<Taps>> windows;
    for (std::size_t i = 0; i < taps.size() * channels; i += windows.back().samples) {
        const auto samples = count_window_samples<Taps>(taps, channels, i);
        EXPECT_TRUE(make_tap_window<Taps>(taps, channels, i, samples, windows.emplace_back()));
    }
    return windows;
}

// The pixels of a row begin anywhere on a line of 300 samples, often at its end, or near each
// other; in some all samples are as close as what double precision loses. The table has all
// layouts.
template <class T, class Taps, class R>
void expect_same_rows(const char (&far)[5], const char (&forms)[5],
                      std::initializer_list<std::uint32_t> served, T maximum)
{
    constexpr bool is_real = std::is_same_v<R, double>;
    const auto weight_of = [](double t) {
        return static_cast<ScaleWeight<R>>(is_real ? t : std::round(t * 4096));
    };
    for (const std::uint32_t channels : served) {
        const auto choose = [=](bool narrow) {
            return [=](const NUV_Cpu& cpu) {
                return choose_convolve_row<T, Taps>(cpu, channels, narrow).convolve;
            };
        };
        expect_chosen(far, choose(false));
        expect_same_forms<T>(forms, choose(true), [&](NUV_FormDraw& draw, auto compare) {
            const std::size_t pixels = draw.length(40) * draw.one_of<std::size_t>({1, 1, 30});
            T* line = draw.input<T>(300 + packed_taps_slack_bytes / sizeof(T));
            const unsigned most_apart = draw.one_of({7U, 65535U});
            for (std::size_t i = 0; i < 300; ++i)
                line[i] = static_cast<T>(line[i] & most_apart);
            std::vector<Taps> taps(pixels);
            PackedTaps packed;
            const std::size_t last = 300 / channels - 4;
            const std::size_t nearest = draw.one_of({std::size_t{0}, draw.number(0, last)});
            const double a = draw.one_of({-1, -4});
            const bool ties = draw.number(0, 1) == 0;
            for (std::size_t k = 0; k < pixels; ++k) {
                const std::size_t farthest =
                    nearest != 0 ? std::min(last, nearest + k * 6 / 5) : last;
                taps[k].offset =
                    channels *
                    draw.one_of({farthest, nearest != 0 ? farthest : draw.number(0, last)});
                const double drawn =
                    ties ? draw_fraction(draw) : static_cast<double>(draw.number(0, 99)) / 100;
                const double t = std::clamp(drawn, -1e-11, 1 + 1e-11);
                auto weights = cubic_weights<R>(t, a);
                if constexpr (requires { taps[k].second; }) {
                    weights = {{weight_of(1 - t), weight_of(t), 0, 0}};
                    if (a == -1)
                        std::swap(weights.tap[0], weights.tap[1]);
                    taps[k] = {taps[k].offset, weights.tap[0], weights.tap[1]};
                } else {
                    std::copy_n(weights.tap, 4, taps[k].weight);
                }
                if constexpr (!is_real)
                    packed.push(taps[k].offset, weights.tap);
            }
            NUV_TapTable<Taps> table{taps.data(), packed.taps()};
            std::vector<NUV_TapWindow<Taps>> windows;
            if constexpr (is_real)
                windows = tap_windows(taps, channels);
            table.windows = windows.data();
            table.window_count = windows.size();
            compare(pixels * channels, [&](auto form, T* out) {
                form(line, table, out, pixels, channels, {0, maximum});
            });
        });
    }
}

TEST(ScaleForms, ConvolveRow)
{
    using Fixed = NUV_FixedReal;
    expect_same_rows<U8, NUV_CubicTaps<std::int32_t>, Fixed>("PPPP", "PPAA", {1, 3, 4}, 63);
    expect_same_rows<U8, NUV_LinearTaps<std::int32_t>, Fixed>("PPPP", "PPAA", {1, 3, 4}, 255);
    expect_same_rows<U16, NUV_CubicTaps<std::int32_t>, Fixed>("PPPP", "PPAA", {1, 3, 4}, 4095);
    expect_same_rows<U16, NUV_LinearTaps<std::int32_t>, Fixed>("PPPP", "PPAA", {1, 3, 4}, 65535);
    expect_same_rows<U16, NUV_CubicTaps<double>, double>("PPPP", "PPPV", {1}, 4095);
    expect_same_rows<U16, NUV_CubicTaps<double>, double>("PPAA", "PPAV", {3, 4}, 4095);
    expect_same_rows<U16, NUV_LinearTaps<double>, double>("PPPP", "PPPV", {1}, 65535);
    expect_same_rows<U16, NUV_LinearTaps<double>, double>("PPAA", "PPAV", {3, 4}, 65535);
}

TEST(ScaleForms, ReduceGrayRow)
{
    expect_same_forms<U8>("PPAA", choose_reduce_gray_row, [](NUV_FormDraw& draw, auto compare) {
        const std::size_t pixels = draw.length(70);
        const U8* in = draw.input<U8>(350 + reduce_gray_row_reach);
        const double ratio = static_cast<double>(draw.number(11, 30)) / 10;
        std::vector<NUV_AreaTaps> taps(pixels + 1);
        PackedTaps high;
        PackedTaps low;
        for (std::size_t k = 0; k <= pixels; ++k) {
            const double position = static_cast<double>(k) * ratio;
            const auto first = static_cast<std::size_t>(position);
            const double end = position + ratio;
            taps[k] = {first, static_cast<double>(first) + 1 - position, end - std::floor(end)};
        }
        for (std::size_t k = 0; k < pixels; ++k) {
            const std::size_t last = taps[k + 1].offset - taps[k].offset;
            const double shares[] = {taps[k].first, last > 1 ? 1 : taps[k].last,
                                     last > 2 ? 1 : taps[k].last, taps[k].last};
            std::int32_t weights[2][4] = {};
            for (std::size_t i = 0; i <= last; ++i) {
                const auto split = split_units(std::llround(shares[i] / ratio * std::ldexp(1, 28)));
                weights[0][i] = split.high;
                weights[1][i] = split.low;
            }
            high.push(taps[k].offset, weights[0]);
            low.push(taps[k].offset, weights[1]);
        }
        const NUV_SplitAreaTaps split{high.offsets.data(),
                                      {high.pairs[0].data(), high.pairs[1].data()},
                                      {low.pairs[0].data(), low.pairs[1].data()}};
        compare(pixels,
                [&](auto form, U8* out) { form(in, taps.data(), split, out, pixels, 1 / ratio); });
    });
}

TEST(ScaleForms, ShrinkRow)
{
    for (const std::uint32_t channels : {1U, 3U, 4U}) {
        const auto choose = [=](const NUV_Cpu& cpu) {
            return choose_shrink_row<U8, std::int32_t>(cpu, channels);
        };
        expect_same_forms<U8>("PPAA", choose, [=](NUV_FormDraw& draw, auto compare) {
            const std::size_t pixels = draw.length(40);
            const std::size_t last = 400 - shrink_row_reach;
            const std::size_t apart = draw.number(1, 6);
            std::vector<std::uint32_t> offsets;
            std::vector<std::int32_t> x;
            for (std::size_t k = 0; k < pixels; ++k) {
                const std::size_t i = std::min(k * apart * channels, last);
                offsets.push_back(static_cast<std::uint32_t>(i));
                x.push_back(
                    static_cast<std::int32_t>(draw.one_of({draw.number(0, 4096), i % 2 * 4096})));
            }
            const auto y =
                static_cast<std::int32_t>(draw.one_of({draw.number(0, 4096), pixels % 2 * 4096}));
            const U8* lines[] = {draw.input<U8>(400), draw.input<U8>(400)};
            compare(pixels * channels, [&](auto form, U8* out) {
                form(lines[0], lines[1], {offsets.data(), x.data()}, y, out, pixels, channels);
            });
        });
    }
}

TEST(ScaleForms, AverageFourRow)
{
    for (const std::uint32_t channels : {1U, 3U}) {
        const auto choose = [=](const NUV_Cpu& cpu) {
            return choose_average_four_row<U8>(cpu, channels, std::size_t{2} * channels);
        };
        expect_same_forms<U8>("PPAA", choose, [=](NUV_FormDraw& draw, auto compare) {
            const std::size_t pixels = draw.length(80);
            const std::size_t cell = std::size_t{2} * channels;
            const U8* lines[] = {draw.input<U8>(pixels * cell), draw.input<U8>(pixels * cell)};
            compare(pixels * channels, [&](auto form, U8* out) {
                form(lines[0], lines[1], out, pixels, channels, cell);
            });
        });
    }
}

template <std::size_t WindowBytes>
void expect_same_windows(const char (&forms)[5])
{
    const auto choose = choose_move_pixel_windows<WindowBytes>;
    expect_same_forms<U8>(forms, choose, [](NUV_FormDraw& draw, auto compare) {
        const std::size_t line_bytes = draw.number(WindowBytes, 300);
        std::vector<NUV_PixelWindow> windows(draw.length(9));
        std::vector<U8> orders;
        std::size_t bytes = 0;
        for (NUV_PixelWindow& window : windows) {
            const std::size_t last = line_bytes - WindowBytes;
            window.begin = static_cast<std::uint32_t>(draw.one_of({last, draw.number(0, last)}));
            window.bytes = static_cast<std::uint32_t>(draw.number(1, WindowBytes));
            bytes += window.bytes;
            for (std::size_t i = 0; i < WindowBytes; ++i)
                orders.push_back(static_cast<U8>(draw.number(0, WindowBytes - 1)));
        }
        const NUV_PixelWindows row{windows.data(), orders.data(), windows.size()};
        const U8* in = draw.input<U8>(line_bytes);
        compare(bytes, [&](auto form, U8* out) { form(in, row, out, bytes); });
    });
}

TEST(ScaleForms, MovePixelWindows)
{
    expect_same_windows<16>("PPAA");
    expect_same_windows<64>("PPPV");
}

TEST(ScaleI2Forms, AreChosenByTheProcessor)
{
    using Fixed = NUV_ScaleI2FixedArithmetic;
    using Float = NUV_ScaleI2FloatArithmetic;
    const auto expect = []<class A>(const char(&forms)[5], std::uint32_t taps, int above) {
        for (const std::uint32_t channels : {1U, 3U, 4U}) {
            expect_chosen(forms, [=](const NUV_Cpu& cpu) {
                const int weight = most_packed_row_weight + above;
                return choose_filter_row<A>(cpu, taps, channels, weight).filter;
            });
        }
        expect_chosen(forms, [=](const NUV_Cpu& cpu) {
            return choose_combine_middles<A>(cpu, taps, most_narrow_line_weight + above);
        });
    };
    for (const std::uint32_t taps : {4U, 5U, 6U, 7U, 8U}) {
        expect.operator()<Fixed>("PPAA", taps, 0);
        expect.operator()<Float>("PPAV", taps, 0);
        expect.operator()<Fixed>("PPPP", taps, 1);
    }
}

// Pixels lie apart as far as a mask lets them, and farther, on lines that are made in several
// parts.
TEST(ScaleI2Forms, FilterRowAndCombineReal)
{
    using Float = NUV_ScaleI2FloatArithmetic;
    constexpr std::size_t stride = NUV_ScaleI2Axis<double>::stride;
    const auto draw_reals = [](NUV_FormDraw& draw, std::size_t count, double scale) {
        std::vector<double> reals(count);
        for (double& real : reals)
            real = (static_cast<double>(draw.number(0, 4000)) - 1000) * scale;
        return reals;
    };
    const auto expect_same = [&](std::uint32_t taps, std::uint32_t channels) {
        const auto choose = [=](const NUV_Cpu& cpu) {
            return choose_filter_row<Float>(cpu, taps, channels, 1);
        };
        const auto draw_row = [&](NUV_FormDraw& draw, auto compare) {
            const std::size_t end = draw.length(230);
            const std::size_t begin = std::min(end, draw.number(0, 2));
            const double apart = static_cast<double>(draw.number(5, 32)) / 10;
            std::vector<std::int64_t> firsts(end + 1);
            for (std::size_t k = 0; k <= end; ++k)
                firsts[k] = static_cast<std::int64_t>(static_cast<double>(k) * apart);
            const auto weights = draw_reals(draw, (end + 1) * stride, 1.0 / 777);
            const std::size_t grouped = (end - begin) / 8 * 8;
            std::vector<double> by_taps(grouped * stride);
            set_weights_by_taps(weights.data() + begin * stride, grouped, by_taps.data());
            const U16* line = draw.input<U16>(static_cast<std::size_t>(firsts[end]) * channels +
                                              choose(NUV_Cpu::avx512vbmi).reach);
            compare(end * channels, [&](auto form, double* out) {
                form(line, {firsts.data(), weights.data(), by_taps.data()}, out, begin, end);
            });
        };
        const auto filter = [&](const NUV_Cpu& cpu) { return choose(cpu).filter; };
        expect_same_forms<double>("PPAV", filter, draw_row, 231);
    };
    for (const std::uint32_t taps : {4U, 5U, 6U, 7U, 8U}) {
        for (const std::uint32_t channels : {1U, 3U, 4U})
            expect_same(taps, channels);
        const auto combine = [=](const NUV_Cpu& cpu) {
            return choose_combine_middles<Float>(cpu, taps, 1);
        };
        expect_same_forms<U16>("PPAV", combine, [&](NUV_FormDraw& draw, auto compare) {
            const std::size_t count = draw.length(70);
            const auto middles = draw_reals(draw, taps * count, 1.0 / 3);
            std::vector<const double*> lines;
            for (std::size_t i = 0; i < taps; ++i)
                lines.push_back(middles.data() + i * count);
            const auto weights = draw_reals(draw, taps, 1.0 / 77);
            const U16 maximum = draw.one_of<U16>({65535, 4095});
            compare(count, [&](auto form, U16* out) {
                form(lines.data(), weights.data(), out, count, maximum);
            });
        });
    }
}

// What the forms cannot hold takes another way, whose sums do not overflow.
TEST(ScaleI2Kernels, LargeWeightsAreCalculatedInFull)
{
    const auto choose = [](const NUV_Cpu& cpu) {
        return choose_combine_middles<NUV_ScaleI2FixedArithmetic>(cpu, 8,
                                                                  most_narrow_line_weight + 1);
    };
    expect_chosen("PPPP", choose);
    const std::vector<std::int16_t> lowest(50, -32768);
    const std::vector<const std::int16_t*> lines(8, lowest.data());
    std::vector<U8> out(50);
    choose({})(lines.data(), lowest.data(), out.data(), 50, 255);
    EXPECT_EQ(out, std::vector<U8>(50, 255));
}

} // namespace
} // namespace nuv
