// Rotation beside a plain copy of the same bytes: 6000 x 4000 pixels of 8-bit RGB and gray, and an
// A4 page of 1 bit at 600 dpi, as bits and as runs: short strokes, letters, a halftone and nothing.
// Lines come from memory, the turned plane is looked at where it stands.

#include "core/qdrle/nuv_qdrlerun.h"
#include "core/rotate/nuv_rotate90.h"
#include "framework/base/nuv_status.h"
#include "framework/engine/nuv_generateengine.h"
#include "framework/engine/nuv_writeengine.h"
#include "framework/manager/nuv_createmanager.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "benchmarks/nuv_textpage.h"

namespace nuv {
namespace {

class NUV_BenchSourceEngine final : public NUV_GenerateEngine {
public:
    using NUV_GenerateEngine::NUV_GenerateEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_DstBuffer* dst,
                                const std::vector<std::uint8_t>* bytes)
    {
        bytes_ = bytes;
        block_ = header->is_raw() ? header->line_bytes() : 4096;
        return NUV_GenerateEngine::initiate(header, dst) && dst->block_bytes(block_);
    }
    [[nodiscard]] bool execute() override
    {
        const std::size_t count = std::min<std::size_t>(block_, bytes_->size() - done_);
        if (count == 0)
            return false;
        void* out = dst_buffer_->get();
        if (!out)
            return false;
        std::memcpy(out, bytes_->data() + done_, count);
        done_ += count;
        return dst_buffer_->release(static_cast<std::uint32_t>(count));
    }

private:
    const std::vector<std::uint8_t>* bytes_ = nullptr;
    std::size_t done_ = 0;
    std::uint32_t block_ = 0;
};

class NUV_BenchSinkEngine final : public NUV_NoOutputEngine, public NUV_BufferInputEngine {
public:
    explicit NUV_BenchSinkEngine(NUV_Manager& manager)
        : NUV_NoOutputEngine(manager),
          NUV_BufferInputEngine(manager)
    {}
    bool cleanup() override { return NUV_BufferInputEngine::cleanup(initiated()); }
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_OutputStorage*,
                                std::size_t* seen)
    {
        seen_ = seen;
        return NUV_NoOutputEngine::initiate() && NUV_BufferInputEngine::initiate(header, src);
    }
    [[nodiscard]] bool execute() override
    {
        std::uint32_t count = 0;
        const void* block = src_buffer_->get(&count);
        if (!block)
            return false;
        benchmark::DoNotOptimize(block);
        *seen_ += count;
        return src_buffer_->release();
    }

private:
    std::size_t* seen_ = nullptr;
};

class NUV_BenchChain final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // Bytes of the turned image.
    [[nodiscard]] std::size_t turn(const NUV_Header& header, const std::vector<std::uint8_t>& bytes,
                                   std::int32_t angle)
    {
        std::size_t seen = 0;
        NUV_Engine* source = append_generator<NUV_BenchSourceEngine>(&header, &bytes);
        NUV_Engine* turned = NUV_Rotate90(manager()).engine(source, angle);
        if (!turned)
            return 0;
        NUV_Engine* sink = append_writer<NUV_BenchSinkEngine>(*turned, nullptr, &seen);
        if (!sink)
            return 0;
        while (sink->execute()) {
        }
        sink->end();
        return seen;
    }
};

struct Image {
    std::uint32_t width;
    std::uint32_t height;
    std::uint16_t channels;
    std::uint16_t bits;
    bool as_runs = false;
    bool (*is_black)(std::uint32_t x, std::uint32_t y) = nullptr; // of 1 bit
};

// Something like a page of text: short strokes in two thirds of the lines.
[[nodiscard]] bool is_stroke(std::uint32_t x, std::uint32_t y)
{
    const std::uint32_t cell = (x / 40) * 2654435761U + (y / 60) * 40503U;
    return y % 90 < 60 && x % 40 < 30 && ((cell >> (x % 40 / 6 + y % 60 / 10)) & 3) == 0;
}

