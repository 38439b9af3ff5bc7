#pragma once

// What the benchmarks of the scalers have in common: 6000 x 4000 pixels of RGB, from lines in
// memory to lines that are dropped, and a plain copy of them.

#include "framework/base/nuv_cpu.h"
#include "framework/engine/nuv_generateengine.h"
#include "framework/engine/nuv_writeengine.h"
#include "framework/manager/nuv_createmanager.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

namespace nuv {

using Byte = std::uint8_t;
using Word = std::uint16_t;

inline constexpr std::uint32_t width = 6000;
inline constexpr std::uint32_t height = 4000;
inline constexpr std::uint16_t channels = 3;
inline constexpr std::size_t line_samples = std::size_t{width} * channels;

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

// Delivers bytes in blocks.
class NUV_BenchSourceEngine final : public NUV_GenerateEngine {
public:
    using NUV_GenerateEngine::NUV_GenerateEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_DstBuffer* dst,
                                std::span<const std::uint8_t> bytes, std::uint32_t block_bytes)
    {
        left_ = bytes;
        return NUV_GenerateEngine::initiate(header, dst) && dst->block_bytes(block_bytes);
    }
    [[nodiscard]] bool execute() override
    {
        const std::size_t count = std::min<std::size_t>(left_.size(), dst_buffer_->block_bytes());
        if (count == 0)
            return false;
        void* out = dst_buffer_->get();
        if (!out)
            return false;
        std::memcpy(out, left_.data(), count);
        left_ = left_.subspan(count);
        return dst_buffer_->release(static_cast<std::uint32_t>(count));
    }

private:
    std::span<const std::uint8_t> left_;
};

class NUV_BenchSinkEngine final : public NUV_NoOutputEngine, public NUV_BufferInputEngine {
public:
    explicit NUV_BenchSinkEngine(NUV_Manager& manager)
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
        std::uint32_t count = 0;
        return src_buffer_->get(&count) && src_buffer_->release();
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
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(source<T>().data());
        const std::span<const std::uint8_t> all(bytes, source<T>().size() * sizeof(T));
        return append_generator<NUV_BenchSourceEngine>(&header, all, header.line_bytes());
    }
    // A bilevel page, as packed bits or as runs.
    [[nodiscard]] NUV_Engine* page(const std::vector<std::uint8_t>& bytes, std::uint32_t page_width,
                                   std::uint32_t page_height, bool as_runs)
    {
        NUV_Header header(manager());
        header.width(page_width);
        header.height(page_height);
        header.channels(1);
        header.bits(1);
        header.encode_type(as_runs ? NUV_EncodeType::qd_rle : NUV_EncodeType::raw);
        const std::uint32_t block = as_runs ? 65536 : header.line_bytes();
        return append_generator<NUV_BenchSourceEngine>(&header,
                                                       std::span<const std::uint8_t>(bytes), block);
    }
    // Runs what ends in `engine`. False, and told to `state`, when there is nothing.
    [[nodiscard]] bool run(NUV_Engine* engine, benchmark::State& state)
    {
        NUV_Engine* sink = engine ? append_writer<NUV_BenchSinkEngine>(*engine, nullptr) : nullptr;
        if (!sink) {
            state.SkipWithError("no chain");
            return false;
        }
        while (sink->execute()) {
        }
        return sink->end();
    }
};

inline void count_pixels(benchmark::State& state)
{
    state.counters["MP/s"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * width * height * 1e-6,
                           benchmark::Counter::kIsRate);
}

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

// Form 0 of a kernel is the portable one, form 1 the best there is, form 2 that for AVX2.
inline const NUV_Cpu& form(const benchmark::State& state)
{
    const NUV_Cpu* const forms[] = {&NUV_Cpu::portable, &NUV_Cpu::current(), &NUV_Cpu::avx2};
    return *forms[state.range(0)];
}

} // namespace nuv
