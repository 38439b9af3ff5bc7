// What GetImgInfo takes for a JPEG file of a camera, whose Exif segment has 60 kB, beside the same
// file without the segment.

#include "wrapper/nuv_wrapper.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t side = 400; // pixels

// Noise, so that there is more of it than a buffer holds.
Bytes jpeg_file()
{
    Bytes samples(std::size_t{side} * side * 3);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<std::uint8_t>(i * i * 2654435761U >> 24);
    Bytes file(std::size_t{1} << 20);
    ImageParam image{};
    image.width = image.height = side;
    image.channels = 3;
    image.bits = 8;
    image.color = ColorType::eYCbCr;
    WriteJPEGOption option{80, WriteJPEGOption::eSampling422};
    NuvWrapperClass job;
    job.SetSrcMemory(samples.data(), static_cast<int>(samples.size()));
    job.SetDstMemory(file.data(), static_cast<int>(file.size()));
    job.ReadStorage(&image);
    job.WriteJPEG(&option);
    job.Execute();
    int bytes = 0;
    job.GetWrittenSize(&bytes);
    file.resize(static_cast<std::size_t>(bytes));
    return file;
}

struct Entry {
    std::uint32_t tag, type, count, value;
};

void put(Bytes& bytes, std::uint32_t number, int count)
{
    for (int i = 0; i < count; ++i)
        bytes.push_back(static_cast<std::uint8_t>(number >> 8 * i));
}

void put_directory(Bytes& bytes, std::initializer_list<Entry> entries)
{
    put(bytes, static_cast<std::uint32_t>(entries.size()), 2);
    for (const Entry& entry : entries) {
        put(bytes, entry.tag, 2);
        put(bytes, entry.type, 2);
        put(bytes, entry.count, 4);
        put(bytes, entry.value, 4);
    }
    put(bytes, 0, 4);
}

// Most of it is what the maker notes, as a rule a thumbnail besides.
Bytes with_exif(const Bytes& jpeg)
{
    constexpr std::uint32_t note_bytes = 60000;
    constexpr std::uint32_t exif_at = 8 + 2 + 5 * 12 + 4;
    constexpr std::uint32_t values_at = exif_at + 2 + 7 * 12 + 4;

    Bytes file = {0xFF, 0xD8, 0xFF, 0xE1, 0, 0, 'E', 'x', 'i', 'f', 0, 0};
    put(file, 0x002A4949, 4);
    put(file, 8, 4);
    put_directory(file, {{271, 2, 4, 0x00636261},
                         {274, 3, 1, 1},
                         {282, 5, 1, values_at},
                         {296, 3, 1, 2},
                         {34665, 4, 1, exif_at}});
    put_directory(file, {{33434, 5, 1, values_at},
                         {33437, 5, 1, values_at},
                         {34855, 3, 1, 200},
                         {36864, 7, 4, 0x30323230},
                         {37377, 10, 1, values_at},
                         {37500, 7, note_bytes, values_at + 8},
                         {40961, 3, 1, 1}});
    put(file, 72, 4);
    put(file, 1, 4);
    file.insert(file.end(), note_bytes, 77);
    file[4] = static_cast<std::uint8_t>((file.size() - 4) >> 8);
    file[5] = static_cast<std::uint8_t>(file.size() - 4);
    file.insert(file.end(), jpeg.begin() + 2, jpeg.end());
    return file;
}

void get_img_info(benchmark::State& state, bool has_exif)
{
    const Bytes jpeg = jpeg_file();
    const Bytes bytes = has_exif ? with_exif(jpeg) : jpeg;
    const auto path = std::filesystem::temp_directory_path() / "nuv_exif_bench.jpg";
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    const std::string name = path.string();
    ImageParam info{};
    for ([[maybe_unused]] auto _ : state)
        GetImgInfo(name.c_str(), &info);
    if (info.width != side)
        state.SkipWithError("the file is not read");
    std::filesystem::remove(path);
}
BENCHMARK_CAPTURE(get_img_info, plain JPEG, false);
BENCHMARK_CAPTURE(get_img_info, Exif of 60 kB, true);

} // namespace
