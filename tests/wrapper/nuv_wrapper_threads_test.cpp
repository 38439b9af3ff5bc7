// Wrappers are independent of one another: each thread may have its own. Built with
// NUV_THREAD_SANITIZE, this tells whether the tables behind them are filled in safety.

#include "tests/wrapper/nuv_testjob.h"

#include <thread>

namespace {

constexpr unsigned width = 97;
constexpr unsigned height = 61;

// A JPEG of the samples, and the picture in it through every kind of operation.
std::vector<Bytes> do_everything(const Bytes& samples)
{
    const ImageParam image = raw_image(width, height, 3, 8, ColorType::eRGB);
    const Bytes stream =
        made(samples, in_turn(read_raw(image), [](auto& w) { w.WriteJPEG(nullptr); }));
    const Call operations[] = {
        [](NuvWrapperClass& w) { w.ScaleNN(2 * width, height / 2); },
        [](NuvWrapperClass& w) { w.ScaleLI(width / 2, 2 * height); },
        [](NuvWrapperClass& w) { w.ScaleCC(2 * width, 2 * height); },
        [](NuvWrapperClass& w) { w.ScalePP(width / 3, height / 3); },
        [](NuvWrapperClass& w) { w.ScaleI2VAREx(width / 2, height / 2); },
        [](NuvWrapperClass& w) { w.Rotate90(90); },
        [](NuvWrapperClass& w) { w.ColorSpace(ColorType::eRGB); },
    };
    std::vector<Bytes> results{stream};
    for (const Call& operation : operations) {
        results.push_back(made(stream, in_turn(read_any, operation, write_raw), 1 << 18));
        EXPECT_FALSE(results.back().empty());
    }
    return results;
}

TEST(WrapperThreads, WorkSideBySideAsTheyDoAlone)
{
    const Bytes samples = nuv::random_samples<unsigned char>(std::size_t{3} * width * height, 1);
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
