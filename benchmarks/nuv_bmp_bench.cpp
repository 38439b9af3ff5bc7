// Windows bitmaps of 6000 x 4000 pixels in memory, the lowest line first, to lines that are
// dropped. Beside each a plain copy of the stored bytes, or of those that come out where these are
// more. Besides the library's own format, and the same samples without a header.

#include "core/bmp/nuv_readbmp.h"
#include "core/dib/source/nuv_dibrow_kernels.h"
#include "core/internal/nuv_readinternal.h"
#include "core/storage/nuv_readstorage.h"
#include "framework/io/nuv_bytearrayinputstorage.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "benchmarks/nuv_scalesetup.h"

namespace nuv {
namespace {

struct BitmapCase {
    const char* name;
    std::uint16_t depth;
    std::uint32_t masks[3]; // of bit fields, where there are any
};

constexpr BitmapCase cases[] = {
    {"1 bit", 1, {}},
    {"4 bits", 4, {}},
    {"8 bits", 8, {}},
    {"16 bits", 16, {}},
    {"16 bits in fields", 16, {0xF800, 0x7E0, 0x1F}},
    {"24 bits", 24, {}},
    {"32 bits", 32, {}},
    {"32 bits in fields", 32, {0x3FF00000, 0xFFC00, 0x3FF}},
};

[[nodiscard]] std::size_t stored_bytes(const BitmapCase& bitmap)
{
    return (std::size_t{width} * bitmap.depth + 31) / 32 * 4 * height;
}

[[nodiscard]] std::size_t made_bytes(const BitmapCase& bitmap)
{
    const std::size_t pixels = std::size_t{width} * height;
    if (bitmap.depth < 8)
        return bitmap.depth == 1 ? pixels / 8 : pixels;
    const bool is_wide = bitmap.masks[0] == 0x3FF00000;
    return bitmap.depth == 8 ? pixels : pixels * (is_wide ? 6 : 3);
}

[[nodiscard]] std::vector<std::uint8_t> file_of(const BitmapCase& bitmap)
{
    constexpr std::size_t headers = 14 + 40;
    const bool has_fields = bitmap.masks[0] != 0;
    const std::size_t colors = bitmap.depth <= 8 ? std::size_t{4} << bitmap.depth : 0;
    std::vector<std::uint8_t> file(headers + (has_fields ? 12 : 0) + colors);
    const auto put = [&](std::size_t at, std::uint32_t value) {
        for (std::size_t i = 0; i < 4; ++i)
            file[at + i] = static_cast<std::uint8_t>(value >> 8 * i);
    };
    put(0, 0x4D42);
    put(10, static_cast<std::uint32_t>(file.size()));
    put(14, 40);
    put(18, width);
    put(22, height);
    put(26, 1U | std::uint32_t{bitmap.depth} << 16);
    put(30, has_fields ? 3 : 0);
    for (std::size_t c = 0; has_fields && c < 3; ++c)
        put(headers + 4 * c, bitmap.masks[c]);
    const std::size_t pixels = stored_bytes(bitmap);
    file.reserve(file.size() + pixels);
    for (std::size_t i = 0; i < pixels; ++i)
        file.push_back(static_cast<std::uint8_t>(i * 2654435761U >> 24));
    return file;
}

// By the chain that `make(manager, storage)` begins.
template <class Make>
void read_file(benchmark::State& state, const std::vector<std::uint8_t>& file, Make make)
{
    for ([[maybe_unused]] auto _ : state) {
        NUV_Manager* manager = create_manager(0);
        auto storage = make_initiated<NUV_ByteArrayInputStorage>(
            *manager, file.data(), static_cast<std::int32_t>(file.size()));
        NUV_Engine* engine = make(*manager, storage.get());
        const bool is_done = NUV_BenchEnds(*manager).run(engine, state);
        storage.reset();
        destroy_manager(manager);
        if (!is_done)
            break;
    }
    count_pixels(state);
}

void read_bitmap(benchmark::State& state)
{
    const BitmapCase& bitmap = cases[state.range(0)];
    state.SetLabel(bitmap.name);
    read_file(state, file_of(bitmap), [](NUV_Manager& manager, NUV_InputStorage* storage) {
        return NUV_ReadBMP(manager).engine(storage);
    });
}

// RGB behind the header of docs/formats.md; of 16 bits with the higher byte first.
void read_internal(benchmark::State& state)
{
    const auto bits = static_cast<std::uint32_t>(state.range(0));
    std::vector<std::uint8_t> file = {'N', 'U', 'V', 'F', 0, 1, 0, 0};
    const std::uint32_t bytes = width * height * channels * bits / 8;
    for (const std::uint32_t field :
         {0U, bytes, 0U, width, 0U, height, bits << 16 | channels, 0U, 0U, 220U, 0U, 0U}) {
        for (int shift = 24; shift >= 0; shift -= 8)
            file.push_back(static_cast<std::uint8_t>(field >> shift));
    }
    file.resize(file.size() + bytes, 7);
    read_file(state, file, [](NUV_Manager& manager, NUV_InputStorage* storage) {
        return NUV_ReadInternal(manager).engine(storage);
    });
}

void read_samples(benchmark::State& state)
{
    constexpr std::int32_t host_order = 1;
    const auto bits = static_cast<std::uint16_t>(state.range(0));
    const std::vector<std::uint8_t> file(std::size_t{width} * height * channels * bits / 8, 7);
    read_file(state, file, [&](NUV_Manager& manager, NUV_InputStorage* storage) {
        NUV_Header header(manager);
        header.width(width);
        header.height(height);
        header.channels(channels);
        header.bits(bits);
        header.data_type(NUV_DataType::u_integer);
        header.color_type(NUV_ColorType::s_rgb);
        header.encode_type(NUV_EncodeType::raw);
        return NUV_ReadStorage(manager).engine(storage, &header, 0, 0, host_order);
    });
}

void copy_bytes(benchmark::State& state)
{
    const BitmapCase& bitmap = cases[state.range(0)];
    const std::size_t bytes = std::max(stored_bytes(bitmap), made_bytes(bitmap));
    const std::vector<std::uint8_t> from(bytes, 7);
    std::vector<std::uint8_t> to(bytes);
    state.SetLabel(bitmap.name);
    for ([[maybe_unused]] auto _ : state) {
        std::memcpy(to.data(), from.data(), bytes);
        benchmark::ClobberMemory();
    }
    count_pixels(state);
}

// One line in its form: 0 is the portable one.
void convert_row(benchmark::State& state)
{
    constexpr NUV_BitFields fives{{0x7C00, 0x3E0, 0x1F}, {7, 2, 0}, {0, 0, 3}};
    constexpr NUV_BitFields bytes{{0xFF0000, 0xFF00, 0xFF}, {16, 8, 0}, {}};
    const auto depth = static_cast<std::uint32_t>(state.range(1));
    const NUV_BitFields& fields = depth == 16 ? fives : bytes;
    const DIBRow convert = choose_dib_row(form(state), depth, 8, fields);
    const std::vector<std::uint8_t> in(std::size_t{width} * depth / 8, 7);
    std::vector<std::uint8_t> out(line_samples);
    for ([[maybe_unused]] auto _ : state) {
        convert(in.data(), out.data(), width, fields);
        benchmark::ClobberMemory();
    }
}

constexpr auto last = static_cast<std::int64_t>(std::size(cases)) - 1;
BENCHMARK(copy_bytes)->DenseRange(0, last)->Unit(benchmark::kMillisecond);
BENCHMARK(read_bitmap)->DenseRange(0, last)->Unit(benchmark::kMillisecond);
BENCHMARK(read_internal)->Arg(8)->Arg(16)->Unit(benchmark::kMillisecond);
BENCHMARK(read_samples)->Arg(8)->Arg(16)->Unit(benchmark::kMillisecond);
BENCHMARK(convert_row)->ArgsProduct({{0, 1}, {16, 24, 32}})->ArgNames({"form", "depth"});

} // namespace
} // namespace nuv
