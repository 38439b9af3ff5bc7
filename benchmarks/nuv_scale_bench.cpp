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
#include "benchmarks/nuv_textpage.h"

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

// The page of text, in state.range(0) as runs or as bits, to state.range(1) percent.
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
    const double taps[4] = {-0.1, 0.6, 0.62, -0.12};
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
        kernel(source<Byte>().data(),
               {taps.data(), {offsets.data(), pairs.data(), pairs.data()}, {}, false}, out.data(),
               pixels, count, {});
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

template <class T, class Sum>
void reduce_area_lines(benchmark::State& state)
{
    std::vector<T> out(line_samples);
    const std::vector<Sum> sums(line_samples, 200);
    const auto kernel = choose_reduce_area_lines<T, Sum>(form(state));
    for ([[maybe_unused]] auto _ : state) {
        kernel(source<T>().data(), sums.data(), source<T>().data() + line_samples, out.data(),
               line_samples, {0, 0.75, 0.75}, 1 / 2.5);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(line_samples));
}

BENCHMARK(combine_lines<Byte, std::int32_t>)->Arg(0)->Arg(1);
BENCHMARK(combine_lines<Word, std::int32_t>)->Arg(0)->Arg(1);
BENCHMARK(combine_lines<Word, double>)->Arg(0)->Arg(1)->Arg(2);
BENCHMARK(blend_lines<Byte, std::int32_t>)->Arg(0)->Arg(1);
BENCHMARK(blend_lines<Word, std::int32_t>)->Arg(0)->Arg(1);
BENCHMARK(blend_lines<Word, double>)->Arg(0)->Arg(1)->Arg(2);
BENCHMARK(convolve_row)->ArgsProduct({{0, 1}, {1, 3, 4}});
BENCHMARK(reduce_area_row)->ArgsProduct({{0, 1}, {3, 4}});
BENCHMARK(reduce_area_lines<Byte, std::int16_t>)->Arg(0)->Arg(1);
BENCHMARK(reduce_area_lines<Byte, std::int32_t>)->Arg(0)->Arg(1);
BENCHMARK(reduce_area_lines<Word, std::int32_t>)->Arg(0)->Arg(1);

} // namespace
} // namespace nuv
