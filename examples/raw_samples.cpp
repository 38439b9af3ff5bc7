// Samples that the application has in memory, mirrored into memory of its own.

#include <nuv/nuv_wrapper.h>

#include <cstdio>
#include <vector>

int main()
{
    // Two lines of three RGB pixels.
    const std::vector<unsigned char> samples{
        255, 0, 0, 0,  255, 0,  0,  0,  255, //
        10,  0, 0, 20, 20,  20, 30, 30, 30,
    };
    std::vector<unsigned char> mirrored(samples.size());

    ImageParam picture{};
    picture.width = 3;
    picture.height = 2;
    picture.channels = 3;
    picture.bits = 8;
    picture.format = Format::eRaw;
    picture.color = ColorType::eRGB;

    NuvWrapperClass job;
    job.SetSrcMemory(samples.data(), static_cast<int>(samples.size()));
    job.SetDstMemory(mirrored.data(), static_cast<int>(mirrored.size()));
    job.ReadStorage(&picture);
    job.MirrorX();
    job.WriteStorage(nullptr);

    // A job that broke off half way has run, too: what counts is what has been written.
    int written = 0;
    if (job.Execute() != 0 || job.GetWrittenSize(&written) != 0 ||
        written != static_cast<int>(mirrored.size())) {
        std::fputs("the samples could not be mirrored\n", stderr);
        return 1;
    }
    for (std::size_t i = 0; i < mirrored.size(); i += 3)
        std::printf("%3d %3d %3d\n", mirrored[i], mirrored[i + 1], mirrored[i + 2]);
    return 0;
}
