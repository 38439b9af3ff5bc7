// Whole runs from memory to memory through the exported class, each beside the plain work on the
// same bytes: 6000 x 4000 pixels of 8-bit RGB.

#include "wrapper/nuv_wrapper.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

constexpr std::uint32_t width = 6000;
constexpr std::uint32_t height = 4000;
constexpr std::uint16_t channels = 3;
constexpr std::size_t line = std::size_t{width} * channels;
constexpr std::size_t image_bytes = line * height;

const std::vector<unsigned char>& source()
{
    static const std::vector<unsigned char> bytes = [] {
        std::vector<unsigned char> made(image_bytes);
        for (std::size_t i = 0; i < image_bytes; ++i)
            made[i] = static_cast<unsigned char>(i * 2654435761U >> 24);
        return made;
    }();
    return bytes;
}

std::vector<unsigned char>& destination()
{
    static std::vector<unsigned char> bytes(image_bytes);
    return bytes;
}

void memcpy_whole(benchmark::State& state)
{
    for ([[maybe_unused]] auto _ : state) {
        std::memcpy(destination().data(), source().data(), image_bytes);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(image_bytes));
}

// Raw in, `mirrors` times MirrorX, raw out.
void chain(benchmark::State& state)
{
    const auto mirrors = state.range(0);
    for ([[maybe_unused]] auto _ : state) {
        NuvWrapperClass job;
        job.SetSrcMemory(source().data(), static_cast<int>(image_bytes));
        job.SetDstMemory(destination().data(), static_cast<int>(image_bytes));
        ImageParam param{};
        param.width = width;
        param.height = height;
        param.bits = 8;
        param.channels = channels;
        job.ReadStorage(&param);
        for (std::int64_t i = 0; i < mirrors; ++i)
            job.MirrorX();
        job.WriteStorage(nullptr);
        if (job.Execute() != 0)
            state.SkipWithError("the run failed");
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(image_bytes));
}

// What one MirrorX has to beat: the same lines mirrored by a plain loop, from one line buffer to
// another, as a stage of a chain sees them.
void plain_mirror(benchmark::State& state)
{
    std::vector<unsigned char> in(line);
    std::vector<unsigned char> out(line);
    for ([[maybe_unused]] auto _ : state) {
        for (std::uint32_t y = 0; y < height; ++y) {
            const unsigned char* from = in.data() + line - channels;
            unsigned char* to = out.data();
            for (std::uint32_t x = 0; x < width; ++x, from -= channels, to += channels) {
                to[0] = from[0];
                to[1] = from[1];
                to[2] = from[2];
            }
            benchmark::ClobberMemory();
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(image_bytes));
}

// What a stage costs a line whatever its width: lines of 16 bytes through so many half turns of
// them. The difference of two rows, by their stages and lines, is the cost.
void narrow_lines(benchmark::State& state)
{
    constexpr std::uint32_t lines = 200'000;
    constexpr std::uint32_t pixels = 16;
    const auto mirrors = state.range(0);
    for ([[maybe_unused]] auto _ : state) {
        NuvWrapperClass job;
        job.SetSrcMemory(source().data(), lines * pixels);
        job.SetDstMemory(destination().data(), lines * pixels);
        ImageParam param{};
        param.width = pixels;
        param.height = lines;
        param.bits = 8;
        param.channels = 1;
        job.ReadStorage(&param);
        for (std::int64_t i = 0; i < mirrors; ++i)
            job.MirrorX();
        job.WriteStorage(nullptr);
        if (job.Execute() != 0)
            state.SkipWithError("the run failed");
    }
    state.counters["ns_a_line"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * lines * 1e-9,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

BENCHMARK(memcpy_whole)->Unit(benchmark::kMillisecond);
BENCHMARK(chain)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK(narrow_lines)->Arg(0)->Arg(2)->Arg(12)->Unit(benchmark::kMillisecond);
BENCHMARK(plain_mirror)->Unit(benchmark::kMillisecond);

} // namespace
