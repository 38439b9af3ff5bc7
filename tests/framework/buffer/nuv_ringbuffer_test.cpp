#include "framework/buffer/nuv_ringbuffer.h"

#include "framework/base/nuv_held.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_testsamples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

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
    struct Case {
        const char* what;
        NUV_TestImage image;
        NUV_KernelAttr kernel;
        NUV_StatusCode code;
    };
    const Case cases[] = {
        {"no width", {}, {0, 1, 0, 0}, NUV_ERR_ARGUMENT},
        {"origin beside it", {}, {3, 3, 3, 1}, NUV_ERR_ARGUMENT},
        {"bits", {.bits = 1}, {3, 3, 1, 1}, NUV_ERR_UNSUPPORTED},
        {"pixels above 64 KiB", {.channels = 65535, .bits = 16}, {1, 1, 0, 0}, NUV_ERR_UNSUPPORTED},
        {"memory above 2 GiB", {.width = 1 << 16}, {1, 1 << 15, 0, 0}, NUV_ERR_UNSUPPORTED},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        chain.blank_source(c.image);
        NUV_Held<NUV_SrcBuffer> reader(chain.last()->src_buffer());
        auto ring = make_object<NUV_RingBufferOutlineCopy>(chain.manager());
        EXPECT_FALSE(ring->initiate(reader.get(), chain.last()->header(), c.kernel));
        EXPECT_EQ(chain.status().code, c.code);
        EXPECT_STREQ(chain.status().method, "NUV_RingBuffer::initiate()");
    }
}

} // namespace
} // namespace nuv
