// A user of the installed package: mirrors two lines in memory, and makes a JPEG of them. Exits
// with the number of what went wrong.

#include <nuv/nuv_wrapper.h>

#include <array>
#include <cstring>

namespace {

constexpr int width = 3;
constexpr int height = 2;

ImageParam two_lines()
{
    ImageParam picture{};
    picture.width = width;
    picture.height = height;
    picture.bits = 8;
    picture.channels = 1;
    picture.format = Format::eRaw;
    picture.color = ColorType::eGray;
    return picture;
}

const std::array<unsigned char, 6> samples{1, 2, 3, 4, 5, 6};

bool mirrors()
{
    std::array<unsigned char, 6> result{};
    ImageParam picture = two_lines();
    int written = 0;
    nuv::NuvWrapperClass job;
    job.SetSrcMemory(samples.data(), static_cast<int>(samples.size()));
    job.SetDstMemory(result.data(), static_cast<int>(result.size()));
    job.ReadStorage(&picture);
    job.MirrorX();
    job.WriteStorage(nullptr);
    const bool ran = job.Execute() == 0 && job.GetWrittenSize(&written) == 0;
    const std::array<unsigned char, 6> expected{3, 2, 1, 6, 5, 4};
    return ran && written == static_cast<int>(result.size()) && result == expected;
}

bool makes_a_jpeg()
{
    std::array<unsigned char, 4096> result{};
    ImageParam picture = two_lines();
    WriteJPEGOption option{90, WriteJPEGOption::eSampling444};
    int written = 0;
    NuvWrapperClass job;
    job.SetSrcMemory(samples.data(), static_cast<int>(samples.size()));
    job.SetDstMemory(result.data(), static_cast<int>(result.size()));
    job.ReadStorage(&picture);
    job.WriteJPEG(&option);
    if (job.Execute() != 0 || job.GetWrittenSize(&written) != 0 || written < 4)
        return false;
    const unsigned char* const end = result.data() + written;
    return std::memcmp(result.data(), "\xFF\xD8", 2) == 0 &&
           std::memcmp(end - 2, "\xFF\xD9", 2) == 0;
}

bool leaves_the_record_of_a_missing_file_alone()
{
    ImageParam picture = two_lines();
    return GetImgInfo("no such file", &picture) == 0 && picture.width == width;
}

} // namespace

int main()
{
    if (!mirrors())
        return 1;
    if (!makes_a_jpeg())
        return 2;
    return leaves_the_record_of_a_missing_file_alone() ? 0 : 3;
}
