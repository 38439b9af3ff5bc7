// A stored picture, mirrored into a JPEG file:
//
//     scan_to_jpeg SRC DST

#include <nuv/nuv_wrapper.h>

#include <cstdio>

int main(int count, char** arguments)
{
    if (count != 3) {
        std::fputs("usage: scan_to_jpeg SRC DST\n", stderr);
        return 1;
    }
    const char* const source = arguments[1];
    const char* const destination = arguments[2];

    // 0 also when there is no such picture: the record then stays as it was.
    ImageParam picture{};
    if (GetImgInfo(source, &picture) != 0 || picture.width == 0) {
        std::fprintf(stderr, "%s: not a picture that can be read\n", source);
        return 1;
    }
    std::printf("%s: %u x %u pixels, %d channels of %d bits\n", source, picture.width,
                picture.height, picture.channels, picture.bits);

    NuvWrapperClass job;
    job.SetSrcFile(source);
    job.SetDstFile(destination);
    job.ReadRaster();
    job.MirrorX();
    WriteJPEGOption option{};
    option.quality = 85;
    option.sampling = WriteJPEGOption::eSampling420;
    job.WriteJPEG(&option);

    // Nothing has been read or written up to here but the beginning of the source.
    int written = 0;
    if (job.Execute() != 0 || job.GetWrittenSize(&written) != 0 || written == 0) {
        std::fprintf(stderr, "%s: cannot be made a JPEG\n", source);
        return 1;
    }
    std::printf("%s: %d bytes\n", destination, written);
    return 0;
}
