// TIFF files in memory to lines that are dropped, in each form that is read, beside libtiff on the
// same file and beside plain copies of the same bytes. 6000 x 4000 pixels, and a page of text.

#include "core/qdrle/nuv_qdrlerun.h"
#include "core/readraster/nuv_readraster.h"
#include "core/storage/nuv_readstorage.h"
#include "core/storage/nuv_writestorage.h"
#include "framework/io/nuv_bytearrayinputstorage.h"
#include "framework/io/nuv_bytearrayoutputstorage.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "benchmarks/nuv_photolike.h"
#include "benchmarks/nuv_scalesetup.h"
#include "benchmarks/nuv_textpage.h"
#include "benchmarks/nuv_tiffmemory.h"

namespace nuv {
namespace {

constexpr int jpeg_quality = 75;

struct Form {
    const char* name;
    unsigned compression = COMPRESSION_NONE;
    std::uint32_t rows = 64; // per strip
    unsigned photometric = PHOTOMETRIC_RGB;
    unsigned across = 1, down = 1; // pixels that share chroma
    bool planar = false;
    bool is_page = false; // of text, in bits

    [[nodiscard]] std::uint32_t columns() const { return is_page ? page_width : width; }
    [[nodiscard]] std::uint32_t lines() const { return is_page ? page_height : height; }
    [[nodiscard]] unsigned samples() const { return is_page ? 1 : channels; }
    [[nodiscard]] unsigned bits() const { return is_page ? 1 : 8; }
    // Bytes of the pixels that come out.
    [[nodiscard]] std::size_t bytes() const
    {
        return std::size_t{columns()} * samples() * bits() / 8 * lines();
    }
};

// clang-format off
const Form forms[] = {
    {.name = "raw_rows_1", .rows = 1},
    {.name = "raw_rows_64"},
    {.name = "raw_rows_all", .rows = height},
    {.name = "planar", .planar = true},
    {.name = "units_420", .photometric = PHOTOMETRIC_YCBCR, .across = 2, .down = 2},
    {.name = "units_422", .photometric = PHOTOMETRIC_YCBCR, .across = 2},
    {.name = "packbits_photo", .compression = COMPRESSION_PACKBITS},
    {.name = "packbits_page", .compression = COMPRESSION_PACKBITS, .photometric = PHOTOMETRIC_MINISWHITE, .is_page = true},
    {.name = "packbits_planar", .compression = COMPRESSION_PACKBITS, .planar = true},
    {.name = "jpeg_420", .compression = COMPRESSION_JPEG, .photometric = PHOTOMETRIC_YCBCR, .across = 2, .down = 2},
    {.name = "jpeg_444", .compression = COMPRESSION_JPEG, .photometric = PHOTOMETRIC_YCBCR},
};
// clang-format on

// Pixels as libtiff takes them for a plane, or for all of them.
std::vector<std::uint8_t> stored_pixels(const Form& form, unsigned plane)
{
    if (form.is_page)
        return page_bytes(/*as_runs=*/false);
    static const NUV_PhotoLike photo(width, height);
    std::vector<std::uint8_t> pixels = photo.pixels();
    if (form.planar) {
        for (std::size_t i = 0; i < pixels.size() / channels; ++i)
            pixels[i] = pixels[channels * i + plane];
        pixels.resize(pixels.size() / channels);
    }
    if (form.compression == COMPRESSION_NONE && form.across > 1) {
        // Any bytes serve as units of luma and chroma.
        const std::size_t unit_pixels = std::size_t{form.across} * form.down;
        pixels.resize(pixels.size() / channels / unit_pixels * (unit_pixels + 2));
    }
    return pixels;
}

const std::vector<std::uint8_t>& file_of(const Form& form)
{
    static std::vector<NUV_TIFFMemory> files(std::size(forms));
    NUV_TIFFMemory& memory = files[static_cast<std::size_t>(&form - forms)];
    if (!memory.bytes.empty())
        return memory.bytes;
    TIFF* tiff = memory.open("wl");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, form.columns());
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, form.lines());
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, form.bits());
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, form.samples());
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, form.rows);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, form.compression);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, form.photometric);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, form.planar ? 2 : 1);
    if (form.photometric == PHOTOMETRIC_YCBCR)
        TIFFSetField(tiff, TIFFTAG_YCBCRSUBSAMPLING, form.across, form.down);
    if (form.compression == COMPRESSION_JPEG) {
        TIFFSetField(tiff, TIFFTAG_JPEGQUALITY, jpeg_quality);
        TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    }
    std::uint32_t strip = 0;
    for (unsigned plane = 0; plane < (form.planar ? channels : 1U); ++plane) {
        std::vector<std::uint8_t> pixels = stored_pixels(form, plane);
        const std::size_t strip_bytes = pixels.size() / form.lines() * form.rows;
        for (std::size_t at = 0; at < pixels.size(); at += strip_bytes)
            TIFFWriteEncodedStrip(tiff, strip++, pixels.data() + at,
                                  static_cast<tmsize_t>(std::min(strip_bytes, pixels.size() - at)));
    }
    TIFFClose(tiff);
    return memory.bytes;
}

