// Lossless coding of a photograph-like picture of six megapixels from memory to memory.

#include "core/jpeg/decode/nuv_jpegdecoder.h"
#include "core/jpeg/encode/nuv_jpegencoder.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "benchmarks/nuv_jpegsink.h"
#include "benchmarks/nuv_photolike.h"

namespace nuv {
namespace {

constexpr std::uint32_t width = 3000;
constexpr std::uint32_t height = 2000;
constexpr std::size_t stream_bytes = std::size_t{64} << 20; // at most

// Deep samples have in their low bits what a sensor has there.
std::vector<std::uint8_t> make_samples(std::uint32_t components, std::uint32_t bits)
{
    static const NUV_PhotoLike photo(width, height);
    std::vector<std::uint8_t> samples;
    std::uint32_t random = 1;
    const std::size_t step = components == 1 ? 3 : 1; // the red ones of a gray picture
    for (std::size_t i = 0; i < photo.pixels().size(); i += step) {
        random = random * 1664525U + 1013904223U;
        if (bits == 16)
            samples.push_back(static_cast<std::uint8_t>(random >> 24));
        samples.push_back(photo.pixels()[i]);
    }
    return samples;
}

bool encode(NUV_JPEGSink& sink, const std::vector<std::uint8_t>& samples, std::uint32_t components,
            std::uint32_t bits, NUV_JPEGLosslessTable table)
{
    NUV_JPEGEncoder coder;
    std::uint32_t restart_interval = 0xFFFFFFFF;
    NUV_JPEGCode code = coder.open_coder(jpeg_heap);
    if (!is_failure(code))
        code = coder.create(output_to(sink), NUV_Cpu::current());
    if (!is_failure(code))
        code = coder.set_format(width, height, components, bits, jpeg_sampling_444, 75);
    if (!is_failure(code))
        code = coder.set_lossless(table);
    if (!is_failure(code))
        code = coder.start_encode(restart_interval);
    const std::size_t line_bytes = samples.size() / height;
    for (std::size_t y = 0; y < height && !is_failure(code); ++y)
        code = coder.write_line(samples.data() + y * line_bytes);
    return !is_failure(code) && !is_failure(coder.finish());
}

void encode_lossless(benchmark::State& state, std::uint32_t components, std::uint32_t bits,
                     NUV_JPEGLosslessTable table)
{
    const std::vector<std::uint8_t> samples = make_samples(components, bits);
    NUV_JPEGSink sink(stream_bytes);
    for ([[maybe_unused]] auto _ : state) {
        sink.at = 0;
        if (!encode(sink, samples, components, bits, table))
            state.SkipWithError("encoding failed");
        benchmark::DoNotOptimize(sink.bytes.data());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * width * height);
    state.counters["coded_bytes"] = static_cast<double>(sink.at);
}

struct Source {
    const std::uint8_t* bytes;
    std::int32_t size;
    std::int32_t at = 0;
};

NUV_JPEGSource source_of(Source& source)
{
    return {
        .storage = &source,
        .read =
            [](void* self, std::uint8_t* into, std::int32_t count) {
                auto& from = *static_cast<Source*>(self);
                count = std::min(count, from.size - from.at);
                std::copy_n(from.bytes + from.at, count, into);
                from.at += count;
                return count;
            },
        .to =
            [](void* self, std::int32_t position) {
                static_cast<Source*>(self)->at = position;
                return true;
            },
        .position = [](void* self) { return static_cast<Source*>(self)->at; },
        .size = [](void* self) { return static_cast<Source*>(self)->size; },
    };
}

bool decode(Source source, std::vector<std::uint8_t>& line)
{
    NUV_JPEGDecoder coder;
    NUV_JPEGCode code = coder.open(jpeg_heap, source_of(source), NUV_Cpu::current());
    if (!is_failure(code))
        code = coder.read_header(nullptr);
    if (!is_failure(code))
        code = coder.start_decode();
    for (std::size_t y = 0; y < height && !is_failure(code); ++y) {
        code = coder.read_line(line.data());
        benchmark::DoNotOptimize(line.data());
    }
    return !is_failure(code);
}

void decode_lossless(benchmark::State& state, std::uint32_t components, std::uint32_t bits,
                     NUV_JPEGLosslessTable table)
{
    const std::vector<std::uint8_t> samples = make_samples(components, bits);
    NUV_JPEGSink sink(stream_bytes);
    std::vector<std::uint8_t> line(samples.size() / height);
    if (!encode(sink, samples, components, bits, table))
        state.SkipWithError("encoding failed");
    const Source source{sink.bytes.data(), static_cast<std::int32_t>(sink.at)};
    for ([[maybe_unused]] auto _ : state) {
        if (!decode(source, line))
            state.SkipWithError("decoding failed");
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * width * height);
    state.counters["coded_bytes"] = static_cast<double>(sink.at);
}

constexpr auto standard = NUV_JPEGLosslessTable::standard;
constexpr auto optimal = NUV_JPEGLosslessTable::optimal;

BENCHMARK_CAPTURE(encode_lossless, gray_8, 1, 8, standard);
BENCHMARK_CAPTURE(encode_lossless, gray_8_optimal, 1, 8, optimal);
BENCHMARK_CAPTURE(encode_lossless, gray_16, 1, 16, standard);
BENCHMARK_CAPTURE(encode_lossless, gray_16_optimal, 1, 16, optimal);
BENCHMARK_CAPTURE(encode_lossless, rgb_8, 3, 8, standard);
BENCHMARK_CAPTURE(encode_lossless, rgb_8_optimal, 3, 8, optimal);
BENCHMARK_CAPTURE(encode_lossless, rgb_16, 3, 16, standard);
BENCHMARK_CAPTURE(decode_lossless, gray_8, 1, 8, standard);
BENCHMARK_CAPTURE(decode_lossless, gray_8_optimal, 1, 8, optimal);
BENCHMARK_CAPTURE(decode_lossless, gray_16, 1, 16, standard);
BENCHMARK_CAPTURE(decode_lossless, gray_16_optimal, 1, 16, optimal);
BENCHMARK_CAPTURE(decode_lossless, rgb_8, 3, 8, standard);
BENCHMARK_CAPTURE(decode_lossless, rgb_8_optimal, 3, 8, optimal);
BENCHMARK_CAPTURE(decode_lossless, rgb_16, 3, 16, standard);

} // namespace
} // namespace nuv