// Dots of a halftone, no two lines of them the same.
[[nodiscard]] bool is_dot(std::uint32_t x, std::uint32_t y)
{
    return (x + y * 3) % 8 < 2 + y % 5;
}

[[nodiscard]] bool is_ink(std::uint32_t x, std::uint32_t y)
{
    static const std::vector<std::uint8_t> bits = page_bytes(false);
    return (bits[y * (page_width / 8) + x / 8] >> (7 - x % 8) & 1) != 0;
}

[[nodiscard]] bool is_never(std::uint32_t, std::uint32_t)
{
    return false;
}

constexpr Image images[] = {
    {6000, 4000, 3, 8},
    {6000, 4000, 1, 8},
    {page_width, page_height, 1, 1, false, is_stroke},
    {page_width, page_height, 1, 1, true, is_stroke},
    {page_width, page_height, 1, 1, true, is_ink},
    {page_width, page_height, 1, 1, true, is_dot},
    {page_width, page_height, 1, 1, true, is_never},
};

[[nodiscard]] std::vector<std::uint8_t> make_bytes(const Image& image)
{
    std::vector<std::uint8_t> bytes;
    const std::size_t line = (std::size_t{image.width} * image.channels * image.bits + 7) / 8;
    if (!image.as_runs)
        bytes.resize(line * image.height);
    for (std::uint32_t y = 0; y < image.height; ++y) {
        if (image.bits != 1) {
            for (std::size_t i = 0; i < line; ++i)
                bytes[y * line + i] = static_cast<std::uint8_t>((y * line + i) * 2654435761U >> 24);
            continue;
        }
        const auto put = [&](NUV_QDRLERun run) {
            bytes.resize(bytes.size() + NUV_QDRLERun::bytes);
            store_run(bytes.data() + bytes.size() - NUV_QDRLERun::bytes, run);
        };
        for (std::uint32_t x = 0; x < image.width; ++x) {
            if (!image.is_black(x, y))
                continue;
            if (!image.as_runs) {
                std::uint8_t& byte = bytes[y * line + x / 8];
                byte = static_cast<std::uint8_t>(byte | 0x80U >> x % 8);
                continue;
            }
            const std::uint32_t start = x;
            while (x + 1 < image.width && image.is_black(x + 1, y))
                ++x;
            put({start, x});
        }
        if (image.as_runs)
            put({});
    }
    return bytes;
}

void report(benchmark::State& state, const Image& image)
{
    const auto pixels = std::int64_t{image.width} * image.height;
    state.counters["Mpixels"] = benchmark::Counter(
        static_cast<double>(state.iterations() * pixels) / 1e6, benchmark::Counter::kIsRate);
}

void rotate(benchmark::State& state)
{
    const Image image = images[state.range(0)];
    const std::vector<std::uint8_t> bytes = make_bytes(image);
    NUV_Manager* manager = create_manager(0);
    {
        NUV_Header header(*manager);
        header.width(image.width);
        header.height(image.height);
        header.channels(image.channels);
        header.bits(image.bits);
        if (image.as_runs)
            header.encode_type(NUV_EncodeType::qd_rle);
        for ([[maybe_unused]] auto _ : state) {
            if (NUV_BenchChain(*manager).turn(header, bytes, static_cast<int>(state.range(1))) == 0)
                state.SkipWithError("the run failed");
            manager->clear();
        }
    }
    destroy_manager(manager);
    report(state, image);
}

void copy(benchmark::State& state)
{
    const Image image = images[state.range(0)];
    const std::vector<std::uint8_t> bytes = make_bytes(image);
    for ([[maybe_unused]] auto _ : state) {
        // Fresh memory, as every run of a chain has it.
        std::vector<std::uint8_t> plane(bytes);
        benchmark::DoNotOptimize(plane.data());
    }
    report(state, image);
}

BENCHMARK(copy)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(rotate)
    ->ArgsProduct({{0, 1, 2, 3, 4, 5, 6}, {90, 180, 270}})
    ->ArgNames({"image", "angle"})
    ->Unit(benchmark::kMillisecond);

} // namespace
} // namespace nuv
