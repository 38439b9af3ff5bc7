// The same pictures through vips, in its own regions of 16 lines: one thread, and what comes out is
// left where vips computes it. vips goes from RGB to gray by linear light; YCbCr it does not know.

#include <numeric>
#include <vips/vips.h>

#include "benchmarks/nuv_color_bench.h"

namespace {

using namespace nuv_color_bench;

constexpr int strip_lines = 16;

VipsImage* wrap(std::size_t channels, VipsInterpretation meaning)
{
    static const bool started = VIPS_INIT("nuv_color_bench") == 0;
    if (!started)
        return nullptr;
    VipsImage* image = vips_image_new_from_memory(source().data(), width * height * channels,
                                                  static_cast<int>(width), static_cast<int>(height),
                                                  static_cast<int>(channels), VIPS_FORMAT_UCHAR);
    image->Type = meaning;
    return image;
}

// Pulls all of `image`, strip by strip, and lets go of it and of what it came from.
void pull(benchmark::State& state, VipsImage* from, VipsImage* image)
{
    VipsRegion* region = vips_region_new(image);
    for ([[maybe_unused]] auto _ : state) {
        for (int y = 0; y < image->Ysize; y += strip_lines) {
            const VipsRect strip{0, y, image->Xsize, strip_lines};
            if (vips_region_prepare(region, &strip) != 0)
                state.SkipWithError("vips failed");
        }
    }
    g_object_unref(region);
    g_object_unref(image);
    g_object_unref(from);
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(width * height));
}

void convert(benchmark::State& state, std::size_t channels, VipsInterpretation from,
             VipsInterpretation to)
{
    VipsImage* in = wrap(channels, from);
    VipsImage* out = nullptr;
    if (!in || vips_colourspace(in, &out, to, nullptr) != 0)
        return state.SkipWithError("vips refuses");
    pull(state, in, out);
}

void rgb_to_gray_of_vips(benchmark::State& state)
{
    convert(state, 3, VIPS_INTERPRETATION_sRGB, VIPS_INTERPRETATION_B_W);
}

void gray_to_rgb_of_vips(benchmark::State& state)
{
    convert(state, 1, VIPS_INTERPRETATION_B_W, VIPS_INTERPRETATION_sRGB);
}

void table_of_vips(benchmark::State& state)
{
    VipsImage* in = wrap(3, VIPS_INTERPRETATION_sRGB);
    Bytes entries(256);
    std::iota(entries.begin(), entries.end(), std::uint8_t{0});
    VipsImage* table = vips_image_new_from_memory_copy(entries.data(), entries.size(), 256, 1, 1,
                                                       VIPS_FORMAT_UCHAR);
    VipsImage* out = nullptr;
    if (!in || !table || vips_maplut(in, &out, table, nullptr) != 0)
        return state.SkipWithError("vips refuses");
    pull(state, in, out);
    g_object_unref(table);
}

BENCHMARK(rgb_to_gray_of_vips)->Unit(benchmark::kMillisecond);
BENCHMARK(gray_to_rgb_of_vips)->Unit(benchmark::kMillisecond);
BENCHMARK(table_of_vips)->Unit(benchmark::kMillisecond);

} // namespace
