// Any bytes behind a byte order, through the exported class: looked at and read, whole and in
// planes.

#include "fuzz/nuv_readjob.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2 || size > nuv::fuzz_room)
        return 0;
    std::vector<std::uint8_t> file(data, data + size);
    file[0] = file[1] = data[0] == 'M' ? 'M' : 'I';
    const ImageParam info = nuv::read_whole(file.data(), size);
    if (std::uint64_t{info.width} * info.height > nuv::fuzz_room)
        return 0;
    nuv::run_job(file.data(), size, [](NuvWrapperClass& job) {
        job.ReadRaster();
        job.WriteStoragePlanar(nullptr);
    });
    return 0;
}
