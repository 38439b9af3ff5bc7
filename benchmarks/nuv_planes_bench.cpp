// Turning, mirroring, planes, colours and widths of samples, memory to memory through the exported
// class: 6000 x 4000 pixels.
// The peers go from the same memory to the same memory.

#include "core/mirror/nuv_mirrory.h"
#include "core/storage/nuv_readstorage.h"
#include "core/storage/nuv_writestorage.h"
#include "framework/base/nuv_held.h"
#include "framework/io/nuv_bytearrayinputstorage.h"
#include "framework/io/nuv_bytearrayoutputstorage.h"
#include "framework/manager/nuv_createmanager.h"
#include "wrapper/nuv_wrapper.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#if NUV_BENCH_OPENCV
#    include <opencv2/imgproc.hpp>
#endif
#if NUV_BENCH_LIBYUV
#    include <libyuv/planar_functions.h>
#endif

namespace {

using namespace nuv;

constexpr int width = 6000;
constexpr int height = 4000;
constexpr std::size_t pixels = std::size_t{width} * height;

using Bytes = std::vector<unsigned char>;

Bytes& source()
{
    static Bytes bytes = [] {
        Bytes made(pixels * 6);
        for (std::size_t i = 0; i < made.size(); ++i)
            made[i] = static_cast<unsigned char>(i * 2654435761U >> 24);
        return made;
    }();
    return bytes;
}

Bytes& destination()
{
    static Bytes bytes(pixels * 6, 1);
    return bytes;
}

// What a pixel is made of.
struct Format {
    std::uint16_t channels;
    std::uint16_t bits;
    [[nodiscard]] int bytes() const { return static_cast<int>(pixels) * channels * bits / 8; }
};
constexpr Format rgb = {3, 8};
constexpr Format gray = {1, 8};
constexpr Format gray16 = {1, 16};
constexpr Format rgb16 = {3, 16};

// `build(job, param)` adds what stands between the two memories.
template <class Build>
void run_between(benchmark::State& state, const Bytes& in, Bytes& out, const Format& format,
                 std::uint32_t across, std::uint32_t down, Build&& build)
{
    ImageParam param{};
    param.width = across;
    param.height = down;
    param.bits = format.bits;
    param.channels = format.channels;
    param.color = param.channels == 1 ? ColorType::eGray : ColorType::eRGB;
    const auto bytes = static_cast<int>(across * down * format.channels * format.bits / 8);
    for ([[maybe_unused]] auto _ : state) {
        NuvWrapperClass job;
        job.SetSrcMemory(in.data(), bytes);
        job.SetDstMemory(out.data(), static_cast<int>(out.size()));
        build(job, param);
        if (job.Execute() != 0)
            state.SkipWithError("the run failed");
    }
}

template <class Build>
void run(benchmark::State& state, const Format& format, Build&& build)
{
    run_between(state, source(), destination(), format, width, height, build);
}

// The same for an operation of core.
template <class Append>
void run_core(benchmark::State& state, const Format& format, Append&& append)
{
    NUV_Manager* manager = create_manager(0);
    for ([[maybe_unused]] auto _ : state) {
        NUV_Header header(*manager);
        header.width(width);
        header.height(height);
        header.channels(format.channels);
        header.bits(format.bits);
        const auto in =
            make_initiated<NUV_ByteArrayInputStorage>(*manager, source().data(), format.bytes());
        const auto out = make_initiated<NUV_ByteArrayOutputStorage>(*manager, destination().data(),
                                                                    format.bytes());
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

void turn(NuvWrapperClass& job, ImageParam& param, int angle)
{
    job.ReadStorage(&param);
    job.Rotate90(angle);
    job.WriteStorage(nullptr);
}

void rotate(benchmark::State& state, const Format& format, int angle)
{
    run(state, format, [=](NuvWrapperClass& job, ImageParam& param) { turn(job, param, angle); });
}

// RGB of so many thousand pixels and lines, as time a pixel.
void rotate_large(benchmark::State& state)
{
    const auto side = static_cast<std::uint32_t>(state.range(0));
    const std::uint32_t megapixels = side * side;
    const Bytes in(std::size_t{3'000'000} * megapixels, 1);
    Bytes out(in.size(), 1);
    run_between(state, in, out, rgb, 1000 * side, 1000 * side,
                [](NuvWrapperClass& job, ImageParam& each) { turn(job, each, 90); });
    state.counters["a_pixel"] =
        benchmark::Counter(1e6 * megapixels, benchmark::Counter::kIsIterationInvariantRate |
                                                 benchmark::Counter::kInvert);
}

void mirror_y(benchmark::State& state, const Format& format)
{
    run_core(state, format, [](NUV_Manager& manager, NUV_Engine* engine) {
        return NUV_MirrorY(manager).engine(engine);
    });
}

void read_planes(benchmark::State& state)
{
    run(state, rgb, [](NuvWrapperClass& job, ImageParam& param) {
        job.ReadStoragePlanar(&param);
        job.WriteStorage(nullptr);
    });
}

void write_planes(benchmark::State& state)
{
    run(state, rgb, [](NuvWrapperClass& job, ImageParam& param) {
        job.ReadStorage(&param);
        job.WriteStoragePlanar(nullptr);
    });
}

void color(benchmark::State& state, const Format& format, ColorType::eColorType from,
           ColorType::eColorType to)
{
    run(state, format, [=](NuvWrapperClass& job, ImageParam& param) {
        param.color = from;
        job.ReadStorage(&param);
        job.ColorSpace(to);
        job.WriteStorage(nullptr);
    });
}

void convert(benchmark::State& state, const Format& format, std::uint16_t bits, double slope)
{
    run(state, format, [=](NuvWrapperClass& job, ImageParam& param) {
        ConvertDataParam rule{slope, 0, bits};
        job.ReadStorage(&param);
        job.ConvertDataType(&rule);
        job.WriteStorage(nullptr);
    });
}

BENCHMARK_CAPTURE(color, rgb_gray, rgb, ColorType::eRGB, ColorType::eGray)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(color, gray_rgb, gray, ColorType::eGray, ColorType::eRGB)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(color, rgb_ycbcr, rgb, ColorType::eRGB, ColorType::eYCbCr)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(color, ycbcr_rgb, rgb, ColorType::eYCbCr, ColorType::eRGB)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(color, rgb16_gray, rgb16, ColorType::eRGB, ColorType::eGray)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(color, rgb16_ycbcr, rgb16, ColorType::eRGB, ColorType::eYCbCr)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(convert, 8_16, rgb, 16, 257.0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(convert, 16_8, rgb16, 8, 1 / 257.0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(rotate, rgb_90, rgb, 90)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(rotate, rgb_180, rgb, 180)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(rotate, gray_90, gray, 90)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(rotate, gray_180, gray, 180)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(rotate, gray16_90, gray16, 90)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(rotate, gray16_180, gray16, 180)->Unit(benchmark::kMillisecond);
BENCHMARK(rotate_large)
    ->RangeMultiplier(2)
    ->Range(2, 16)
    ->MinWarmUpTime(0.1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(mirror_y, rgb, rgb)->Unit(benchmark::kMillisecond);
BENCHMARK(read_planes)->Unit(benchmark::kMillisecond);
BENCHMARK(write_planes)->Unit(benchmark::kMillisecond);

#if NUV_BENCH_OPENCV
// `work(in, out)` on the picture as it stands; `is_turned` where width and height are exchanged.
template <class Work>
void run_opencv(benchmark::State& state, const Format& format, bool is_turned, Work&& work)
{
    cv::setNumThreads(1);
    const int type = CV_MAKETYPE(format.bits == 8 ? CV_8U : CV_16U, format.channels);
    const cv::Mat in(height, width, type, source().data());
    cv::Mat out(is_turned ? width : height, is_turned ? height : width, type, destination().data());
    for ([[maybe_unused]] auto _ : state) {
        work(in, out);
        benchmark::ClobberMemory();
    }
}

void opencv_rotate(benchmark::State& state, const Format& format, int code)
{
    run_opencv(state, format, code != cv::ROTATE_180,
               [=](const cv::Mat& in, cv::Mat& out) { cv::rotate(in, out, code); });
}

void opencv_mirror_y(benchmark::State& state, const Format& format)
{
    run_opencv(state, format, false, [](const cv::Mat& in, cv::Mat& out) { cv::flip(in, out, 0); });
}

void opencv_color(benchmark::State& state, const Format& format, int code, int channels)
{
    const int depth = format.bits == 8 ? CV_8U : CV_16U;
    cv::Mat to(height, width, CV_MAKETYPE(depth, channels), destination().data());
    run_opencv(state, format, false,
               [&](const cv::Mat& in, cv::Mat&) { cv::cvtColor(in, to, code); });
}

void opencv_convert(benchmark::State& state, const Format& format, int depth, double slope)
{
    cv::Mat to(height, width, CV_MAKETYPE(depth, format.channels), destination().data());
    run_opencv(state, format, false,
               [&](const cv::Mat& in, cv::Mat&) { in.convertTo(to, depth, slope); });
}

BENCHMARK_CAPTURE(opencv_color, rgb_gray, rgb, cv::COLOR_RGB2GRAY, 1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(opencv_color, gray_rgb, gray, cv::COLOR_GRAY2RGB, 3)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(opencv_color, rgb_ycbcr, rgb, cv::COLOR_RGB2YCrCb, 3)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(opencv_color, ycbcr_rgb, rgb, cv::COLOR_YCrCb2RGB, 3)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(opencv_color, rgb16_gray, rgb16, cv::COLOR_RGB2GRAY, 1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(opencv_color, rgb16_ycbcr, rgb16, cv::COLOR_RGB2YCrCb, 3)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(opencv_convert, 8_16, rgb, CV_16U, 257.0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(opencv_convert, 16_8, rgb16, CV_8U, 1 / 257.0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(opencv_rotate, rgb_90, rgb, cv::ROTATE_90_CLOCKWISE)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(opencv_rotate, rgb_180, rgb, cv::ROTATE_180)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(opencv_rotate, gray_90, gray, cv::ROTATE_90_CLOCKWISE)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(opencv_rotate, gray_180, gray, cv::ROTATE_180)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(opencv_rotate, gray16_90, gray16, cv::ROTATE_90_CLOCKWISE)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(opencv_rotate, gray16_180, gray16, cv::ROTATE_180)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(opencv_mirror_y, rgb, rgb)->Unit(benchmark::kMillisecond);
#endif

#if NUV_BENCH_LIBYUV
void libyuv_merge(benchmark::State& state)
{
    const unsigned char* in = source().data();
    for ([[maybe_unused]] auto _ : state) {
        libyuv::MergeRGBPlane(in, width, in + pixels, width, in + 2 * pixels, width,
                              destination().data(), 3 * width, width, height);
        benchmark::ClobberMemory();
    }
}

void libyuv_split(benchmark::State& state)
{
    unsigned char* out = destination().data();
    for ([[maybe_unused]] auto _ : state) {
        libyuv::SplitRGBPlane(source().data(), 3 * width, out, width, out + pixels, width,
                              out + 2 * pixels, width, width, height);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(libyuv_merge)->Unit(benchmark::kMillisecond);
BENCHMARK(libyuv_split)->Unit(benchmark::kMillisecond);
#endif

} // namespace
