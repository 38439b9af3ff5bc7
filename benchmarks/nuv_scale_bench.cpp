// The scalers on 6000 x 4000 pixels of 8-bit RGB, from lines in memory to lines that are dropped,
// and their kernels in each form. Beside them a plain copy of the source.

#include "core/qdrle/nuv_qdrlerun.h"
#include "core/scale/kernels/nuv_scalelines_kernels.h"
#include "core/scale/kernels/nuv_scalepp_kernels.h"
#include "core/scale/kernels/nuv_scaletaps_kernels.h"
#include "core/scale/nuv_scalecc.h"
#include "core/scale/nuv_scaleli.h"
#include "core/scale/nuv_scalenn.h"
#include "core/scale/nuv_scalepp.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "benchmarks/nuv_scalesetup.h"

namespace nuv {
namespace {

// To state.range(0) percent of the size, in megapixels of the source.
template <class T, class Creator>
void scale(benchmark::State& state)
{
    const auto percent = static_cast<std::uint32_t>(state.range(0));
    static_cast<void>(source<T>());
    for ([[maybe_unused]] auto _ : state) {
        NUV_Manager* manager = create_manager(0);
        NUV_BenchEnds ends(*manager);
        NUV_Engine* engine = ends.first<T>();
        if (engine && percent != 100) {
            engine =
                Creator(*manager).engine(engine, width * percent / 100, height * percent / 100);
        }
        if (!ends.run(engine, state))
            break;
        destroy_manager(manager);
    }
    count_pixels(state);
}

constexpr std::uint32_t page_width = 4960; // A4 at 600 dpi
constexpr std::uint32_t page_height = 7016;
constexpr std::uint32_t page_margin = 600;
constexpr std::uint32_t text_pitch = 100; // lines of pixels from one line of text to the next
constexpr std::uint32_t glyph_width = 42;

// The strokes of a glyph in one line of pixels: none in a space, one or two otherwise, and above
// the small letters only those of some glyphs.
void add_strokes(std::vector<NUV_QDRLERun>& runs, std::uint32_t x, std::uint32_t y)
{
    const std::uint32_t glyph = (y / text_pitch * 131 + x / glyph_width) * 2654435761U >> 7;
    const std::uint32_t slice = (glyph + y / 8) * 2246822519U >> 9; // strokes lean and bend
    const bool is_tall = y % text_pitch < 25;
    if (glyph % 7 == 0 || (is_tall && glyph % 4 != 1))
        return;
    const std::uint32_t start = x + slice % 8;
    runs.push_back({start, start + 5 + slice % 3});
    if (!is_tall && slice % 5 == 0)
        runs.push_back({start + 20, start + 26});
}

// A page of 10-point text in run form: ten lines and a blank one in turn within margins of an inch,
// 5 % black, 75 to 100 runs where the small letters are, about 20 above them, none between.
std::vector<std::vector<NUV_QDRLERun>> text_page()
{
    std::vector<std::vector<NUV_QDRLERun>> lines(page_height);
    for (std::uint32_t y = page_margin; y < page_height - page_margin; ++y) {
        if (y % text_pitch >= 75 || y / text_pitch % 11 == 10)
            continue;
        for (std::uint32_t x = page_margin; x + glyph_width < page_width - page_margin;
             x += glyph_width)
            add_strokes(lines[y], x, y);
    }
    return lines;
}

std::vector<std::uint8_t> page_bytes(bool as_runs)
{
    std::vector<std::uint8_t> bytes;
    for (const std::vector<NUV_QDRLERun>& line : text_page()) {
        const std::size_t at = bytes.size();
        bytes.resize(at + (as_runs ? (line.size() + 1) * NUV_QDRLERun::bytes : page_width / 8));
        std::uint8_t* to = bytes.data() + at;
        for (const NUV_QDRLERun& run : line) {
            if (as_runs) {
                store_run(to, run);
                to += NUV_QDRLERun::bytes;
                continue;
            }
            for (std::uint32_t x = run.start; x <= run.end; ++x)
                to[x / 8] = static_cast<std::uint8_t>(to[x / 8] | 0x80U >> x % 8);
        }
        if (as_runs)
            store_run(to, {});
    }
    return bytes;
}

// The page above, in state.range(0) as runs or as bits, to state.range(1) percent.
void scale_page(benchmark::State& state)
{
    const bool as_runs = state.range(0) != 0;
    const auto percent = static_cast<std::uint32_t>(state.range(1));
    const std::vector<std::uint8_t> bytes = page_bytes(as_runs);
    for ([[maybe_unused]] auto _ : state) {
        NUV_Manager* manager = create_manager(0);
        NUV_BenchEnds ends(*manager);
        NUV_Engine* engine = ends.page(bytes, page_width, page_height, as_runs);
        engine = engine ? NUV_ScaleNN(*manager).engine(engine, page_width * percent / 100,
                                                       page_height * percent / 100)
                        : nullptr;
        if (!ends.run(engine, state))
            break;
        destroy_manager(manager);
    }
}

BENCHMARK(scale_page)
    ->ArgsProduct({{0, 1}, {40, 50, 150}})
    ->ArgNames({"runs", "percent"})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(copy<Byte>)->Unit(benchmark::kMillisecond);
BENCHMARK(scale<Byte, NUV_ScaleNN>)->Arg(100)->Arg(40)->Arg(150)->Unit(benchmark::kMillisecond);
BENCHMARK(scale<Byte, NUV_ScaleLI>)->Arg(50)->Arg(30)->Arg(150)->Unit(benchmark::kMillisecond);
BENCHMARK(scale<Byte, NUV_ScaleCC>)->Arg(25)->Arg(60)->Arg(200)->Unit(benchmark::kMillisecond);
BENCHMARK(scale<Byte, NUV_ScalePP>)->Arg(40)->Arg(50)->Arg(150)->Unit(benchmark::kMillisecond);
BENCHMARK(scale<Word, NUV_ScaleLI>)->Arg(30)->Arg(150)->Unit(benchmark::kMillisecond);
BENCHMARK(scale<Word, NUV_ScaleCC>)->Arg(25)->Arg(200)->Unit(benchmark::kMillisecond);
BENCHMARK(scale<Word, NUV_ScalePP>)->Arg(40)->Unit(benchmark::kMillisecond);

// Kernels, a line of 6000 pixels at a time.

template <class T, class Weight>
void combine_lines(benchmark::State& state)
{
    const T* const lines[4] = {source<T>().data(), source<T>().data() + line_samples,
                               source<T>().data() + 2 * line_samples,
                               source<T>().data() + 3 * line_samples};
    constexpr double unit = std::is_same_v<Weight, double> ? 1 : 4096;
    NUV_CubicWeights<Weight> weights{};
    const double taps[4] = {-0.125, 0.625, 0.625, -0.125};
    for (int i = 0; i < 4; ++i)
        weights.tap[i] = static_cast<Weight>(taps[i] * unit);
    std::vector<T> out(line_samples);
    const auto kernel = choose_combine_lines<T, Weight>(form(state), true);
    for ([[maybe_unused]] auto _ : state) {
        kernel(lines, out.data(), line_samples, weights, {});
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(line_samples));
}

template <class T, class Weight>
void blend_lines(benchmark::State& state)
{
    std::vector<T> out(line_samples);
    const auto kernel = choose_blend_lines<T, Weight>(form(state));
    for ([[maybe_unused]] auto _ : state) {
        kernel(source<T>().data(), source<T>().data() + line_samples, out.data(), line_samples,
               static_cast<Weight>(std::is_same_v<Weight, double> ? 0.3 : 1229));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(line_samples));
}

void convolve_row(benchmark::State& state)
{
    constexpr std::size_t pixels = width / 2;
    const auto count = static_cast<std::uint32_t>(state.range(1));
    std::vector<NUV_CubicTaps<std::int32_t>> taps(pixels);
    std::vector<std::uint32_t> offsets(pixels);
    std::vector<std::int32_t> pairs(pixels, 2048 | 2048 << 16);
    for (std::size_t k = 0; k < pixels; ++k) {
        offsets[k] = static_cast<std::uint32_t>(k * 2 * count);
        taps[k] = {offsets[k], {2048, 2048, 2048, 2048}};
    }
    std::vector<Byte> out(pixels * count);
    const auto kernel =
        choose_convolve_row<Byte, NUV_CubicTaps<std::int32_t>>(form(state), count, true).convolve;
    for ([[maybe_unused]] auto _ : state) {
        kernel(source<Byte>().data(), {taps.data(), {offsets.data(), pairs.data(), pairs.data()}},
               out.data(), pixels, count, {});
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(pixels));
}

void reduce_area_row(benchmark::State& state)
{
    constexpr std::size_t pixels = width * 2 / 5;
    const auto count = static_cast<std::uint32_t>(state.range(1));
    std::vector<NUV_AreaTaps> taps(pixels + 1);
    for (std::size_t k = 0; k <= pixels; ++k)
        taps[k] = {(k * 5 / 2) * count, k % 2 ? 0.5 : 1.0, k % 2 ? 1.0 : 0.5};
    std::vector<Byte> out(pixels * count);
    const auto kernel = choose_reduce_area_row<Byte>(form(state), count, true);
    for ([[maybe_unused]] auto _ : state) {
        kernel(source<Byte>().data(), taps.data(), out.data(), pixels - 1, count, 1 / 2.5);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(pixels));
}

void reduce_area_lines(benchmark::State& state)
{
    std::vector<Byte> out(line_samples);
    const std::vector<std::int32_t> sums(line_samples, 200);
    const auto kernel = choose_reduce_area_lines<Byte, std::int32_t>(form(state));
    for ([[maybe_unused]] auto _ : state) {
        kernel(source<Byte>().data(), sums.data(), source<Byte>().data() + line_samples, out.data(),
               line_samples, {0, 0.75, 0.75}, 1 / 2.5);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(line_samples));
}

BENCHMARK(combine_lines<Byte, std::int32_t>)->Arg(0)->Arg(1);
BENCHMARK(combine_lines<Word, double>)->Arg(0)->Arg(1);
BENCHMARK(blend_lines<Byte, std::int32_t>)->Arg(0)->Arg(1);
BENCHMARK(blend_lines<Word, double>)->Arg(0)->Arg(1);
BENCHMARK(convolve_row)->ArgsProduct({{0, 1}, {1, 3, 4}});
BENCHMARK(reduce_area_row)->ArgsProduct({{0, 1}, {3, 4}});
BENCHMARK(reduce_area_lines)->Arg(0)->Arg(1);

} // namespace
} // namespace nuv
