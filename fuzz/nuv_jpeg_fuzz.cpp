// A JPEG stream, read through the exported class: looked at, and decoded to samples in memory. A
// marker that libFuzzer cannot know is put before what it gives, so that most of its inputs are
// taken for a JPEG stream.

#include "wrapper/nuv_wrapper.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

// Small files may describe large images, whose coefficients have to be cleared; those are only
// looked at.
constexpr std::uint64_t most_pixels = std::uint64_t{1} << 20;
constexpr std::size_t largest_stream = std::size_t{1} << 16;

void decode(std::vector<std::uint8_t>& stream)
{
    static std::vector<std::uint8_t> out(4 * most_pixels);
    ImageParam info{};
    NuvWrapperClass job;
    job.SetSrcMemory(stream.data(), static_cast<int>(stream.size()));
    job.SetDstMemory(out.data(), static_cast<int>(out.size()));
    job.GetSrcImgInfo(&info);
    if (std::uint64_t{info.width} * info.height > most_pixels)
        return;
    job.ReadRaster();
    job.WriteStorage(nullptr);
    job.Execute();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2 || size > largest_stream)
        return 0;
    std::vector<std::uint8_t> stream(data, data + size);
    stream[0] = 0xFF;
    stream[1] = 0xD8;
    decode(stream);
    return 0;
}
