// Scaling 24 megapixels from memory to memory, with all forms and with those for AVX2 alone, each
// row beside a library that does the like: OpenCV, libyuv, zimg or stb, those that are installed.
// zimg has a plane for each channel. Its filters, and those of libyuv and stb, are not ours.

#include "core/scale/nuv_scalecc.h"
#include "core/scale/nuv_scaleli.h"
#include "core/scale/nuv_scalenn.h"
#include "core/scale/nuv_scalepp.h"
#include "core/storage/nuv_readstorage.h"
#include "core/storage/nuv_writestorage.h"
#include "extension/scalei2varex/nuv_scalei2varexby.h"
#include "framework/base/nuv_held.h"
#include "framework/io/nuv_bytearrayinputstorage.h"
#include "framework/io/nuv_bytearrayoutputstorage.h"
#include "framework/manager/nuv_blockworkflow.h"
#include "framework/manager/nuv_firsterrorhandler.h"
#include "framework/manager/nuv_mallocmemorymanager.h"
#include "framework/manager/nuv_managerimpl.h"

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

using Append = nuv::NUV_Engine* (*)(nuv::NUV_Manager&, nuv::NUV_Engine*, unsigned, unsigned);

template <class Creator>
nuv::NUV_Engine* append(nuv::NUV_Manager& manager, nuv::NUV_Engine* last, unsigned to_width,
                        unsigned to_height)
{
    return Creator(manager).engine(last, to_width, to_height);
}

// With the forms for `level`, which is looked at when it runs.
void scale(benchmark::State& state, const Task& task, Append append_scale,
           const nuv::NUV_Cpu* level)
{
    using Manager = nuv::NUV_ManagerImpl<nuv::NUV_MallocMemoryManager, nuv::NUV_FirstErrorHandler,
                                         nuv::NUV_BlockWorkflow>;
    if (!nuv::NUV_Cpu::current().can_run(*level)) {
        state.SkipWithError("not this processor");
        return;
    }
    const std::uint8_t* from = source(task);
    std::uint8_t* to = destination(task);
    for ([[maybe_unused]] auto _ : state) {
        Manager manager(*level);
        const auto in = nuv::make_initiated<nuv::NUV_ByteArrayInputStorage>(
            manager, from, static_cast<std::int32_t>(task.in_bytes()));
        const auto out = nuv::make_initiated<nuv::NUV_ByteArrayOutputStorage>(
            manager, to, static_cast<std::int32_t>(task.out_bytes()));
        nuv::NUV_Header header(manager);
        header.width(width);
        header.height(height);
        header.channels(static_cast<std::uint16_t>(task.channels));
        header.bits(static_cast<std::uint16_t>(task.bits));
        nuv::NUV_Engine* engine = nuv::NUV_ReadStorage(manager).engine(in.get(), &header, 0, 0, 1);
        engine = append_scale(manager, engine, task.out_width(), task.out_height());
        engine = nuv::NUV_WriteStorage(manager).engine(engine, out.get(), 0, 0, 0, 1);
        if (!engine) {
            state.SkipWithError("no chain");
            return;
        }
        while (engine->execute()) {
        }
        engine->end();
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
    Append append_scale;
    Task task;
    const char* peer_name;
    Peer peer;
};

constexpr Append nearest = append<nuv::NUV_ScaleNN>;
constexpr Append linear = append<nuv::NUV_ScaleLI>;
constexpr Append cubic = append<nuv::NUV_ScaleCC>;
constexpr Append area = append<nuv::NUV_ScalePP>;
constexpr Append fine = append<nuv::NUV_ScaleI2VARExBy<nuv::NUV_FixedReal>>;

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
        for (const nuv::NUV_Cpu* level : {&nuv::NUV_Cpu::current(), &nuv::NUV_Cpu::avx2}) {
            const char* form = level == &nuv::NUV_Cpu::avx2 ? "/AVX2" : "/nuv";
            benchmark::RegisterBenchmark((title(row) + form).c_str(), scale, row.task,
                                         row.append_scale, level)
                ->Unit(benchmark::kMillisecond);
        }
        if (row.peer)
            benchmark::RegisterBenchmark((title(row) + "/" + row.peer_name).c_str(), row.peer,
                                         row.task)
                ->Unit(benchmark::kMillisecond);
    }
    return true;
}();

} // namespace
