// The JPEG primitives in each of their forms, per block of 64 samples, on a block as a photograph
// gives it at quality 75.

#include "core/jpeg/kernels/nuv_jpegprimitives.h"

#include "core/jpeg/kernels/nuv_jpegcoefficients.h"
#include "core/jpeg/stream/nuv_jpegstandardtables.h"
#include "core/jpeg/stream/nuv_jpegtables.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <random>
#include <type_traits>
#include <vector>

namespace nuv {
namespace {

constexpr std::size_t blocks = 256;

constexpr NUV_Cpu portable = {.has_sse2 = false, .has_avx2 = false};
constexpr NUV_Cpu sse2 = {.has_sse2 = true, .has_avx2 = false};
constexpr NUV_Cpu avx2 = {.has_sse2 = true, .has_avx2 = true};

// A slope, an edge and some noise: about 8 coefficients of a block survive quantisation.
std::vector<std::int16_t> sample_blocks()
{
    std::mt19937 random(1);
    std::uniform_int_distribution<int> noise(-6, 6);
    std::uniform_int_distribution<int> slope(-7, 7);
    std::vector<std::int16_t> samples;
    for (std::size_t i = 0; i < blocks; ++i) {
        const int across = slope(random);
        const int down = slope(random);
        const int edge = i % 3 == 0 ? 30 : 0;
        for (int y = 0; y < 8; ++y) {
            for (int x = 0; x < 8; ++x) {
                const int value = across * x + down * y + (x > 4 ? edge : 0) + noise(random);
                samples.push_back(static_cast<std::int16_t>(std::clamp(value, -128, 127)));
            }
        }
    }
    return samples;
}

struct QuantiserTables {
    std::array<std::uint8_t, 64> raw{}; // zig-zag
    std::array<std::uint16_t, 64> forward{};
    std::array<std::int16_t, 64> backward{};
};

QuantiserTables quality_75()
{
    QuantiserTables tables;
    for (std::size_t i = 0; i < 64; ++i) {
        const int quantiser = (jpeg_standard_luminance_quantisers[jpeg_zigzag[i]] + 1) / 2;
        tables.raw[i] = static_cast<std::uint8_t>(quantiser);
        tables.backward[jpeg_zigzag[i]] = static_cast<std::int16_t>(quantiser);
    }
    jpeg_primitives(portable).quant_forward_init(tables.raw.data(), tables.forward.data());
    return tables;
}

std::vector<std::int16_t> coefficient_blocks()
{
    std::vector<std::int16_t> coefficients = sample_blocks();
    const QuantiserTables tables = quality_75();
    for (std::size_t i = 0; i < blocks; ++i)
        jpeg_primitives(portable).fdct_quant(&coefficients[i * 64], tables.forward.data());
    return coefficients;
}

void count_blocks(benchmark::State& state)
{
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(blocks));
}

template <const NUV_Cpu& Cpu>
void fdct_quant(benchmark::State& state)
{
    const NUV_JPEGPrimitives& primitives = jpeg_primitives(Cpu);
    const QuantiserTables tables = quality_75();
    std::vector<std::int16_t> samples = sample_blocks();
    for ([[maybe_unused]] auto _ : state) {
        for (std::size_t i = 0; i < blocks; ++i)
            primitives.fdct_quant(&samples[i * 64], tables.forward.data());
        benchmark::ClobberMemory();
    }
    count_blocks(state);
}
BENCHMARK_TEMPLATE(fdct_quant, portable);
BENCHMARK_TEMPLATE(fdct_quant, sse2);

// What the encoder does with its blocks.
void transform_blocks(benchmark::State& state, const NUV_Cpu& cpu)
{
    const QuantiserTables tables = quality_75();
    const std::vector<std::int16_t> samples = sample_blocks();
    std::vector<std::int16_t> coefficients(samples.size());
    std::array<std::uint64_t, blocks> masks{};
    for ([[maybe_unused]] auto _ : state) {
        jpeg_primitives(cpu).transform_blocks(samples.data(), blocks, tables.forward.data(),
                                              coefficients.data(), masks.data());
        benchmark::ClobberMemory();
    }
    count_blocks(state);
}
BENCHMARK_CAPTURE(transform_blocks, portable, portable);
BENCHMARK_CAPTURE(transform_blocks, sse2, sse2);
BENCHMARK_CAPTURE(transform_blocks, avx2, avx2);
BENCHMARK_CAPTURE(transform_blocks, best, NUV_Cpu::current());

template <const NUV_Cpu& Cpu>
void idct_dequant(benchmark::State& state)
{
    const NUV_JPEGPrimitives& primitives = jpeg_primitives(Cpu);
    const QuantiserTables tables = quality_75();
    const std::vector<std::int16_t> coefficients = coefficient_blocks();
    std::vector<std::int16_t> samples(coefficients.size());
    for ([[maybe_unused]] auto _ : state) {
        for (std::size_t i = 0; i < blocks; ++i)
            primitives.idct_dequant(&coefficients[i * 64], &samples[i * 64],
                                    tables.backward.data());
        benchmark::ClobberMemory();
    }
    count_blocks(state);
}
BENCHMARK_TEMPLATE(idct_dequant, portable);
BENCHMARK_TEMPLATE(idct_dequant, sse2);
BENCHMARK_TEMPLATE(idct_dequant, avx2);

// Counts blocks of luma, so that the three shapes compare.
template <const NUV_Cpu& Cpu, auto Primitive, std::size_t LumaBlocks>
void convert(benchmark::State& state)
{
    const auto primitive = jpeg_primitives(Cpu).*Primitive;
    constexpr std::int32_t row_step = 48 * 64;
    std::vector<std::uint8_t> pixels(std::size_t{row_step} * 16);
    std::mt19937 random(2);
    for (std::uint8_t& byte : pixels)
        byte = static_cast<std::uint8_t>(random());
    alignas(32) std::array<std::int16_t, 6 * 64> out{};
    for ([[maybe_unused]] auto _ : state) {
        for (std::size_t i = 0; i < blocks; i += LumaBlocks)
            primitive(&pixels[i % 64 * 24], row_step, out.data(), &out[256], &out[320]);
        benchmark::ClobberMemory();
    }
    count_blocks(state);
}
BENCHMARK_TEMPLATE(convert, portable, &NUV_JPEGPrimitives::convert_rgb_ycc_444, 1);
BENCHMARK_TEMPLATE(convert, sse2, &NUV_JPEGPrimitives::convert_rgb_ycc_444, 1);
BENCHMARK_TEMPLATE(convert, avx2, &NUV_JPEGPrimitives::convert_rgb_ycc_444, 1);
BENCHMARK_TEMPLATE(convert, portable, &NUV_JPEGPrimitives::convert_rgb_ycc_422, 2);
BENCHMARK_TEMPLATE(convert, sse2, &NUV_JPEGPrimitives::convert_rgb_ycc_422, 2);
BENCHMARK_TEMPLATE(convert, avx2, &NUV_JPEGPrimitives::convert_rgb_ycc_422, 2);
BENCHMARK_TEMPLATE(convert, portable, &NUV_JPEGPrimitives::convert_rgb_ycc_420, 4);
BENCHMARK_TEMPLATE(convert, sse2, &NUV_JPEGPrimitives::convert_rgb_ycc_420, 4);
BENCHMARK_TEMPLATE(convert, avx2, &NUV_JPEGPrimitives::convert_rgb_ycc_420, 4);
BENCHMARK_TEMPLATE(convert, portable, &NUV_JPEGPrimitives::split_444, 1);
BENCHMARK_TEMPLATE(convert, sse2, &NUV_JPEGPrimitives::split_444, 1);
BENCHMARK_TEMPLATE(convert, avx2, &NUV_JPEGPrimitives::split_444, 1);
BENCHMARK_TEMPLATE(convert, portable, &NUV_JPEGPrimitives::split_420, 4);
BENCHMARK_TEMPLATE(convert, sse2, &NUV_JPEGPrimitives::split_420, 4);
BENCHMARK_TEMPLATE(convert, avx2, &NUV_JPEGPrimitives::split_420, 4);

std::vector<std::uint8_t> encode(const NUV_JPEGPrimitives& primitives,
                                 const std::vector<std::int16_t>& coefficients)
{
    NUV_JPEGEncodeTable dc;
    NUV_JPEGEncodeTable ac;
    primitives.huffman_encode_spec_init(jpeg_standard_luminance_dc.counts.data(),
                                        jpeg_standard_luminance_dc.values.data(), &dc);
    primitives.huffman_encode_spec_init(jpeg_standard_luminance_ac.counts.data(),
                                        jpeg_standard_luminance_ac.values.data(), &ac);
    std::vector<std::uint8_t> coded(blocks * 512);
    const auto size = static_cast<std::int32_t>(coded.size());
    std::int32_t position = 0;
    std::int16_t previous = 0;
    NUV_JPEGEncodeState state;
    primitives.huffman_encode_state_init(&state);
    for (std::size_t i = 0; i <= blocks; ++i) {
        primitives.huffman_encode_block(&coefficients[i % blocks * 64], coded.data(), size,
                                        &position, &previous, &dc, &ac, &state, i == blocks);
    }
    coded.resize(static_cast<std::size_t>(position));
    return coded;
}

template <const NUV_Cpu& Cpu>
void huffman_encode(benchmark::State& state)
{
    const std::vector<std::int16_t> coefficients = coefficient_blocks();
    std::size_t bytes = 0;
    for ([[maybe_unused]] auto _ : state)
        bytes = encode(jpeg_primitives(Cpu), coefficients).size();
    state.counters["bytes_per_block"] = static_cast<double>(bytes) / blocks;
    count_blocks(state);
}
BENCHMARK_TEMPLATE(huffman_encode, portable);
BENCHMARK_TEMPLATE(huffman_encode, sse2);

// What the encoder does with the coefficients.
void huffman_encode_blocks(benchmark::State& state)
{
    NUV_JPEGEncodeTable dc;
    NUV_JPEGWideEncodeTable ac;
    const NUV_JPEGPrimitives& primitives = jpeg_primitives(NUV_Cpu::current());
    primitives.huffman_encode_spec_init(jpeg_standard_luminance_dc.counts.data(),
                                        jpeg_standard_luminance_dc.values.data(), &dc);
    (void)huffman_encode_wide_init(jpeg_standard_luminance_ac.counts.data(),
                                   jpeg_standard_luminance_ac.values.data(), &ac);
    std::vector<std::int16_t> coefficients(sample_blocks());
    std::array<std::uint64_t, blocks> masks{};
    primitives.transform_blocks(sample_blocks().data(), blocks, quality_75().forward.data(),
                                coefficients.data(), masks.data());
    std::int16_t previous = 0;
    std::vector<NUV_JPEGBlockToCode> to_code;
    for (std::size_t i = 0; i < blocks; ++i)
        to_code.push_back({&coefficients[i * 64], &masks[i], &dc, &ac, &previous});
    std::vector<std::uint8_t> coded(blocks * 512);
    NUV_JPEGEncodeState bits{};
    constexpr std::size_t batch = 12;
    for ([[maybe_unused]] auto _ : state) {
        std::uint8_t* at = coded.data();
        for (std::size_t i = 0; i + batch <= blocks; i += batch)
            at = primitives.huffman_encode_blocks(&to_code[i], batch, at, &bits);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(blocks / batch * batch));
}
BENCHMARK(huffman_encode_blocks);

NUV_JPEGResult plain_init(const std::uint8_t* bits, const std::uint8_t* values,
                          NUV_JPEGDecodeTable* table)
{
    return jpeg_primitives(portable).huffman_decode_spec_init(bits, values, table);
}

template <class AcTable, auto Initialise, auto Decode>
void huffman_decode(benchmark::State& state)
{
    const NUV_JPEGPrimitives& primitives = jpeg_primitives(sse2);
    std::vector<std::uint8_t> coded = encode(primitives, coefficient_blocks());
    NUV_JPEGDecodeTable dc;
    AcTable ac;
    (void)plain_init(jpeg_standard_luminance_dc.counts.data(),
                     jpeg_standard_luminance_dc.values.data(), &dc);
    (void)Initialise(jpeg_standard_luminance_ac.counts.data(),
                     jpeg_standard_luminance_ac.values.data(), &ac);
    std::array<std::int16_t, 64> block{};
    for ([[maybe_unused]] auto _ : state) {
        std::int32_t position = 0;
        std::int16_t previous = 0;
        std::uint8_t marker = 0;
        NUV_JPEGDecodeState bits = {};
        for (std::size_t i = 0; i < blocks; ++i)
            benchmark::DoNotOptimize(Decode(coded.data(), static_cast<std::int32_t>(coded.size()),
                                            &position, block.data(), &previous, &marker, &dc, &ac,
                                            &bits));
        benchmark::ClobberMemory();
    }
    count_blocks(state);
}

NUV_JPEGResult plain_decode(const std::uint8_t* input, std::int32_t size, std::int32_t* position,
                            std::int16_t* block, std::int16_t* previous, std::uint8_t* marker,
                            const NUV_JPEGDecodeTable* dc, const NUV_JPEGDecodeTable* ac,
                            NUV_JPEGDecodeState* state)
{
    return jpeg_primitives(portable).huffman_decode_block(input, size, position, block, previous,
                                                          marker, dc, ac, state);
}
BENCHMARK_TEMPLATE(huffman_decode, NUV_JPEGDecodeTable, plain_init, plain_decode);

// What the decoder does with each block.
NUV_JPEGResult wide_decode(const std::uint8_t* input, std::int32_t size, std::int32_t* position,
                           std::int16_t* block, std::int16_t* previous, std::uint8_t* marker,
                           const NUV_JPEGDecodeTable* dc, const NUV_JPEGWideTable* ac,
                           NUV_JPEGDecodeState* state)
{
    NUV_JPEGBitReader bits(input, size, *position, marker, *state);
    const NUV_JPEGResult result =
        decode_coefficients(bits, block, *previous, *dc, *ac, state->coefficients);
    bits.store(*position, *state);
    return result;
}
NUV_JPEGResult wide_init(const std::uint8_t* bits, const std::uint8_t* values,
                         NUV_JPEGWideTable* table)
{
    const NUV_JPEGResult result = huffman_decode_wide_init(bits, values, table);
    huffman_decode_wide_join(table);
    return result;
}
BENCHMARK_TEMPLATE(huffman_decode, NUV_JPEGWideTable, wide_init, wide_decode);

void huffman_decode_table(benchmark::State& state)
{
    NUV_JPEGWideTable table;
    for ([[maybe_unused]] auto _ : state) {
        (void)wide_init(jpeg_standard_luminance_ac.counts.data(),
                        jpeg_standard_luminance_ac.values.data(), &table);
        benchmark::DoNotOptimize(&table);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(huffman_decode_table);

// Counts samples; the argument is the predictor.
template <const NUV_Cpu& Cpu>
void lossless_other_rows(benchmark::State& state)
{
    const NUV_JPEGPrimitives& primitives = jpeg_primitives(Cpu);
    constexpr std::int32_t columns = 4096;
    std::vector<std::uint16_t> differences(columns, 3);
    std::vector<std::uint16_t> above(columns, 1000);
    std::vector<std::uint16_t> row(columns);
    for ([[maybe_unused]] auto _ : state) {
        primitives.lossless_other_rows(differences.data(), above.data(), row.data(), columns,
                                       static_cast<std::int32_t>(state.range(0)));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * columns);
}
BENCHMARK_TEMPLATE(lossless_other_rows, portable)->DenseRange(1, 7);
BENCHMARK_TEMPLATE(lossless_other_rows, sse2)->DenseRange(1, 7);

} // namespace
} // namespace nuv
