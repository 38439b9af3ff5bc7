// A user of the installed package: mirrors two lines in memory. Exits with 0 when they come out so.

#include <nuv/nuv_wrapper.h>

#include <array>

int main()
{
    const std::array<unsigned char, 6> samples{1, 2, 3, 4, 5, 6};
    std::array<unsigned char, 6> result{};
    ImageParam picture{};
    picture.width = 3;
    picture.height = 2;
    picture.bits = 8;
    picture.channels = 1;
    picture.format = Format::eRaw;
    picture.color = ColorType::eGray;
    int written = 0;
    nuv::NuvWrapperClass job;
    job.SetSrcMemory(samples.data(), static_cast<int>(samples.size()));
    job.SetDstMemory(result.data(), static_cast<int>(result.size()));
    job.ReadStorage(&picture);
    job.MirrorX();
    job.WriteStorage(nullptr);
    const bool ran = job.Execute() == 0 && job.GetWrittenSize(&written) == 0 && written == 6;
    ImageParam kept = picture;
    const bool is_kept = GetImgInfo("no such file", &kept) == 0 && kept.width == picture.width;
    return ran && is_kept && result == std::array<unsigned char, 6>{3, 2, 1, 6, 5, 4} ? 0 : 1;
}
