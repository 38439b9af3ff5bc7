// The colour stages of libjpeg, called by themselves through the pointers that its coders hold: no
// other part of it runs. They read or write a plane for each component.

#include <array>
#include <cstdio> // for jpeglib.h, which does not include it
#include <cstdlib>

#include "benchmarks/nuv_color_bench.h"
#define JPEG_INTERNALS // for the colour converters, in jpegint.h
#include <jpeglib.h>

namespace {

using namespace nuv_color_bench;

// A stream of few pixels and the colour whose decoder is to be set up.
struct Stream {
    unsigned char* bytes = nullptr;
    unsigned long count = 0;
};

void set_up(jpeg_compress_struct& coder, J_COLOR_SPACE from, J_COLOR_SPACE to)
{
    coder.image_width = width;
    coder.image_height = 1;
    coder.input_components = from == JCS_GRAYSCALE ? 1 : 3;
    coder.in_color_space = from;
    jpeg_set_defaults(&coder);
    jpeg_set_colorspace(&coder, to);
    for (int i = 0; i < coder.num_components; ++i) {
        coder.comp_info[i].h_samp_factor = 1;
        coder.comp_info[i].v_samp_factor = 1;
    }
    jpeg_start_compress(&coder, TRUE);
}

Stream encode_line(J_COLOR_SPACE color)
{
    Stream stream;
    jpeg_error_mgr errors{};
    jpeg_compress_struct coder{};
    coder.err = jpeg_std_error(&errors);
    jpeg_create_compress(&coder);
    jpeg_mem_dest(&coder, &stream.bytes, &stream.count);
    set_up(coder, color, color);
    Bytes samples(line);
    JSAMPROW row = samples.data();
    jpeg_write_scanlines(&coder, &row, 1);
    jpeg_finish_compress(&coder);
    jpeg_destroy_compress(&coder);
    return stream;
}

// From interleaved samples to planes.
void libjpeg_forward(benchmark::State& state, J_COLOR_SPACE to)
{
    Stream stream;
    jpeg_error_mgr errors{};
    jpeg_compress_struct coder{};
    coder.err = jpeg_std_error(&errors);
    jpeg_create_compress(&coder);
    jpeg_mem_dest(&coder, &stream.bytes, &stream.count);
    set_up(coder, JCS_RGB, to);
    const std::size_t planes = to == JCS_GRAYSCALE ? 1 : 3;
    run(state, line, width * planes, [&](const std::uint8_t* in, std::uint8_t* out) {
        auto* from = const_cast<JSAMPROW>(in); // it is not written to
        std::array<JSAMPROW, 3> rows{out, out + width, out + 2 * width};
        std::array<JSAMPARRAY, 3> to_planes{&rows[0], &rows[1], &rows[2]};
        coder.cconvert->color_convert(&coder, &from, to_planes.data(), 0, 1);
    });
    jpeg_abort_compress(&coder);
    jpeg_destroy_compress(&coder);
    std::free(stream.bytes);
}

// From planes to interleaved samples.
void libjpeg_backward(benchmark::State& state, J_COLOR_SPACE from)
{
    const Stream stream = encode_line(from);
    jpeg_error_mgr errors{};
    jpeg_decompress_struct coder{};
    coder.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&coder);
    jpeg_mem_src(&coder, stream.bytes, stream.count);
    jpeg_read_header(&coder, TRUE);
    coder.out_color_space = JCS_RGB;
    jpeg_start_decompress(&coder);
    const std::size_t planes = from == JCS_GRAYSCALE ? 1 : 3;
    run(state, width * planes, line, [&](const std::uint8_t* in, std::uint8_t* out) {
        auto* row = const_cast<JSAMPROW>(in); // it is not written to
        std::array<JSAMPROW, 3> rows{row, row + width, row + 2 * width};
        std::array<JSAMPARRAY, 3> from_planes{&rows[0], &rows[1], &rows[2]};
        coder.cconvert->color_convert(&coder, from_planes.data(), 0, &out, 1);
    });
    jpeg_abort_decompress(&coder);
    jpeg_destroy_decompress(&coder);
    std::free(stream.bytes);
}

void ycbcr_to_rgb_of_libjpeg(benchmark::State& state)
{
    libjpeg_backward(state, JCS_YCbCr);
}

void rgb_to_ycbcr_of_libjpeg(benchmark::State& state)
{
    libjpeg_forward(state, JCS_YCbCr);
}

void rgb_to_gray_of_libjpeg(benchmark::State& state)
{
    libjpeg_forward(state, JCS_GRAYSCALE);
}

void gray_to_rgb_of_libjpeg(benchmark::State& state)
{
    libjpeg_backward(state, JCS_GRAYSCALE);
}

BENCHMARK(ycbcr_to_rgb_of_libjpeg)->Unit(benchmark::kMillisecond);
BENCHMARK(rgb_to_ycbcr_of_libjpeg)->Unit(benchmark::kMillisecond);
BENCHMARK(rgb_to_gray_of_libjpeg)->Unit(benchmark::kMillisecond);
BENCHMARK(gray_to_rgb_of_libjpeg)->Unit(benchmark::kMillisecond);

} // namespace
