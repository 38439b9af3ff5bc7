// A stored image of any kind, read through the exported class: looked at, read whole, read as a
// JPEG job, and read in planes.

#include "wrapper/nuv_wrapper.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

// Small files may describe large images; what is larger than this is only begun.
constexpr std::size_t room = std::size_t{1} << 22;

template <class Build>
void run(const std::uint8_t* data, std::size_t size, Build build)
{
    static std::vector<unsigned char> out(room);
    NuvWrapperClass job;
    job.SetSrcMemory(data, static_cast<int>(size));
    job.SetDstMemory(out.data(), static_cast<int>(room));
    build(job);
    job.Execute();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0 || size > room)
        return 0;
    ImageParam info{};
    run(data, size, [&](NuvWrapperClass& job) {
        // The coefficients of a JPEG picture stand whole in memory, and have to be cleared.
        job.GetSrcImgInfo(&info);
        if (info.format == Format::eRaw || std::uint64_t{info.width} * info.height <= room)
            job.ReadRaster();
        job.WriteStorage(nullptr);
    });
    if (std::uint64_t{info.width} * info.height > room)
        return 0;
    run(data, size, [&](NuvWrapperClass& job) {
        info.color = info.channels == 3 ? 0x1000 : 0x11;
        job.ReadRaster(&info);
        job.MirrorX();
        job.WriteJPEG(nullptr);
    });
    run(data, size, [](NuvWrapperClass& job) {
        job.ReadRaster();
        job.WriteStoragePlanar(nullptr);
    });
    return 0;
}
