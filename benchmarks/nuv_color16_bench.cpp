// The pixel operations that have samples of 16 bits on either side, on 6000 x 4000 pixels, line by
// line as a chain runs them: by the portable form, with AVX2 alone, and with what the processor
// has. The peers have the whole picture at once.

#include "core/colormatrix/source/nuv_colormatrix_kernels.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

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

// Registers `row` with each of three levels.
#define NUV_BENCH_LEVELS(row)                                                                      \
    BENCHMARK_CAPTURE(row, portable, NUV_Cpu::portable)->Unit(benchmark::kMillisecond);            \
    BENCHMARK_CAPTURE(row, avx2, NUV_Cpu::avx2)->Unit(benchmark::kMillisecond);                    \
    BENCHMARK_CAPTURE(row, here, NUV_Cpu::current())->Unit(benchmark::kMillisecond)

BENCHMARK(copy)->Unit(benchmark::kMillisecond);
NUV_BENCH_LEVELS(rgb_to_ycbcr);
NUV_BENCH_LEVELS(rgb_to_gray);
NUV_BENCH_LEVELS(gray_to_rgb);

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
BENCHMARK_CAPTURE(opencv_color, rgb_to_ycbcr, cv::COLOR_RGB2YCrCb, 3, 3)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(opencv_color, rgb_to_gray, cv::COLOR_RGB2GRAY, 3, 1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(opencv_color, gray_to_rgb, cv::COLOR_GRAY2RGB, 1, 3)
    ->Unit(benchmark::kMillisecond);
#endif

} // namespace
