#include "framework/buffer/nuv_ringbuffer.h"

#include "tests/support/nuv_refusals.h"

namespace nuv {
namespace {

struct Size {
    std::uint32_t width, height;
};

// Every row of every window holds the pixels that clamping both coordinates gives.
void expect_clamped_window(Size image, std::uint16_t channels, NUV_KernelAttr kernel)
{
    const auto samples = random_samples<std::uint8_t>(
        std::size_t{image.width} * image.height * channels, image.width + channels);
    NUV_TestChain chain;
    chain.source<std::uint8_t>({.width = image.width, .height = image.height, .channels = channels},
                               samples);
    NUV_Held<NUV_SrcBuffer> reader(chain.last()->src_buffer());
    auto ring = make_initiated<NUV_RingBufferOutlineCopy>(chain.manager(), reader.get(),
                                                          chain.last()->header(), kernel);
    ASSERT_TRUE(ring);
    const auto pixel = [&](std::int64_t x, std::int64_t y, std::uint32_t channel) {
        x = std::clamp<std::int64_t>(x, 0, image.width - 1);
        y = std::clamp<std::int64_t>(y, 0, image.height - 1);
        return samples[static_cast<std::size_t>((y * image.width + x) * channels + channel)];
    };
    for (std::int64_t y = 0; y < image.height + 2; ++y) { // two beyond the last line
        ASSERT_TRUE(ring->advance());
        for (std::uint32_t row = 0; row < kernel.height; ++row) {
            for (std::uint32_t x = 0; x < kernel.width + image.width - 1; ++x) {
                for (std::uint32_t c = 0; c < channels; ++c) {
                    ASSERT_EQ(ring->row(row)[x * channels + c],
                              pixel(std::int64_t{x} - kernel.x, y + row - kernel.y, c))
                        << "line " << y << ", row " << row << ", x " << x;
                }
            }
        }
    }
}

TEST(RingBuffer, SurroundsTheImageWithItsNearestPixels)
{
    for (const Size image : {Size{5, 4}, {1, 1}, {3, 1}, {1, 6}}) {
        for (const std::uint16_t channels :
             {std::uint16_t{1}, std::uint16_t{2}, std::uint16_t{3}}) {
            expect_clamped_window(image, channels, {3, 3, 1, 1});
            expect_clamped_window(image, channels, {5, 2, 0, 1});
            expect_clamped_window(image, channels, {2, 4, 1, 0});
        }
    }
}

TEST(RingBuffer, RefusesKernelsWithoutAnOriginAndSamplesThatAreNoBytes)
{
    constexpr auto method = "NUV_RingBuffer::initiate()";
    constexpr auto unsupported = NUV_ERR_UNSUPPORTED;
    const auto ring = [](const NUV_KernelAttr& kernel) -> NUV_Append {
        return [kernel](NUV_TestChain& chain) {
            NUV_Held<NUV_SrcBuffer> reader(chain.last()->src_buffer());
            auto made = make_object<NUV_RingBufferOutlineCopy>(chain.manager());
            return made->initiate(reader.get(), chain.last()->header(), kernel);
        };
    };
    const NUV_TestImage pixel;
    const NUV_TestImage bit = {.bits = 1};
    const NUV_TestImage pixels_above_64k = {.channels = 65535, .bits = 16};
    const NUV_TestImage wide = {.width = 1 << 16}; // with so high a kernel, above 2 GiB
    expect_refusals({{"no width", pixel, ring({0, 1, 0, 0}), NUV_ERR_ARGUMENT, method},
                     {"origin beside", pixel, ring({3, 3, 3, 1}), NUV_ERR_ARGUMENT, method},
                     {"bits", bit, ring({3, 3, 1, 1}), unsupported, method},
                     {"pixels", pixels_above_64k, ring({1, 1, 0, 0}), unsupported, method},
                     {"memory", wide, ring({1, 1 << 15, 0, 0}), unsupported, method}});
}

} // namespace
} // namespace nuv
