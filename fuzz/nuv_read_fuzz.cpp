// A stored image of any kind, read through the exported class: looked at, read whole, read as a
// JPEG job, and read in planes.

#include "fuzz/nuv_readjob.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0 || size > nuv::fuzz_room)
        return 0;
    ImageParam info = nuv::read_whole(data, size);
    if (std::uint64_t{info.width} * info.height > nuv::fuzz_room)
        return 0;
    nuv::run_job(data, size, [&](NuvWrapperClass& job) {
        info.color = info.channels == 3 ? 0x1000 : 0x11;
        job.ReadRaster(&info);
        job.MirrorX();
        job.WriteJPEG(nullptr);
    });
    nuv::run_job(data, size, [](NuvWrapperClass& job) {
        job.ReadRaster();
        job.WriteStoragePlanar(nullptr);
    });
    return 0;
}
