#include "tests/support/nuv_chainmodel.h"

#include <cstring>

namespace nuv {

NUV_ModelImage NUV_ModelImage::random(std::mt19937& random)
{
    constexpr std::uint16_t kinds[] = {1, 8, 16};
    NUV_ModelImage image;
    image.bits = kinds[random() % 3];
    image.width = static_cast<std::uint32_t>(1 + random() % 40);
    image.height = static_cast<std::uint32_t>(1 + random() % 20);
    image.channels = static_cast<std::uint16_t>(image.bits == 1 ? 1 : 1 + random() % 5);
    image.samples.resize(std::size_t{image.width} * image.height * image.channels);
    for (std::uint16_t& sample : image.samples)
        sample = static_cast<std::uint16_t>(random() & ((1U << image.bits) - 1));
    return image;
}

std::vector<std::uint8_t> NUV_ModelImage::bytes() const
{
    const std::size_t line_samples = std::size_t{width} * channels;
    const std::size_t line = (line_samples * bits + 7) / 8;
    std::vector<std::uint8_t> out(line * height);
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t i = 0; i < line_samples; ++i) {
            const std::uint16_t sample = samples[y * line_samples + i];
            std::uint8_t* to = out.data() + y * line;
            if (bits == 1)
                to[i / 8] |= static_cast<std::uint8_t>(sample << (7 - i % 8));
            else if (bits == 8)
                to[i] = static_cast<std::uint8_t>(sample);
            else
                std::memcpy(to + 2 * i, &sample, 2);
        }
    }
    return out;
}

NUV_TestImage NUV_ModelImage::description() const
{
    return {.width = width, .height = height, .channels = channels, .bits = bits};
}

} // namespace nuv
