// The pixel operations on 6000 x 4000 pixels, line by line as a chain runs them, beside a copy and
// the same table in Little CMS. The files beside this one add libjpeg and vips.

#include "benchmarks/nuv_color_bench.h"

#include "core/colormatrix/source/nuv_colormatrix_kernels.h"
#include "core/dlut/source/nuv_dlut_kernels.h"
#include "core/lut/source/nuv_lut_kernels.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "benchmarks/nuv_lcmsgrid.h"

#if NUV_BENCH_OPENCV
#    include <opencv2/imgproc.hpp>
#endif

namespace {

using namespace nuv;
using namespace nuv_color_bench;

void copy(benchmark::State& state)
{
    run(state, line, line,
        [](const std::uint8_t* in, std::uint8_t* out) { std::memcpy(out, in, line); });
}

// One table for all channels, or one for each of three.
void table(benchmark::State& state, const NUV_Cpu& cpu)
{
    const auto channels = static_cast<std::size_t>(state.range(0));
    Bytes entries(256 * channels);
    for (std::size_t i = 0; i < entries.size(); ++i)
        entries[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
    const auto form = choose_lut_row<std::uint8_t, std::uint8_t>(cpu, channels);
    run(state, line, line, [&](const std::uint8_t* in, std::uint8_t* out) {
        form(in, out, line / channels, channels, entries.data());
    });
}

void matrix(benchmark::State& state, const NUV_Cpu& cpu, const std::vector<double>& factors,
            const std::vector<double>& offsets)
{
    std::vector<std::int32_t> fixed_factors;
    fixed_factors.reserve(factors.size());
    for (const double factor : factors)
        fixed_factors.push_back(NUV_FixedReal(factor).units());
    std::vector<std::int32_t> fixed_offsets;
    fixed_offsets.reserve(offsets.size());
    for (const double offset : offsets)
        fixed_offsets.push_back(NUV_FixedReal(offset).units());
    const NUV_MatrixView<std::int32_t> view{fixed_factors.data(), fixed_offsets.data(),
                                            offsets.size(), factors.size() / offsets.size()};
    const auto form = choose_matrix_row<std::uint8_t, std::int32_t>(cpu, view);
    run(state, width * view.columns, width * view.rows,
        [&](const std::uint8_t* in, std::uint8_t* out) { form(in, out, width, view); });
}

void ycbcr_to_rgb(benchmark::State& state, const NUV_Cpu& cpu)
{
    matrix(state, cpu, {1, 0, 1.402, 1, -0.3441, -0.7141, 1, 1.772, 0},
           {-1.402 * 128, (0.3441 + 0.7141) * 128, -1.772 * 128});
}

void rgb_to_ycbcr(benchmark::State& state, const NUV_Cpu& cpu)
{
    matrix(state, cpu,
           {0.298992944, 0.587015974, 0.113991082, -0.16873191, -0.331273123, 0.500005033,
            0.500005033, -0.418698983, -0.08130605},
           {0, 128, 128});
}

void rgb_to_gray(benchmark::State& state, const NUV_Cpu& cpu)
{
    matrix(state, cpu, {0.298992944, 0.587015974, 0.113991082}, {0});
}

void gray_to_rgb(benchmark::State& state, const NUV_Cpu& cpu)
{
    matrix(state, cpu, {1, 1, 1}, {0, 0, 0});
}

constexpr std::size_t points = 33;

void grid(benchmark::State& state)
{
    std::vector<std::uint8_t> samples(points * points * points * 4);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<std::uint8_t>(i * 2654435761U >> 24);
    std::vector<std::uint32_t> places(257);
    for (std::uint32_t v = 0; v < 256; ++v) {
        const double t = v * (32.0 / 255);
        const std::uint32_t point = std::min(static_cast<std::uint32_t>(t), 31U);
        const double fraction = (t - point) * dlut_one + 0.5;
        places[v] = point << dlut_fraction_bits | static_cast<std::uint32_t>(fraction);
    }
    const NUV_DLutGrid<std::uint8_t> view{
        samples.data(), places.data(), {points * points * 4, points * 4, 4, 0}, 3};
    const auto form = choose_dlut_row<std::uint8_t>(NUV_Cpu::current(), 3, 3, samples.size() / 4);
    run(state, line, line,
        [&](const std::uint8_t* in, std::uint8_t* out) { form(in, out, width, view); });
}

#if NUV_BENCH_LCMS
void grid_of_lcms(benchmark::State& state)
{
    cmsHTRANSFORM transform = lcms_grid(points, TYPE_RGB_8);
    run(state, line, line, [&](const std::uint8_t* in, std::uint8_t* out) {
        cmsDoTransform(transform, in, out, width);
    });
    cmsDeleteTransform(transform);
}
BENCHMARK(grid_of_lcms)->Unit(benchmark::kMillisecond);
#endif

BENCHMARK(copy)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(table, portable, NUV_Cpu{})->Arg(1)->Arg(3)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(table, avx2, NUV_Cpu{.has_avx2 = true})->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(table, here, NUV_Cpu::current())->Arg(1)->Arg(3)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ycbcr_to_rgb, avx2, NUV_Cpu::avx2)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ycbcr_to_rgb, here, NUV_Cpu::current())->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(rgb_to_ycbcr, avx2, NUV_Cpu::avx2)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(rgb_to_ycbcr, here, NUV_Cpu::current())->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(rgb_to_gray, avx2, NUV_Cpu::avx2)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(rgb_to_gray, here, NUV_Cpu::current())->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(gray_to_rgb, avx2, NUV_Cpu::avx2)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(gray_to_rgb, here, NUV_Cpu::current())->Unit(benchmark::kMillisecond);
BENCHMARK(grid)->Unit(benchmark::kMillisecond);

#if NUV_BENCH_OPENCV
void opencv_color(benchmark::State& state, int code, int in_channels, int out_channels)
{
    cv::setNumThreads(1);
    const cv::Mat in(height, width, CV_8UC(in_channels),
                     const_cast<std::uint8_t*>(source().data()));
    cv::Mat out(height, width, CV_8UC(out_channels), destination().data());
    for ([[maybe_unused]] auto _ : state) {
        cv::cvtColor(in, out, code);
        benchmark::ClobberMemory();
    }
}
BENCHMARK_CAPTURE(opencv_color, ycbcr_to_rgb, cv::COLOR_YCrCb2RGB, 3, 3)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(opencv_color, rgb_to_ycbcr, cv::COLOR_RGB2YCrCb, 3, 3)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(opencv_color, rgb_to_gray, cv::COLOR_RGB2GRAY, 3, 1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(opencv_color, gray_to_rgb, cv::COLOR_GRAY2RGB, 1, 3)
    ->Unit(benchmark::kMillisecond);
#endif

} // namespace
