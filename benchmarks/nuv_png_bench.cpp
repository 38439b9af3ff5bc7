// Reading 24 megapixels from memory, lines pulled by a sink: PNG beside libpng's own loop with the
// same transforms, into one row, or for seven passes into rows of the whole image; the library's
// own raster format beside the plain samples.

#include "core/internal/nuv_readinternal.h"
#include "core/png/nuv_readpng.h"
#include "core/storage/nuv_readstorage.h"
#include "framework/base/nuv_held.h"
#include "framework/io/nuv_bytearrayinputstorage.h"
#include "framework/manager/nuv_createmanager.h"
#include "framework/utility/nuv_endian.h"

#include <benchmark/benchmark.h>
#include <png.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "benchmarks/nuv_photolike.h"

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t width = 6000;
constexpr std::uint32_t height = 4000;

struct Kind {
    const char* name;
    int color;
    int depth;
    int level; // of deflate
    bool interlaced;

    [[nodiscard]] std::size_t line_bytes() const
    {
        const auto samples = color == PNG_COLOR_TYPE_RGB ? 3U : 1U;
        return (std::size_t{width} * samples * static_cast<unsigned>(depth) + 7) / 8;
    }
};

constexpr Kind kinds[] = {
    {"rgb", PNG_COLOR_TYPE_RGB, 8, 6, false},
    {"rgb_level_1", PNG_COLOR_TYPE_RGB, 8, 1, false},
    {"gray", PNG_COLOR_TYPE_GRAY, 8, 1, false},
    {"palette", PNG_COLOR_TYPE_PALETTE, 8, 1, false},
    {"gray_16", PNG_COLOR_TYPE_GRAY, 16, 1, false},
    {"gray_1", PNG_COLOR_TYPE_GRAY, 1, 1, false},
    {"rgb_interlaced", PNG_COLOR_TYPE_RGB, 8, 1, true},
};

// A line of the kind, from one of a photograph.
Bytes line_of(const Kind& kind, const std::uint8_t* rgb)
{
    Bytes line(kind.line_bytes());
    if (kind.color == PNG_COLOR_TYPE_RGB) {
        std::copy_n(rgb, line.size(), line.begin());
        return line;
    }
    for (std::size_t x = 0; x < width; ++x) {
        const unsigned green = rgb[3 * x + 1];
        if (kind.depth == 1)
            line[x / 8] = static_cast<std::uint8_t>(line[x / 8] | (green >> 7) << (7 - x % 8));
        else if (kind.depth == 16)
            store_be16(&line[2 * x], green << 8 | rgb[3 * x]);
        else
            line[x] = static_cast<std::uint8_t>(kind.color == PNG_COLOR_TYPE_PALETTE ? green >> 2
                                                                                     : green);
    }
    return line;
}

const std::uint8_t* photo()
{
    static const NUV_PhotoLike picture(width, height);
    return picture.pixels().data();
}

Bytes encode(const Kind& kind)
{
    Bytes file;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(
        png, &file,
        [](png_structp self, png_bytep data, std::size_t size) {
            auto& out = *static_cast<Bytes*>(png_get_io_ptr(self));
            out.insert(out.end(), data, data + size);
        },
        nullptr);
    png_set_compression_level(png, kind.level);
    png_set_IHDR(png, info, width, height, kind.depth, kind.color, kind.interlaced ? 1 : 0, 0, 0);
    png_color colors[64];
    for (unsigned i = 0; i < 64; ++i)
        colors[i].red = colors[i].green = colors[i].blue = static_cast<png_byte>(4 * i);
    if (kind.color == PNG_COLOR_TYPE_PALETTE)
        png_set_PLTE(png, info, colors, 64);
    png_write_info(png, info);
    const int passes = png_set_interlace_handling(png);
    for (int pass = 0; pass < passes; ++pass) {
        for (std::size_t y = 0; y < height; ++y)
            png_write_row(png, line_of(kind, photo() + y * 3 * width).data());
    }
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return file;
}

const Bytes& file_of(const Kind& kind)
{
    static std::map<std::string, Bytes> files;
    Bytes& file = files[kind.name];
    if (file.empty())
        file = encode(kind);
    return file;
}

