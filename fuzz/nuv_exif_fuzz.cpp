// An Exif structure: in a JPEG picture, of which it may not cost a sample, and as a TIFF file.

#include "tests/core/jpeg/nuv_jpegcraft.h"

#include "fuzz/nuv_readjob.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t most = 65535 - 8; // of a segment
    if (size < 2 || size > most)
        return 0;
    std::string payload("Exif\0\0", 6);
    payload.append(data, data + size);
    const auto picture = nuv::with_segment(nuv::flat_stream(), 0xE1, payload);
    int written = 0;
    nuv::run_job(picture.data(), picture.size(), [&written](NuvWrapperClass& job) {
        ImageParam info{};
        job.GetSrcImgInfo(&info);
        job.ReadRaster();
        job.WriteStorage(nullptr);
        job.Execute();
        job.GetWrittenSize(&written);
    });
    if (written != 8 * 8 * 3)
        std::abort();

    Bytes file(data, data + size);
    std::fill_n(file.begin(), 2, file[0] == 'M' ? std::uint8_t{'M'} : std::uint8_t{'I'});
    nuv::read_whole(file.data(), size);
    return 0;
}
