// Decoding a photograph-like picture from memory: to component samples, line by line, by our
// decoder, and to RGB in memory through the exported class. libjpeg does the same on the same
// stream with all that is left to taste switched off.

#include "core/jpeg/decode/nuv_jpegdecoder.h"
#include "wrapper/nuv_wrapper.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio> // for jpeglib.h, which does not include it
#include <cstdlib>
#include <jpeglib.h>
#include <map>
#include <utility>
#include <vector>

#include "benchmarks/nuv_photolike.h"

namespace nuv {
namespace {

constexpr std::uint32_t width = 3000;
constexpr std::uint32_t height = 2000;
constexpr int quality = 75;

struct Kind {
    std::uint32_t key;
    bool is_progressive;

    bool operator<(const Kind& other) const
    {
        return std::pair(key, is_progressive) < std::pair(other.key, other.is_progressive);
    }
};

constexpr std::uint32_t gray = 0x11;
constexpr Kind kinds[] = {
    {0x221111, false}, {0x211111, false}, {0x111111, false},
    {gray, false},     {0x221111, true},  {0x111111, true},
};

std::vector<std::uint8_t> encode(const Kind& kind)
{
    static const NUV_PhotoLike photo(width, height);
    unsigned char* coded = nullptr;
    unsigned long coded_bytes = 0;
    jpeg_compress_struct coder{};
    jpeg_error_mgr errors{};
    coder.err = jpeg_std_error(&errors);
    jpeg_create_compress(&coder);
    jpeg_mem_dest(&coder, &coded, &coded_bytes);
    coder.image_width = width;
    coder.image_height = height;
    coder.input_components = 3;
    coder.in_color_space = JCS_RGB;
    jpeg_set_defaults(&coder);
    jpeg_set_quality(&coder, quality, TRUE);
    if (kind.key == gray) {
        jpeg_set_colorspace(&coder, JCS_GRAYSCALE);
    } else {
        coder.comp_info[0].h_samp_factor = static_cast<int>(kind.key >> 20);
        coder.comp_info[0].v_samp_factor = static_cast<int>(kind.key >> 16 & 15U);
    }
    if (kind.is_progressive)
        jpeg_simple_progression(&coder);
    jpeg_start_compress(&coder, TRUE);
    for (std::size_t y = 0; y < height; ++y) {
        auto* line = const_cast<JSAMPLE*>(photo.pixels().data() + y * 3 * width);
        jpeg_write_scanlines(&coder, &line, 1);
    }
    jpeg_finish_compress(&coder);
    jpeg_destroy_compress(&coder);
    std::vector<std::uint8_t> stream(coded, coded + coded_bytes);
    std::free(coded);
    return stream;
}

const std::vector<std::uint8_t>& stream_of(const Kind& kind)
{
    static std::map<Kind, std::vector<std::uint8_t>> streams;
    auto& stream = streams[kind];
    if (stream.empty())
        stream = encode(kind);
    return stream;
}

struct Source {
    const std::vector<std::uint8_t>& bytes;
    std::int32_t at = 0;
};

NUV_JPEGSource source_of(Source& source)
{
    return {
        .storage = &source,
        .read =
            [](void* self, std::uint8_t* into, std::int32_t count) {
                auto& from = *static_cast<Source*>(self);
                count = std::min(count, static_cast<std::int32_t>(from.bytes.size()) - from.at);
                std::copy_n(from.bytes.begin() + from.at, count, into);
                from.at += count;
                return count;
            },
        .to =
            [](void* self, std::int32_t position) {
                static_cast<Source*>(self)->at = position;
                return true;
            },
        .position = [](void* self) { return static_cast<Source*>(self)->at; },
        .size =
            [](void* self) {
                return static_cast<std::int32_t>(static_cast<Source*>(self)->bytes.size());
            },
    };
}

constexpr NUV_JPEGAllocator heap = {
    .owner = nullptr,
    .allocate = [](void*, std::size_t bytes) { return std::malloc(bytes); },
    .deallocate = [](void*, void* memory) { std::free(memory); },
};

bool decode(const std::vector<std::uint8_t>& stream, std::vector<std::uint8_t>& line)
{
    Source source{stream};
    NUV_JPEGDecoder coder;
    NUV_JPEGCode code = coder.open(heap, source_of(source), NUV_Cpu::current());
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

void count_pixels(benchmark::State& state, const std::vector<std::uint8_t>& stream)
{
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * width * height);
    state.counters["coded_bytes"] = static_cast<double>(stream.size());
}

void decode_here(benchmark::State& state, const Kind& kind)
{
    const std::vector<std::uint8_t>& stream = stream_of(kind);
    std::vector<std::uint8_t> line(std::size_t{3} * width);
    for ([[maybe_unused]] auto _ : state) {
        if (!decode(stream, line))
            state.SkipWithError("decoding failed");
    }
    count_pixels(state, stream);
}

std::vector<std::uint8_t>& picture()
{
    static std::vector<std::uint8_t> samples(std::size_t{3} * width * height, 1);
    return samples;
}

void decode_to_rgb_here(benchmark::State& state, const Kind& kind)
{
    const std::vector<std::uint8_t>& stream = stream_of(kind);
    for ([[maybe_unused]] auto _ : state) {
        NuvWrapperClass job;
        job.SetSrcMemory(stream.data(), static_cast<int>(stream.size()));
        job.SetDstMemory(picture().data(), static_cast<int>(picture().size()));
        job.ReadRaster();
        job.ColorSpace(ColorType::eRGB);
        job.WriteStorage(nullptr);
        if (job.Execute() != 0)
            state.SkipWithError("decoding failed");
    }
    count_pixels(state, stream);
}

// To a picture for RGB, and to one line that is looked at for samples.
void decode_by_libjpeg(benchmark::State& state, const Kind& kind, bool to_rgb)
{
    const std::vector<std::uint8_t>& stream = stream_of(kind);
    const std::size_t stride = to_rgb ? std::size_t{3} * width : 0;
    for ([[maybe_unused]] auto _ : state) {
        jpeg_decompress_struct coder{};
        jpeg_error_mgr errors{};
        coder.err = jpeg_std_error(&errors);
        jpeg_create_decompress(&coder);
        jpeg_mem_src(&coder, stream.data(), static_cast<unsigned long>(stream.size()));
        jpeg_read_header(&coder, TRUE);
        coder.out_color_space = to_rgb ? JCS_RGB : coder.jpeg_color_space;
        coder.do_fancy_upsampling = FALSE;
        coder.do_block_smoothing = FALSE;
        coder.dct_method = JDCT_ISLOW;
        jpeg_start_decompress(&coder);
        for (std::size_t y = 0; y < height; ++y) {
            JSAMPLE* out = picture().data() + y * stride;
            jpeg_read_scanlines(&coder, &out, 1);
            benchmark::DoNotOptimize(out);
        }
        jpeg_destroy_decompress(&coder);
    }
    count_pixels(state, stream);
}

template <class Run>
void add(const char* side, const Kind& kind, Run run)
{
    char name[64];
    std::snprintf(name, sizeof(name), "%s/%s/%x", side,
                  kind.is_progressive ? "progressive" : "baseline", kind.key);
    benchmark::RegisterBenchmark(name, [=](benchmark::State& state) {
        run(state, kind);
    })->Unit(benchmark::kMillisecond);
}

void add_benchmarks()
{
    for (const Kind& kind : kinds) {
        add("here", kind, decode_here);
        add("libjpeg", kind, [](auto& state, auto& of) { decode_by_libjpeg(state, of, false); });
        if (kind.is_progressive || kind.key == gray)
            continue;
        add("rgb_here", kind, decode_to_rgb_here);
        add("rgb_libjpeg", kind, [](auto& state, auto& of) { decode_by_libjpeg(state, of, true); });
    }
}

const bool added = (add_benchmarks(), true);

} // namespace
} // namespace nuv