// Pulls all lines that `read` gives, as an engine over a storage over `bytes`.
template <class Read>
void pull(benchmark::State& state, const Bytes& bytes, std::size_t line_bytes, Read read)
{
    for ([[maybe_unused]] auto _ : state) {
        const std::unique_ptr<NUV_Manager, void (*)(NUV_Manager*)> manager(create_manager(0),
                                                                           destroy_manager);
        auto storage = make_initiated<NUV_ByteArrayInputStorage>(
            *manager, bytes.data(), static_cast<std::int32_t>(bytes.size()));
        NUV_Engine* engine = read(*manager, storage.get());
        const NUV_Held<NUV_SrcBuffer> lines(engine ? engine->src_buffer() : nullptr);
        std::size_t pulled = 0;
        if (lines && lines->block_bytes(static_cast<std::uint32_t>(line_bytes))) {
            while (const void* line = lines->get(nullptr)) {
                benchmark::DoNotOptimize(line);
                pulled += lines->release() ? 1 : 0;
            }
        }
        if (pulled != height)
            state.SkipWithError("lines are missing");
    }
}

void nuv_png(benchmark::State& state)
{
    const Kind& kind = kinds[state.range(0)];
    state.SetLabel(kind.name);
    pull(state, file_of(kind), kind.line_bytes(),
         [](NUV_Manager& manager, NUV_InputStorage* s) { return NUV_ReadPNG(manager).engine(s); });
}

void libpng_png(benchmark::State& state)
{
    const Kind& kind = kinds[state.range(0)];
    state.SetLabel(kind.name);
    const Bytes& file = file_of(kind);
    for ([[maybe_unused]] auto _ : state) {
        const std::uint8_t* next = file.data();
        png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
        png_infop info = png_create_info_struct(png);
        png_set_read_fn(png, &next, [](png_structp self, png_bytep into, std::size_t size) {
            auto& from = *static_cast<const std::uint8_t**>(png_get_io_ptr(self));
            std::memcpy(into, from, size);
            from += size;
        });
        png_read_info(png, info);
        if (kind.depth == 16)
            png_set_swap(png);
        const int passes = png_set_interlace_handling(png);
        Bytes rows(kind.line_bytes() * (passes > 1 ? height : 1));
        for (int pass = 0; pass < passes; ++pass) {
            for (std::size_t y = 0; y < height; ++y) {
                png_read_row(png, &rows[passes > 1 ? y * kind.line_bytes() : 0], nullptr);
                benchmark::DoNotOptimize(rows.data());
            }
        }
        png_read_end(png, nullptr);
        png_destroy_read_struct(&png, &info, nullptr);
    }
}

// Samples of 8 or 16 bits, as they are or behind the fields of the library's own format.
void raw_samples(benchmark::State& state, bool has_fields)
{
    const auto bits = static_cast<std::uint16_t>(state.range(0));
    const std::size_t line_bytes = std::size_t{width} * 3 * bits / 8;
    Bytes bytes(56);
    std::memcpy(bytes.data(), "NUVF\0\1", 6);
    store_be16(&bytes[12], static_cast<std::uint32_t>(line_bytes * height >> 16));
    store_be16(&bytes[14], static_cast<std::uint32_t>(line_bytes * height & 0xFFFF));
    store_be16(&bytes[22], width);
    store_be16(&bytes[30], height);
    store_be16(&bytes[32], bits);
    bytes[35] = 3;
    bytes[47] = 220; // sRGB
    bytes.resize(56 + line_bytes * height, 77);
    pull(state, bytes, line_bytes, [&](NUV_Manager& manager, NUV_InputStorage* s) -> NUV_Engine* {
        if (has_fields)
            return NUV_ReadInternal(manager).engine(s);
        NUV_Header header(manager);
        header.width(width);
        header.height(height);
        header.bits(bits);
        header.channels(3);
        header.color_type(NUV_ColorType::s_rgb);
        return NUV_ReadStorage(manager).engine(s, &header, 56, 0, 1);
    });
}

BENCHMARK(nuv_png)->DenseRange(0, std::size(kinds) - 1)->Unit(benchmark::kMillisecond);
BENCHMARK(libpng_png)->DenseRange(0, std::size(kinds) - 1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(raw_samples, internal, true)->Arg(8)->Arg(16)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(raw_samples, plain, false)->Arg(8)->Arg(16)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace nuv
