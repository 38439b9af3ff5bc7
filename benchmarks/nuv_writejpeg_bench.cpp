// Encoding a photograph-like picture of a megapixel from memory to memory: our coder in each of
// its forms, and libjpeg on the same pixels with the same settings.

#include "core/jpeg/encode/nuv_jpegencoder.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstdio> // for jpeglib.h, which does not include it
#include <cstdlib>
#include <jpeglib.h>
#include <vector>

#include "benchmarks/nuv_jpegsink.h"
#include "benchmarks/nuv_photolike.h"

namespace nuv {
namespace {

constexpr std::uint32_t width = 1200;
constexpr std::uint32_t height = 800;
constexpr int quality = 75;
constexpr std::size_t stream_bytes = std::size_t{4} << 20; // at most

const std::vector<std::uint8_t>& photo()
{
    static const NUV_PhotoLike picture(width, height);
    return picture.pixels();
}

bool encode(NUV_JPEGSink& sink, std::uint32_t key, const NUV_Cpu& cpu)
{
    NUV_JPEGEncoder coder;
    std::uint32_t restart_interval = 0;
    NUV_JPEGCode code = coder.open_coder(jpeg_heap);
    if (!is_failure(code))
        code = coder.create(output_to(sink), cpu);
    if (!is_failure(code))
        code = coder.set_format(width, height, 3, 8, key, quality);
    coder.set_source_color(NUV_JPEGEncoder::SourceColor::rgb);
    if (!is_failure(code))
        code = coder.start_encode(restart_interval);
    for (std::size_t y = 0; y < height && !is_failure(code); ++y)
        code = coder.write_line(photo().data() + y * 3 * width);
    return !is_failure(code) && !is_failure(coder.finish());
}

void count_pixels(benchmark::State& state, std::size_t bytes)
{
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * width * height);
    state.counters["coded_bytes"] = static_cast<double>(bytes);
}

void encode_here(benchmark::State& state, std::uint32_t key, const NUV_Cpu& cpu)
{
    NUV_JPEGSink sink(stream_bytes);
    photo();
    for ([[maybe_unused]] auto _ : state) {
        sink.at = 0;
        if (!encode(sink, key, cpu))
            state.SkipWithError("encoding failed");
        benchmark::DoNotOptimize(sink.bytes.data());
    }
    count_pixels(state, sink.at);
}

void encode_by_libjpeg(benchmark::State& state, std::uint32_t key)
{
    unsigned char* coded = nullptr;
    unsigned long coded_bytes = 0;
    photo();
    for ([[maybe_unused]] auto _ : state) {
        jpeg_compress_struct coder{};
        jpeg_error_mgr errors{};
        coder.err = jpeg_std_error(&errors);
        jpeg_create_compress(&coder);
        std::free(coded);
        coded = nullptr;
        jpeg_mem_dest(&coder, &coded, &coded_bytes);
        coder.image_width = width;
        coder.image_height = height;
        coder.input_components = 3;
        coder.in_color_space = JCS_RGB;
        jpeg_set_defaults(&coder);
        jpeg_set_quality(&coder, quality, TRUE);
        coder.dct_method = JDCT_ISLOW;
        coder.comp_info[0].h_samp_factor = static_cast<int>(key >> 20);
        coder.comp_info[0].v_samp_factor = static_cast<int>(key >> 16 & 15U);
        jpeg_start_compress(&coder, TRUE);
        while (coder.next_scanline < height) {
            auto* line = const_cast<std::uint8_t*>(photo().data()) +
                         std::size_t{coder.next_scanline} * 3 * width;
            jpeg_write_scanlines(&coder, &line, 1);
        }
        jpeg_finish_compress(&coder);
        jpeg_destroy_compress(&coder);
    }
    count_pixels(state, coded_bytes);
    std::free(coded);
}

constexpr NUV_Cpu portable = {};
constexpr NUV_Cpu sse2 = {.has_sse2 = true, .has_avx2 = false};
constexpr NUV_Cpu avx2 = {.has_sse2 = true, .has_avx2 = true};
const NUV_Cpu& best = NUV_Cpu::current();

BENCHMARK_CAPTURE(encode_by_libjpeg, 4_2_0, jpeg_sampling_420);
BENCHMARK_CAPTURE(encode_here, 4_2_0, jpeg_sampling_420, best);
BENCHMARK_CAPTURE(encode_here, 4_2_0_avx2, jpeg_sampling_420, avx2);
BENCHMARK_CAPTURE(encode_here, 4_2_0_sse2, jpeg_sampling_420, sse2);
BENCHMARK_CAPTURE(encode_here, 4_2_0_portable, jpeg_sampling_420, portable);
BENCHMARK_CAPTURE(encode_by_libjpeg, 4_2_2, jpeg_sampling_422);
BENCHMARK_CAPTURE(encode_here, 4_2_2, jpeg_sampling_422, best);
BENCHMARK_CAPTURE(encode_here, 4_2_2_avx2, jpeg_sampling_422, avx2);
BENCHMARK_CAPTURE(encode_here, 4_2_2_sse2, jpeg_sampling_422, sse2);
BENCHMARK_CAPTURE(encode_here, 4_2_2_portable, jpeg_sampling_422, portable);
BENCHMARK_CAPTURE(encode_by_libjpeg, 4_4_4, jpeg_sampling_444);
BENCHMARK_CAPTURE(encode_here, 4_4_4, jpeg_sampling_444, best);
BENCHMARK_CAPTURE(encode_here, 4_4_4_avx2, jpeg_sampling_444, avx2);
BENCHMARK_CAPTURE(encode_here, 4_1_1_avx2, jpeg_sampling_411, avx2);

} // namespace
} // namespace nuv
