// The mask scalers on 6000 x 4000 pixels of RGB, from lines in memory to lines that are dropped,
// and their kernels in each form. Beside them a plain copy of the source.

#include "extension/scalei2utility/nuv_scalei2_kernels.h"
#include "extension/scalei2utility/nuv_scalei2smallutility.h"
#include "extension/scalei2varex/nuv_scalei2varexby.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <vector>

#include "benchmarks/nuv_scalesetup.h"

namespace nuv {
namespace {

// To state.range(0) percent of the width and state.range(1) percent of the height, in megapixels
// of the source.
template <class T>
void fine(benchmark::State& state)
{
    const auto percent_x = static_cast<std::uint32_t>(state.range(0));
    const auto percent_y = static_cast<std::uint32_t>(state.range(1));
    static_cast<void>(source<T>());
    for ([[maybe_unused]] auto _ : state) {
        NUV_Manager* manager = create_manager(0);
        NUV_BenchEnds ends(*manager);
        NUV_Engine* engine = ends.first<T>();
        engine = NUV_ScaleI2VARExBy<NUV_FixedReal>(*manager).engine(engine, width * percent_x / 100,
                                                                    height * percent_y / 100);
        if (!ends.run(engine, state))
            break;
        destroy_manager(manager);
    }
    count_pixels(state);
}

BENCHMARK(copy<Byte>)->Unit(benchmark::kMillisecond);
BENCHMARK(fine<Byte>)
    ->Args({100, 100})
    ->Args({60, 60})
    ->Args({20, 20})
    ->Args({40, 20})
    ->Args({80, 80})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(fine<Word>)->Args({60, 60})->Args({20, 20})->Unit(benchmark::kMillisecond);

// Kernels, a line at a time.

template <class A>
void filter_row(benchmark::State& state)
{
    constexpr std::size_t pixels = width * 3 / 5;
    const auto taps = static_cast<std::uint32_t>(state.range(1));
    const auto count = static_cast<std::uint32_t>(state.range(2));
    std::vector<std::int64_t> firsts(pixels);
    for (std::size_t k = 0; k < pixels; ++k)
        firsts[k] = static_cast<std::int64_t>(k * 99 / 60);
    const std::vector<typename A::Weight> weights(pixels * 8, 128);
    std::vector<typename A::Middle> out(pixels * count);
    const auto chosen = choose_filter_row<A>(form(state), taps, count, 1100);
    for ([[maybe_unused]] auto _ : state) {
        chosen.filter(source<typename A::Sample>().data(),
                      {firsts.data(), weights.data(), weights.data()}, out.data(), 0, pixels);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(pixels));
}

template <class A>
void combine_middles(benchmark::State& state)
{
    const auto taps = static_cast<std::uint32_t>(state.range(1));
    // Not from the heap, where lines lie another way in every program: that is a seventh of the
    // time.
    alignas(64) static typename A::Middle line[line_samples];
    alignas(64) static typename A::Sample out[line_samples];
    std::fill(std::begin(line), std::end(line), typename A::Middle{1000});
    const std::vector<const typename A::Middle*> lines(8, line);
    const std::vector<typename A::Weight> weights(8, 128);
    const auto kernel = choose_combine_middles<A>(form(state), taps, 1100);
    for ([[maybe_unused]] auto _ : state) {
        kernel(lines.data(), weights.data(), out, line_samples, 255);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(line_samples));
}

BENCHMARK(filter_row<NUV_ScaleI2FixedArithmetic>)->ArgsProduct({{0, 1}, {4, 7, 8}, {1, 3, 4}});
BENCHMARK(filter_row<NUV_ScaleI2FloatArithmetic>)->ArgsProduct({{0, 1, 2}, {7}, {1, 3, 4}});
BENCHMARK(combine_middles<NUV_ScaleI2FixedArithmetic>)->ArgsProduct({{0, 1}, {4, 7, 8}});
BENCHMARK(combine_middles<NUV_ScaleI2FloatArithmetic>)->ArgsProduct({{0, 1, 2}, {7}});

} // namespace
} // namespace nuv
