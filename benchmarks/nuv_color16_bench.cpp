// The pixel operations that have samples of 16 bits on either side, on 6000 x 4000 pixels, line by
// line as a chain runs them: by the portable form, with AVX2 alone, and with what the processor
// has. The peers have the whole picture at once.

#include "core/colormatrix/source/nuv_colormatrix_kernels.h"
#include "core/dlut/source/nuv_dlut_kernels.h"
#include "core/lut/source/nuv_lineartable.h"
#include "core/lut/source/nuv_lut_kernels.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

#include "benchmarks/nuv_lcmsgrid.h"

#if NUV_BENCH_OPENCV
#    include <opencv2/imgproc.hpp>
#endif

namespace {

using namespace nuv;

constexpr std::size_t width = 6000;
constexpr std::size_t height = 4000;

// Samples of three channels: ramps, with grain.
template <class T>
std::vector<T>& source()
{
    static std::vector<T> samples = [] {
        std::vector<T> made(3 * width * height);
        std::uint32_t noise = 1;
        for (std::size_t i = 0; i < made.size(); ++i) {
            noise = noise * 1664525 + 1013904223;
            made[i] = static_cast<T>(i / 7 + (noise >> 20));
        }
        return made;
    }();
    return samples;
}

template <class T>
std::vector<T>& destination()
{
    static std::vector<T> samples(3 * width * height, 1);
    return samples;
}

// Runs `row(in, out)` over all lines.
template <class I, class O, class Row>
void run(benchmark::State& state, std::size_t in_channels, std::size_t out_channels, Row&& row)
{
    const I* const in = source<I>().data();
    O* const out = destination<O>().data();
    for ([[maybe_unused]] auto _ : state) {
        for (std::size_t y = 0; y < height; ++y)
            row(in + y * width * in_channels, out + y * width * out_channels);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(width * height));
}

void copy(benchmark::State& state)
{
    run<std::uint16_t, std::uint16_t>(state, 3, 3, [](const std::uint16_t* in, std::uint16_t* out) {
        std::memcpy(out, in, 3 * width * sizeof *in);
    });
}

void matrix(benchmark::State& state, const NUV_Cpu& cpu, const std::vector<double>& factors,
            const std::vector<double>& offsets)
{
    const NUV_MatrixView<double> view{factors.data(), offsets.data(), offsets.size(),
                                      factors.size() / offsets.size()};
    const auto form = choose_matrix_row<std::uint16_t>(cpu, view);
    run<std::uint16_t, std::uint16_t>(
        state, view.columns, view.rows,
        [&](const std::uint16_t* in, std::uint16_t* out) { form(in, out, width, view); });
}

const std::vector<double> to_ycbcr = {0.298992944, 0.587015974,  0.113991082,
                                      -0.16873191, -0.331273123, 0.500005033,
                                      0.500005033, -0.418698983, -0.08130605};

void rgb_to_ycbcr(benchmark::State& state, const NUV_Cpu& cpu)
{
    matrix(state, cpu, to_ycbcr, {0, 32768, 32768});
}

void rgb_to_gray(benchmark::State& state, const NUV_Cpu& cpu)
{
    matrix(state, cpu, {to_ycbcr.begin(), to_ycbcr.begin() + 3}, {0});
}

void gray_to_rgb(benchmark::State& state, const NUV_Cpu& cpu)
{
    matrix(state, cpu, {1, 1, 1}, {0, 0, 0});
}

// One table for all samples, RGB: the least of what a chain does for ConvertDataType().
template <class I, class O>
void table(benchmark::State& state, const NUV_Cpu& cpu)
{
    constexpr std::size_t range = std::size_t{1} << (8 * sizeof(I));
    std::vector<O> entries(range);
    for (std::size_t i = 0; i < range; ++i)
        entries[i] = static_cast<O>(i * 7 + i / 256);
    const auto form = choose_lut_row<I, O>(cpu, 1);
    run<I, O>(state, 3, 3,
              [&](const I* in, O* out) { form(in, out, 3 * width, 1, entries.data()); });
}

// The same where the entries lie on a line.
template <class I, class O>
void linear_table(benchmark::State& state, const NUV_Cpu& cpu)
{
    constexpr double slope =
        double{std::numeric_limits<O>::max()} / double{std::numeric_limits<I>::max()};
    std::vector<O> entries(std::size_t{1} << (8 * sizeof(I)));
    for (std::size_t i = 0; i < entries.size(); ++i)
        entries[i] = static_cast<O>(static_cast<double>(i) * slope + 0.5);
    const auto line = find_linear_table<I>(entries.data(), slope, 0);
    const auto form = choose_linear_row<I, O>(cpu);
    if (!line || !form) {
        state.SkipWithError("no line");
        return;
    }
    run<I, O>(state, 3, 3, [&](const I* in, O* out) { form(in, out, 3 * width, *line); });
}

constexpr std::size_t points = 33;

// RGB to RGB by a table of 33 points an axis.
void grid(benchmark::State& state, const NUV_Cpu& cpu)
{
    std::vector<std::uint16_t> samples(points * points * points * 4);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<std::uint16_t>(i * 2654435761U >> 16);
    std::vector<std::uint32_t> places(65537);
    for (std::uint32_t v = 0; v < 65536; ++v) {
        const double t = v * (32.0 / 65535);
        const std::uint32_t point = std::min(static_cast<std::uint32_t>(t), 31U);
        const double fraction = (t - point) * dlut_one + 0.5;
        places[v] = point << dlut_fraction_bits | static_cast<std::uint32_t>(fraction);
    }
    const NUV_DLutGrid<std::uint16_t> view{
        samples.data(), places.data(), {points * points * 4, points * 4, 4, 0}, 3};
    const auto form = choose_dlut_row<std::uint16_t>(cpu, 3, 3, samples.size() / 4);
    run<std::uint16_t, std::uint16_t>(
        state, 3, 3,
        [&](const std::uint16_t* in, std::uint16_t* out) { form(in, out, width, view); });
}

using U8 = std::uint8_t;
using U16 = std::uint16_t;
constexpr auto table_8_to_16 = table<U8, U16>;
constexpr auto table_16_to_16 = table<U16, U16>;
constexpr auto table_16_to_8 = table<U16, U8>;
constexpr auto linear_8_to_16 = linear_table<U8, U16>;
constexpr auto linear_16_to_8 = linear_table<U16, U8>;

// Registers `row` with each of three levels.
#define NUV_BENCH_LEVELS(row)                                                                      \
    BENCHMARK_CAPTURE(row, portable, NUV_Cpu::portable)->Unit(benchmark::kMillisecond);            \
    BENCHMARK_CAPTURE(row, avx2, NUV_Cpu::avx2)->Unit(benchmark::kMillisecond);                    \
    BENCHMARK_CAPTURE(row, here, NUV_Cpu::current())->Unit(benchmark::kMillisecond)

BENCHMARK(copy)->Unit(benchmark::kMillisecond);
NUV_BENCH_LEVELS(rgb_to_ycbcr);
NUV_BENCH_LEVELS(rgb_to_gray);
NUV_BENCH_LEVELS(gray_to_rgb);
NUV_BENCH_LEVELS(table_8_to_16);
NUV_BENCH_LEVELS(table_16_to_16);
NUV_BENCH_LEVELS(table_16_to_8);
BENCHMARK_CAPTURE(grid, portable, NUV_Cpu::portable)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(grid, avx2, NUV_Cpu::avx2)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(linear_8_to_16, avx2, NUV_Cpu::avx2)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(linear_16_to_8, avx2, NUV_Cpu::avx2)->Unit(benchmark::kMillisecond);

#if NUV_BENCH_OPENCV
template <class I, class O, class Work>
void run_opencv(benchmark::State& state, int in_channels, int out_channels, Work&& work)
{
    cv::setNumThreads(1);
    const auto wrap = [](auto& samples, int channels) {
        using T = typename std::remove_cvref_t<decltype(samples)>::value_type;
        return cv::Mat(height, width, CV_MAKETYPE(cv::DataType<T>::depth, channels),
                       samples.data());
    };
    const cv::Mat in = wrap(source<I>(), in_channels);
    cv::Mat out = wrap(destination<O>(), out_channels);
    for ([[maybe_unused]] auto _ : state) {
        work(in, out);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(width * height));
}

void opencv_color(benchmark::State& state, int code, int in_channels, int out_channels)
{
    run_opencv<std::uint16_t, std::uint16_t>(
        state, in_channels, out_channels,
        [=](const cv::Mat& in, cv::Mat& out) { cv::cvtColor(in, out, code); });
}

template <class I, class O>
void opencv_convert(benchmark::State& state)
{
    constexpr double slope =
        double{std::numeric_limits<O>::max()} / double{std::numeric_limits<I>::max()};
    run_opencv<I, O>(state, 3, 3, [](const cv::Mat& in, cv::Mat& out) {
        in.convertTo(out, cv::DataType<O>::depth, slope);
    });
}

void opencv_table(benchmark::State& state)
{
    cv::Mat entries(1, 256, CV_16U);
    for (int i = 0; i < 256; ++i)
        entries.at<std::uint16_t>(i) = static_cast<std::uint16_t>(i * 7);
    run_opencv<std::uint8_t, std::uint16_t>(
        state, 3, 3, [&](const cv::Mat& in, cv::Mat& out) { cv::LUT(in, entries, out); });
}

BENCHMARK(opencv_table)->Unit(benchmark::kMillisecond);
BENCHMARK(opencv_convert<U8, U16>)->Unit(benchmark::kMillisecond);
BENCHMARK(opencv_convert<U16, U8>)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(opencv_color, rgb_to_ycbcr, cv::COLOR_RGB2YCrCb, 3, 3)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(opencv_color, rgb_to_gray, cv::COLOR_RGB2GRAY, 3, 1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(opencv_color, gray_to_rgb, cv::COLOR_GRAY2RGB, 1, 3)
    ->Unit(benchmark::kMillisecond);
#endif

#if NUV_BENCH_LCMS
void grid_of_lcms(benchmark::State& state)
{
    cmsHTRANSFORM transform = lcms_grid(points, TYPE_RGB_16);
    run<std::uint16_t, std::uint16_t>(state, 3, 3,
                                      [&](const std::uint16_t* in, std::uint16_t* out) {
                                          cmsDoTransform(transform, in, out, width);
                                      });
    cmsDeleteTransform(transform);
}
BENCHMARK(grid_of_lcms)->Unit(benchmark::kMillisecond);
#endif

} // namespace
