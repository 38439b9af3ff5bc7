// The mask scalers on 6000 x 4000 pixels of RGB, from lines in memory to lines that are dropped,
// and their kernels in each form. Beside them a plain copy of the source.

#include "extension/scalei2utility/nuv_scalei2kernels.h"
#include "extension/scalei2utility/nuv_scalei2smallutility.h"
#include "extension/scalei2varex/nuv_scalei2varexby.h"
#include "framework/engine/nuv_generateengine.h"
#include "framework/engine/nuv_writeengine.h"
#include "framework/manager/nuv_createmanager.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace nuv {
namespace {

constexpr std::uint32_t width = 6000;
constexpr std::uint32_t height = 4000;
constexpr std::uint16_t channels = 3;
constexpr std::size_t line_samples = std::size_t{width} * channels;

template <class T>
const std::vector<T>& source()
{
    static const std::vector<T> samples = [] {
        std::vector<T> made(line_samples * height);
        for (std::size_t i = 0; i < made.size(); ++i)
            made[i] = static_cast<T>((i % line_samples + i / line_samples * 7) * 40503U >> 5);
        return made;
    }();
    return samples;
}

template <class T>
class NUV_BenchLinesEngine final : public NUV_GenerateEngine {
public:
    using NUV_GenerateEngine::NUV_GenerateEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_DstBuffer* dst)
    {
        return NUV_GenerateEngine::initiate(header, dst) && dst->block_bytes(header->line_bytes());
    }
    [[nodiscard]] bool execute() override
    {
        if (line_ == height)
            return false;
        void* out = dst_buffer_->get();
        if (!out)
            return false;
        std::memcpy(out, source<T>().data() + line_ * line_samples, line_samples * sizeof(T));
        ++line_;
        return dst_buffer_->release(header_.line_bytes());
    }

private:
    std::size_t line_ = 0;
};

class NUV_BenchDropEngine final : public NUV_NoOutputEngine, public NUV_BufferInputEngine {
public:
    explicit NUV_BenchDropEngine(NUV_Manager& manager)
        : NUV_NoOutputEngine(manager),
          NUV_BufferInputEngine(manager)
    {}
    bool cleanup() override { return NUV_BufferInputEngine::cleanup(initiated()); }
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_OutputStorage*)
    {
        return NUV_NoOutputEngine::initiate() && NUV_BufferInputEngine::initiate(header, src);
    }
    [[nodiscard]] bool execute() override
    {
        return src_buffer_->get(nullptr) && src_buffer_->release();
    }
};

class NUV_BenchEnds final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    template <class T>
    [[nodiscard]] NUV_Engine* first()
    {
        NUV_Header header(manager());
        header.width(width);
        header.height(height);
        header.channels(channels);
        header.bits(8 * sizeof(T));
        return append_generator<NUV_BenchLinesEngine<T>>(&header);
    }
    [[nodiscard]] NUV_Engine* last(NUV_Engine& previous)
    {
        return append_writer<NUV_BenchDropEngine>(previous, nullptr);
    }
};

template <class T>
void copy(benchmark::State& state)
{
    std::vector<T> to(source<T>().size());
    for ([[maybe_unused]] auto _ : state) {
        std::memcpy(to.data(), source<T>().data(), to.size() * sizeof(T));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(to.size() * sizeof(T)));
}

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
        engine = engine ? ends.last(*engine) : nullptr;
        if (!engine) {
            state.SkipWithError("no chain");
            break;
        }
        while (engine->execute()) {
        }
        engine->end();
        destroy_manager(manager);
    }
    state.counters["MP/s"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * width * height * 1e-6,
                           benchmark::Counter::kIsRate);
}

using Byte = std::uint8_t;
using Word = std::uint16_t;

BENCHMARK(copy<Byte>)->Unit(benchmark::kMillisecond);
BENCHMARK(fine<Byte>)
    ->Args({100, 100})
    ->Args({60, 60})
    ->Args({20, 20})
    ->Args({40, 20})
    ->Args({80, 80})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(fine<Word>)->Args({60, 60})->Args({20, 20})->Unit(benchmark::kMillisecond);

// Kernels, a line at a time: form 0 is the portable one, form 1 the best there is.
const NUV_Cpu& form(const benchmark::State& state)
{
    static constexpr NUV_Cpu portable{};
    return state.range(0) == 0 ? portable : NUV_Cpu::current();
}

template <class A>
void filter_row(benchmark::State& state)
{
    constexpr std::size_t pixels = width * 3 / 5;
    const auto taps = static_cast<std::uint32_t>(state.range(1));
    const auto count = static_cast<std::uint32_t>(state.range(2));
    std::vector<std::int64_t> firsts(pixels);
    for (std::size_t k = 0; k < pixels; ++k)
        firsts[k] = static_cast<std::int64_t>(k);
    const std::vector<typename A::Weight> weights(pixels * 8, 128);
    std::vector<typename A::Middle> out(pixels * count);
    const auto chosen = choose_filter_row<A>(form(state), taps, count, 1100);
    for ([[maybe_unused]] auto _ : state) {
        chosen.filter(source<typename A::Sample>().data(), {firsts.data(), weights.data()},
                      out.data(), 0, pixels);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(pixels));
}

template <class A>
void combine_middles(benchmark::State& state)
{
    const auto taps = static_cast<std::uint32_t>(state.range(1));
    const std::vector<typename A::Middle> line(line_samples, 1000);
    const std::vector<const typename A::Middle*> lines(8, line.data());
    const std::vector<typename A::Weight> weights(8, 128);
    std::vector<typename A::Sample> out(line_samples);
    const auto kernel = choose_combine_middles<A>(form(state), taps, 1100);
    for ([[maybe_unused]] auto _ : state) {
        kernel(lines.data(), weights.data(), out.data(), line_samples, 255);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(line_samples));
}

BENCHMARK(filter_row<NUV_ScaleI2FixedArithmetic>)->ArgsProduct({{0, 1}, {4, 7, 8}, {1, 3, 4}});
BENCHMARK(filter_row<NUV_ScaleI2FloatArithmetic>)->ArgsProduct({{0, 1}, {7}, {1, 3, 4}});
BENCHMARK(combine_middles<NUV_ScaleI2FixedArithmetic>)->ArgsProduct({{0, 1}, {4, 7, 8}});
BENCHMARK(combine_middles<NUV_ScaleI2FloatArithmetic>)->ArgsProduct({{0, 1}, {7}});

} // namespace
} // namespace nuv