NUV_Held<NUV_ByteArrayInputStorage> storage_of(NUV_Manager& manager,
                                               const std::vector<std::uint8_t>& bytes)
{
    return make_initiated<NUV_ByteArrayInputStorage>(manager, bytes.data(),
                                                     static_cast<std::int32_t>(bytes.size()));
}

void read_here(benchmark::State& state, const Form& form)
{
    const std::vector<std::uint8_t>& file = file_of(form);
    for ([[maybe_unused]] auto _ : state) {
        NUV_Manager* manager = create_manager(0);
        auto storage = storage_of(*manager, file);
        NUV_BenchEnds ends(*manager);
        if (!ends.run(NUV_ReadRaster(*manager).engine(storage.get(), 0), state))
            break;
        storage.reset();
        destroy_manager(manager);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(form.bytes()));
}

// Strips as libtiff gives them, into one buffer; those of planes are interleaved line by line.
void read_by_libtiff(benchmark::State& state, const Form& form)
{
    NUV_TIFFMemory memory;
    memory.bytes = file_of(form);
    const std::size_t planes = form.planar ? channels : 1;
    std::vector<std::uint8_t> out(form.bytes() / form.lines() * form.rows);
    for ([[maybe_unused]] auto _ : state) {
        TIFF* tiff = memory.open("r");
        if (form.compression == COMPRESSION_JPEG)
            TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RAW);
        const auto strip_bytes = static_cast<std::size_t>(TIFFStripSize(tiff));
        const std::uint32_t strips = TIFFNumberOfStrips(tiff) / static_cast<std::uint32_t>(planes);
        std::vector<std::uint8_t> in(strip_bytes * planes);
        for (std::uint32_t i = 0; i < strips; ++i) {
            for (std::size_t plane = 0; plane < planes; ++plane) {
                const auto index = static_cast<std::uint32_t>(plane) * strips + i;
                if (TIFFReadEncodedStrip(tiff, index, in.data() + plane * strip_bytes,
                                         static_cast<tmsize_t>(strip_bytes)) < 0)
                    state.SkipWithError("libtiff does not read it");
            }
            benchmark::DoNotOptimize(in.data());
            for (std::size_t p = 0; planes > 1 && p < strip_bytes; ++p) {
                out[3 * p] = in[p];
                out[3 * p + 1] = in[strip_bytes + p];
                out[3 * p + 2] = in[2 * strip_bytes + p];
            }
            benchmark::DoNotOptimize(out.data());
        }
        TIFFClose(tiff);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(form.bytes()));
}

// As many bytes as there are pixels.
void copy_pixels(benchmark::State& state)
{
    const std::vector<std::uint8_t> from(forms[0].bytes(), 1);
    std::vector<std::uint8_t> to(from.size());
    for ([[maybe_unused]] auto _ : state) {
        std::memcpy(to.data(), from.data(), to.size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(to.size()));
}

// To raw samples in memory: a TIFF file, or with null the samples themselves.
void write_raw(benchmark::State& state, const Form* form)
{
    const std::vector<std::uint8_t>& in = form ? file_of(*form) : stored_pixels(forms[0], 0);
    std::vector<std::uint8_t> out(forms[0].bytes());
    for ([[maybe_unused]] auto _ : state) {
        NUV_Manager* manager = create_manager(0);
        auto source = storage_of(*manager, in);
        auto destination = make_initiated<NUV_ByteArrayOutputStorage>(
            *manager, out.data(), static_cast<std::int32_t>(out.size()));
        NUV_Header header(*manager);
        header.width(width);
        header.height(height);
        header.channels(channels);
        header.bits(8);
        NUV_Engine* engine = form
                                 ? NUV_ReadRaster(*manager).engine(source.get(), 0)
                                 : NUV_ReadStorage(*manager).engine(source.get(), &header, 0, 0, 1);
        engine = engine ? NUV_WriteStorage(*manager).engine(engine, destination.get(), 0, 0, 0, 1)
                        : nullptr;
        if (!engine) {
            state.SkipWithError("no chain");
            break;
        }
        while (engine->execute()) {
        }
        engine->end();
        source.reset();
        destination.reset();
        destroy_manager(manager);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(out.size()));
}

void add_benchmarks()
{
    for (const Form& form : forms) {
        benchmark::RegisterBenchmark((std::string("here/") + form.name).c_str(),
                                     [&form](benchmark::State& state) { read_here(state, form); })
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(
            (std::string("libtiff/") + form.name).c_str(),
            [&form](benchmark::State& state) { read_by_libtiff(state, form); })
            ->Unit(benchmark::kMillisecond);
    }
}

const bool added = (add_benchmarks(), true);

BENCHMARK(copy_pixels)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(write_raw, tiff, &forms[1])->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(write_raw, samples, nullptr)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace nuv
