#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <vector>

// What the benchmarks of the pixel operations, and those of their peers, work on: 6000 x 4000
// pixels of three 8-bit samples, line by line.
namespace nuv_color_bench {

constexpr std::size_t width = 6000;
constexpr std::size_t height = 4000;
constexpr std::size_t line = width * 3;

using Bytes = std::vector<std::uint8_t>;

inline const Bytes& source()
{
    static const Bytes bytes = [] {
        Bytes made(line * height);
        std::uint32_t noise = 1;
        for (std::size_t i = 0; i < made.size(); ++i) {
            noise = noise * 1664525 + 1013904223;
            made[i] = static_cast<std::uint8_t>(i / 700 + (noise >> 27)); // ramps, with grain
        }
        return made;
    }();
    return bytes;
}

inline Bytes& destination()
{
    static Bytes bytes(line * height, 1);
    return bytes;
}

// Runs `row(in, out)` over all lines, of `in_line` and `out_line` bytes.
template <class Row>
void run(benchmark::State& state, std::size_t in_line, std::size_t out_line, Row&& row)
{
    for ([[maybe_unused]] auto _ : state) {
        for (std::size_t y = 0; y < height; ++y)
            row(source().data() + y * in_line, destination().data() + y * out_line);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(width * height));
}

} // namespace nuv_color_bench
