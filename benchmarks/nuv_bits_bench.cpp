// An A4 page of text at 600 dots per inch, 1 bit a pixel, memory to memory: mirrored and scaled to
// the nearest pixel. Leptonica goes from the same bits to fresh memory.

#include "core/mirror/nuv_mirrorx.h"
#include "core/scale/nuv_scalenn.h"
#include "core/storage/nuv_readstorage.h"
#include "core/storage/nuv_writestorage.h"
#include "framework/base/nuv_held.h"
#include "framework/io/nuv_bytearrayinputstorage.h"
#include "framework/io/nuv_bytearrayoutputstorage.h"
#include "framework/manager/nuv_createmanager.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "benchmarks/nuv_textpage.h"
#if NUV_BENCH_LEPTONICA
#    include <leptonica/allheaders.h>
#endif

namespace {

using namespace nuv;

constexpr std::size_t line_bytes = page_width / 8;

std::vector<std::uint8_t>& page()
{
    static std::vector<std::uint8_t> bytes = [] {
        std::vector<std::uint8_t> made(line_bytes * page_height);
        std::size_t y = 0;
        for (const auto& runs : text_page()) {
            for (const NUV_QDRLERun& run : runs) {
                for (std::uint32_t x = run.start; x <= run.end; ++x)
                    made[y * line_bytes + x / 8] |= static_cast<std::uint8_t>(0x80U >> x % 8);
            }
            ++y;
        }
        return made;
    }();
    return bytes;
}

template <class Append>
void run(benchmark::State& state, Append&& append)
{
    constexpr std::size_t most_bytes = 3 * line_bytes * page_height; // 150 % both ways
    std::vector<std::uint8_t> out_bytes(most_bytes, 1);
    NUV_Manager* manager = create_manager(0);
    for ([[maybe_unused]] auto _ : state) {
        NUV_Header header(*manager);
        header.width(page_width);
        header.height(page_height);
        header.channels(1);
        header.bits(1);
        const auto in = make_initiated<NUV_ByteArrayInputStorage>(
            *manager, page().data(), static_cast<std::int32_t>(page().size()));
        const auto out = make_initiated<NUV_ByteArrayOutputStorage>(
            *manager, out_bytes.data(), static_cast<std::int32_t>(out_bytes.size()));
        NUV_Engine* engine = NUV_ReadStorage(*manager).engine(in.get(), &header, 0, 0, 1);
        engine = NUV_WriteStorage(*manager).engine(append(*manager, engine), out.get(), 0, 0, 0, 1);
        if (!engine) {
            state.SkipWithError("no chain");
            break;
        }
        while (engine->execute()) {
        }
        engine->end();
        manager->clear();
    }
    destroy_manager(manager);
}

void mirror(benchmark::State& state)
{
    run(state, [](NUV_Manager& manager, NUV_Engine* engine) {
        return NUV_MirrorX(manager).engine(engine);
    });
}

void nearest(benchmark::State& state)
{
    const auto percent = static_cast<std::uint32_t>(state.range(0));
    run(state, [=](NUV_Manager& manager, NUV_Engine* engine) {
        return NUV_ScaleNN(manager).engine(engine, page_width * percent / 100,
                                           page_height * percent / 100);
    });
}

BENCHMARK(mirror)->Unit(benchmark::kMillisecond);
BENCHMARK(nearest)->Arg(10)->Arg(20)->Arg(25)->Arg(33)->Arg(50)->Arg(75)->Arg(150)->Unit(
    benchmark::kMillisecond);

#if NUV_BENCH_LEPTONICA
template <class Work>
void run_leptonica(benchmark::State& state, Work&& work)
{
    PIX* const in = pixCreate(page_width, page_height, 1);
    l_uint8* const data = reinterpret_cast<l_uint8*>(pixGetData(in));
    for (std::size_t i = 0; i < page().size(); ++i)
        data[i ^ 3U] = page()[i]; // words in the order of the host
    for ([[maybe_unused]] auto _ : state) {
        PIX* out = work(in);
        benchmark::DoNotOptimize(pixGetData(out));
        pixDestroy(&out);
    }
    PIX* last = in;
    pixDestroy(&last);
}

void leptonica_mirror(benchmark::State& state)
{
    run_leptonica(state, [](PIX* in) { return pixFlipLR(nullptr, in); });
}

void leptonica_nearest(benchmark::State& state)
{
    const auto factor = static_cast<float>(state.range(0)) / 100;
    run_leptonica(state, [=](PIX* in) { return pixScaleBinary(in, factor, factor); });
}

BENCHMARK(leptonica_mirror)->Unit(benchmark::kMillisecond);
BENCHMARK(leptonica_nearest)->Arg(25)->Arg(50)->Arg(150)->Unit(benchmark::kMillisecond);
#endif

} // namespace
