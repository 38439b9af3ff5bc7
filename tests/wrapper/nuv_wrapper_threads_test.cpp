// Wrappers are independent of one another: each thread may have its own. Built with
// NUV_THREAD_SANITIZE, this tells whether the tables behind them are filled in safety.

#include "wrapper/nuv_wrapper.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <functional>
#include <thread>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

constexpr unsigned width = 97;
constexpr unsigned height = 61;

Bytes run(const Bytes& source, const std::function<void(NuvWrapperClass&)>& calls)
{
    Bytes out(std::size_t{8} * width * height * 3);
    NuvWrapperClass job;
    job.SetSrcMemory(source.data(), static_cast<int>(source.size()));
    job.SetDstMemory(out.data(), static_cast<int>(out.size()));
    calls(job);
    EXPECT_EQ(job.Execute(), 0);
    int size = 0;
    job.GetWrittenSize(&size);
    out.resize(static_cast<std::size_t>(size));
    return out;
}

void read_samples(NuvWrapperClass& job)
{
    ImageParam image{};
    image.width = width;
    image.height = height;
    image.channels = 3;
    image.bits = 8;
    image.color = ColorType::eRGB;
    job.ReadStorage(&image);
}

// A JPEG of the samples, and the picture in it through every kind of operation.
std::vector<Bytes> do_everything(const Bytes& samples)
{
    const Bytes stream = run(samples, [](NuvWrapperClass& job) {
        read_samples(job);
        job.WriteJPEG(nullptr);
    });
    const std::array<std::function<void(NuvWrapperClass&)>, 7> operations{
        [](NuvWrapperClass& job) { job.ScaleNN(2 * width, height / 2); },
        [](NuvWrapperClass& job) { job.ScaleLI(width / 2, 2 * height); },
        [](NuvWrapperClass& job) { job.ScaleCC(2 * width, 2 * height); },
        [](NuvWrapperClass& job) { job.ScalePP(width / 3, height / 3); },
        [](NuvWrapperClass& job) { job.ScaleI2VAREx(width / 2, height / 2); },
        [](NuvWrapperClass& job) { job.Rotate90(90); },
        [](NuvWrapperClass& job) { job.ColorSpace(ColorType::eRGB); },
    };
    std::vector<Bytes> results{stream};
    for (const auto& operation : operations) {
        results.push_back(run(stream, [&](NuvWrapperClass& job) {
            job.ReadRaster();
            operation(job);
            job.WriteStorage(nullptr);
        }));
        EXPECT_FALSE(results.back().empty());
    }
    return results;
}

TEST(WrapperThreads, WorkSideBySideAsTheyDoAlone)
{
    Bytes samples(std::size_t{3} * width * height);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<unsigned char>(i * i / 7 + i % 3 * 50);
    // The threads come first, so that they are the ones to fill what is filled once.
    std::vector<Bytes> one;
    std::vector<Bytes> other;
    std::thread first([&] { one = do_everything(samples); });
    std::thread second([&] { other = do_everything(samples); });
    first.join();
    second.join();
    const std::vector<Bytes> alone = do_everything(samples);
    EXPECT_EQ(one, alone);
    EXPECT_EQ(other, alone);
}

} // namespace
