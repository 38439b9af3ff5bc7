// Scaling 24 megapixels from memory to memory through the exported class, each row beside a library
// that does the like: OpenCV, libyuv, zimg or stb, those that are installed. zimg has a plane for
// each channel. Its filters, and those of libyuv and stb, are not ours.

#include "wrapper/nuv_wrapper.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#if NUV_BENCH_OPENCV
#    include <opencv2/imgproc.hpp>
#endif
#if NUV_BENCH_LIBYUV
#    include <libyuv/scale.h>
#endif
#if NUV_BENCH_ZIMG
#    include <zimg.h>
#endif
#if NUV_BENCH_STB
#    define STB_IMAGE_RESIZE_IMPLEMENTATION
#    define STBIR_DEFAULT_FILTER_DOWNSAMPLE STBIR_FILTER_BOX
#    pragma GCC diagnostic push
#    pragma GCC diagnostic ignored "-Wconversion"
#    pragma GCC diagnostic ignored "-Wsign-conversion"
#    include <stb/stb_image_resize.h>
#    pragma GCC diagnostic pop
#endif

namespace {

constexpr unsigned width = 6000;
constexpr unsigned height = 4000;

struct Task {
    unsigned channels;
    unsigned bits;
    unsigned percent;

    [[nodiscard]] unsigned out_width() const { return width * percent / 100; }
    [[nodiscard]] unsigned out_height() const { return height * percent / 100; }
    [[nodiscard]] std::size_t in_bytes() const
    {
        return std::size_t{width} * height * channels * bits / 8;
    }
    [[nodiscard]] std::size_t out_bytes() const
    {
        return std::size_t{out_width()} * out_height() * channels * bits / 8;
    }
};

// Slopes with a little noise, as a photograph has, of 8 or 16 bits.
const std::uint8_t* source(const Task& task)
{
    static std::array<std::vector<std::uint8_t>, 2> bytes;
    std::vector<std::uint8_t>& made = bytes[task.bits == 16 ? 1 : 0];
    if (made.empty()) {
        made.resize(std::size_t{width} * height * 3 * task.bits / 8);
        std::uint32_t noise = 1;
        for (std::size_t i = 0; i < made.size(); ++i) {
            noise = noise * 1664525 + 1013904223;
            made[i] = static_cast<std::uint8_t>((i >> 7) + (i / 18000) + (noise >> 29));
        }
    }
    return made.data();
}

std::uint8_t* destination(const Task& task)
{
    static std::vector<std::uint8_t> bytes;
    if (bytes.size() < task.out_bytes())
        bytes.resize(task.out_bytes());
    return bytes.data();
}

using Scale = int (NuvWrapperClass::*)(unsigned, unsigned);

void run_nuv(benchmark::State& state, const Task& task, Scale scale)
{
    const std::uint8_t* from = source(task);
    std::uint8_t* to = destination(task);
    for ([[maybe_unused]] auto _ : state) {
        NuvWrapperClass job;
        job.SetSrcMemory(from, static_cast<int>(task.in_bytes()));
        job.SetDstMemory(to, static_cast<int>(task.out_bytes()));
        ImageParam param{};
        param.width = width;
        param.height = height;
        param.bits = static_cast<unsigned short>(task.bits);
        param.channels = static_cast<unsigned short>(task.channels);
        job.ReadStorage(&param);
        (job.*scale)(task.out_width(), task.out_height());
        job.WriteStorage(nullptr);
        if (job.Execute() != 0)
            state.SkipWithError("the run failed");
    }
}

using Peer = void (*)(benchmark::State& state, const Task& task);

#if NUV_BENCH_OPENCV
template <int Method>
void opencv(benchmark::State& state, const Task& task)
{
    cv::setNumThreads(1);
    const int type = CV_MAKETYPE(task.bits == 16 ? CV_16U : CV_8U, static_cast<int>(task.channels));
    const cv::Mat in(height, width, type, const_cast<std::uint8_t*>(source(task)));
    const cv::Size size(static_cast<int>(task.out_width()), static_cast<int>(task.out_height()));
    cv::Mat out(size, type, destination(task));
    for ([[maybe_unused]] auto _ : state)
        cv::resize(in, out, size, 0, 0, Method);
}
constexpr Peer opencv_nearest = opencv<cv::INTER_NEAREST>;
constexpr Peer opencv_linear = opencv<cv::INTER_LINEAR>;
constexpr Peer opencv_cubic = opencv<cv::INTER_CUBIC>;
constexpr Peer opencv_area = opencv<cv::INTER_AREA>;
#else
constexpr Peer opencv_nearest = nullptr;
constexpr Peer opencv_linear = nullptr;
constexpr Peer opencv_cubic = nullptr;
constexpr Peer opencv_area = nullptr;
#endif

#if NUV_BENCH_LIBYUV
void libyuv_plane(benchmark::State& state, const Task& task)
{
    const std::uint8_t* in = source(task);
    std::uint8_t* out = destination(task);
    for ([[maybe_unused]] auto _ : state) {
        libyuv::ScalePlane(in, width, width, height, out, static_cast<int>(task.out_width()),
                           static_cast<int>(task.out_width()), static_cast<int>(task.out_height()),
                           libyuv::kFilterBilinear);
    }
}
constexpr Peer libyuv_linear = libyuv_plane;
#else
constexpr Peer libyuv_linear = nullptr;
#endif

#if NUV_BENCH_ZIMG
zimg_image_format zimg_plane(unsigned plane_width, unsigned plane_height, unsigned bits)
{
    zimg_image_format format;
    zimg_image_format_default(&format, ZIMG_API_VERSION);
    format.width = plane_width;
    format.height = plane_height;
    format.pixel_type = bits == 16 ? ZIMG_PIXEL_WORD : ZIMG_PIXEL_BYTE;
    format.depth = bits;
    format.color_family = ZIMG_COLOR_GREY;
    format.pixel_range = ZIMG_RANGE_FULL;
    return format;
}

template <zimg_resample_filter_e Filter>
void zimg(benchmark::State& state, const Task& task)
{
    const zimg_image_format from = zimg_plane(width, height, task.bits);
    const zimg_image_format to = zimg_plane(task.out_width(), task.out_height(), task.bits);
    zimg_graph_builder_params params;
    zimg_graph_builder_params_default(&params, ZIMG_API_VERSION);
    params.resample_filter = Filter;
    params.dither_type = ZIMG_DITHER_NONE;
    params.cpu_type = ZIMG_CPU_AUTO_64B;
    zimg_filter_graph* graph = zimg_filter_graph_build(&from, &to, &params);
    std::size_t scratch_bytes = 0;
    if (!graph || zimg_filter_graph_get_tmp_size(graph, &scratch_bytes) != ZIMG_ERROR_SUCCESS) {
        state.SkipWithError("no graph");
        return;
    }
    constexpr std::size_t alignment = 64;
    const auto aligned = [](std::vector<std::uint8_t>& bytes) {
        const auto address = reinterpret_cast<std::uintptr_t>(bytes.data());
        return bytes.data() + (alignment - address % alignment) % alignment;
    };
    const auto stride_of = [&](unsigned samples) {
        return (std::size_t{samples} * task.bits / 8 + alignment - 1) / alignment * alignment;
    };
    std::vector<std::uint8_t> scratch(scratch_bytes + alignment);
    std::vector<std::uint8_t> in(stride_of(width) * height + alignment);
    std::vector<std::uint8_t> out(stride_of(task.out_width()) * task.out_height() + alignment);
    std::copy_n(source(task), in.size() - alignment, aligned(in));
    zimg_image_buffer_const source_buffer{ZIMG_API_VERSION, {}};
    zimg_image_buffer destination_buffer{ZIMG_API_VERSION, {}};
    source_buffer.plane[0] = {aligned(in), static_cast<ptrdiff_t>(stride_of(width)),
                              ZIMG_BUFFER_MAX};
    destination_buffer.plane[0] = {
        aligned(out), static_cast<ptrdiff_t>(stride_of(task.out_width())), ZIMG_BUFFER_MAX};
    for ([[maybe_unused]] auto _ : state) {
        for (unsigned plane = 0; plane < task.channels; ++plane) {
            if (zimg_filter_graph_process(graph, &source_buffer, &destination_buffer,
                                          aligned(scratch), nullptr, nullptr, nullptr,
                                          nullptr) != ZIMG_ERROR_SUCCESS)
                state.SkipWithError("no planes");
        }
    }
    zimg_filter_graph_free(graph);
}
constexpr Peer zimg_linear = zimg<ZIMG_RESIZE_BILINEAR>;
constexpr Peer zimg_cubic = zimg<ZIMG_RESIZE_BICUBIC>;
#else
constexpr Peer zimg_linear = nullptr;
constexpr Peer zimg_cubic = nullptr;
#endif

#if NUV_BENCH_STB
void stb(benchmark::State& state, const Task& task)
{
    const auto* in = reinterpret_cast<const std::uint16_t*>(source(task));
    auto* out = reinterpret_cast<std::uint16_t*>(destination(task));
    for ([[maybe_unused]] auto _ : state) {
        stbir_resize_uint16_generic(in, width, height, 0, out, static_cast<int>(task.out_width()),
                                    static_cast<int>(task.out_height()), 0,
                                    static_cast<int>(task.channels), STBIR_ALPHA_CHANNEL_NONE, 0,
                                    STBIR_EDGE_CLAMP, STBIR_FILTER_BOX, STBIR_COLORSPACE_LINEAR,
                                    nullptr);
    }
}
constexpr Peer stb_area = stb;
#else
constexpr Peer stb_area = nullptr;
#endif

struct Row {
    const char* name;
    Scale scale;
    Task task;
    const char* peer_name;
    Peer peer;
};

constexpr Scale nearest = &NuvWrapperClass::ScaleNN;
constexpr Scale linear = &NuvWrapperClass::ScaleLI;
constexpr Scale cubic = &NuvWrapperClass::ScaleCC;
constexpr Scale area = &NuvWrapperClass::ScalePP;
constexpr Scale fine = &NuvWrapperClass::ScaleI2VAREx;

// Channels, bits, percent.
// clang-format off
constexpr Row rows[] = {
    {"nearest", nearest, {3, 8, 40}, "OpenCV", opencv_nearest},
    {"nearest", nearest, {3, 8, 50}, "OpenCV", opencv_nearest},
    {"nearest", nearest, {3, 8, 150}, "OpenCV", opencv_nearest},
    {"nearest", nearest, {1, 8, 40}, "OpenCV", opencv_nearest},
    {"nearest", nearest, {1, 8, 50}, "OpenCV", opencv_nearest},
    {"nearest", nearest, {1, 8, 150}, "OpenCV", opencv_nearest},
    {"linear", linear, {1, 8, 50}, "libyuv", libyuv_linear},
    {"linear", linear, {1, 8, 30}, "libyuv", libyuv_linear},
    {"linear", linear, {1, 8, 150}, "libyuv", libyuv_linear},
    {"linear", linear, {3, 8, 50}, "OpenCV", opencv_linear},
    {"linear", linear, {3, 8, 30}, "OpenCV", opencv_linear},
    {"linear", linear, {3, 8, 150}, "OpenCV", opencv_linear},
    {"linear", linear, {3, 16, 150}, "zimg", zimg_linear},
    {"cubic", cubic, {3, 8, 25}, "OpenCV", opencv_cubic},
    {"cubic", cubic, {3, 8, 150}, "OpenCV", opencv_cubic},
    {"cubic", cubic, {1, 8, 25}, "OpenCV", opencv_cubic},
    {"cubic", cubic, {1, 8, 150}, "OpenCV", opencv_cubic},
    {"cubic", cubic, {3, 16, 60}, "zimg", zimg_cubic},
    {"cubic", cubic, {3, 16, 150}, "zimg", zimg_cubic},
    {"area", area, {3, 8, 40}, "OpenCV", opencv_area},
    {"area", area, {3, 8, 50}, "OpenCV", opencv_area},
    {"area", area, {3, 8, 25}, "OpenCV", opencv_area},
    {"area", area, {1, 8, 40}, "OpenCV", opencv_area},
    {"area", area, {1, 8, 50}, "OpenCV", opencv_area},
    {"area", area, {1, 8, 25}, "OpenCV", opencv_area},
    {"area", area, {3, 16, 40}, "stb", stb_area},
    {"fine", fine, {3, 8, 29}, "zimg", zimg_cubic},
    {"fine", fine, {1, 8, 29}, "zimg", zimg_cubic},
    {"fine", fine, {3, 16, 60}, "zimg", zimg_cubic},
    {"fine", fine, {3, 16, 150}, "zimg", zimg_cubic},
};
// clang-format on

// As "linear RGB 8 50 %".
std::string title(const Row& row)
{
    return std::string(row.name) + (row.task.channels == 1 ? " gray " : " RGB ") +
           std::to_string(row.task.bits) + " " + std::to_string(row.task.percent) + " %";
}

[[maybe_unused]] const bool are_registered = [] {
    for (const Row& row : rows) {
        benchmark::RegisterBenchmark((title(row) + "/nuv").c_str(), run_nuv, row.task, row.scale)
            ->Unit(benchmark::kMillisecond);
        if (row.peer)
            benchmark::RegisterBenchmark((title(row) + "/" + row.peer_name).c_str(), row.peer,
                                         row.task)
                ->Unit(benchmark::kMillisecond);
    }
    return true;
}();

} // namespace
