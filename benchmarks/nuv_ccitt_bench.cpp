// Facsimile pages from a TIFF file in memory to packed lines and to runs, which are dropped, and
// the same files by libtiff, a strip at a time.

#include "core/tiff/nuv_readtiff.h"
#include "framework/io/nuv_bytearrayinputstorage.h"

#include <benchmark/benchmark.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "benchmarks/nuv_faxlike.h"
#include "benchmarks/nuv_scalesetup.h"
#include "benchmarks/nuv_tiffmemory.h"

namespace nuv {
namespace {

enum Kind { text, scan, halftone };

const NUV_FaxPage& page_of(std::int64_t kind)
{
    static const NUV_FaxPage pages[] = {NUV_FaxLike::text(), NUV_FaxLike::scan(),
                                        NUV_FaxLike::halftone()};
    return pages[kind];
}

// By compression, options of T.4 and rows of a strip.
NUV_TIFFMemory& file_of(const benchmark::State& state)
{
    static std::map<std::array<std::int64_t, 3>, NUV_TIFFMemory> files;
    const std::array key = {state.range(0), state.range(1), state.range(2)};
    NUV_TIFFMemory& file = files[key];
    if (!file.bytes.empty())
        return file;
    NUV_FaxPage page = page_of(state.range(0));
    page.rows = state.range(2) != 0 ? static_cast<std::uint32_t>(state.range(2)) : page.height;
    NUV_FaxForm form = {COMPRESSION_CCITTFAX4};
    if (state.range(1) != 4)
        form = {COMPRESSION_CCITTFAX3, state.range(1) == 2 ? GROUP3OPT_2DENCODING : 0U};
    file.bytes = page.file(form, "wl", FILLORDER_MSB2LSB);
    return file;
}

void count_pixels(benchmark::State& state, const NUV_TIFFMemory& file)
{
    const std::vector<std::uint8_t>& bits = page_of(state.range(0)).bits;
    std::size_t turns = 0;
    for (std::size_t i = 1; i < bits.size(); ++i)
        turns += static_cast<std::size_t>(
            std::popcount(static_cast<std::uint8_t>(bits[i] ^ (bits[i] >> 1 | bits[i - 1] << 7))));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(turns));
    state.counters["coded_bytes"] = static_cast<double>(file.bytes.size());
}

void decode_here(benchmark::State& state, bool to_runs)
{
    const NUV_TIFFMemory& file = file_of(state);
    for ([[maybe_unused]] auto _ : state) {
        NUV_Manager* manager = create_manager(0);
        {
            const auto storage = make_initiated<NUV_ByteArrayInputStorage>(
                *manager, file.bytes.data(), static_cast<std::int32_t>(file.bytes.size()));
            NUV_Engine* engine = NUV_ReadTIFF(*manager).engine(storage.get(), 0U, to_runs);
            if (!NUV_BenchEnds(*manager).run(engine, state))
                break;
        }
        destroy_manager(manager);
    }
    count_pixels(state, file);
}

void to_lines(benchmark::State& state)
{
    decode_here(state, false);
}

void to_runs(benchmark::State& state)
{
    decode_here(state, true);
}

void libtiff(benchmark::State& state)
{
    NUV_TIFFMemory& file = file_of(state);
    std::vector<std::uint8_t> strip;
    for ([[maybe_unused]] auto _ : state) {
        TIFF* tiff = file.open("r");
        strip.resize(static_cast<std::size_t>(TIFFStripSize(tiff)));
        for (std::uint32_t i = 0; i < TIFFNumberOfStrips(tiff); ++i) {
            if (TIFFReadEncodedStrip(tiff, i, strip.data(), -1) < 0)
                state.SkipWithError("not decoded");
            benchmark::DoNotOptimize(strip.data());
        }
        TIFFClose(tiff);
    }
    count_pixels(state, file);
}

// Page; 4 for T.6, 1 and 2 for T.4 in one and in two dimensions; rows of a strip, 0 for all.
void cases(benchmark::internal::Benchmark* of)
{
    of->ArgNames({"page", "coding", "rows"})->Unit(benchmark::kMillisecond);
    for (const std::int64_t page : {text, scan, halftone})
        of->Args({page, 4, 0});
    of->Args({text, 1, 0})->Args({text, 2, 0})->Args({text, 4, 1});
}
BENCHMARK(libtiff)->Apply(cases);
BENCHMARK(to_lines)->Apply(cases);
BENCHMARK(to_runs)->Apply(cases);

} // namespace
} // namespace nuv
