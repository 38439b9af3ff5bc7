#pragma once

#include "tests/support/nuv_testchain.h"

namespace nuv {

// An image that stands whole in memory, one entry for each sample, for computing naively what a
// chain is to deliver.
struct NUV_ModelImage {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t channels = 0;
    std::uint16_t bits = 0;
    bool is_signed = false;
    const NUV_ColorType* color_type = NUV_ColorType::none;
    const NUV_EncodeType* encode_type = NUV_EncodeType::raw; // or qd_rle, of one bit
    std::vector<std::int64_t> samples = {};

    // Any kind that several operations serve: 1, 8 and 16 bits, of signed samples too, 1 to 5
    // channels with the tags that they can have, runs; of small sizes, and of some that are wide or
    // high. Without samples.
    [[nodiscard]] static NUV_ModelImage draw(std::mt19937& random);
    // Samples over the whole range, of which many are its ends; of one bit, stretches.
    void fill(std::mt19937& random);

    [[nodiscard]] bool is_raw() const { return encode_type == NUV_EncodeType::raw; }
    [[nodiscard]] std::int64_t minimum() const
    {
        return is_signed ? -(std::int64_t{1} << (bits - 1)) : 0;
    }
    [[nodiscard]] std::int64_t maximum() const
    {
        return (std::int64_t{1} << (is_signed ? bits - 1 : bits)) - 1;
    }
    // The sample at that place; outside the image, that of the nearest pixel.
    [[nodiscard]] std::int64_t at(std::int64_t x, std::int64_t y, std::uint32_t c) const
    {
        const auto column = std::clamp<std::int64_t>(x, 0, std::int64_t{width} - 1);
        const auto row = std::clamp<std::int64_t>(y, 0, std::int64_t{height} - 1);
        return samples[static_cast<std::size_t>((row * width + column) * channels + c)];
    }
    // The image of another size whose samples are pick(x, y, c).
    template <class Pick>
    [[nodiscard]] NUV_ModelImage with(std::uint32_t new_width, std::uint32_t new_height,
                                      std::uint32_t new_channels, Pick pick) const
    {
        NUV_ModelImage out = without_samples();
        out.width = new_width;
        out.height = new_height;
        out.channels = static_cast<std::uint16_t>(new_channels);
        out.samples.reserve(std::size_t{new_width} * new_height * new_channels);
        for (std::uint32_t y = 0; y < new_height; ++y) {
            for (std::uint32_t x = 0; x < new_width; ++x) {
                for (std::uint32_t c = 0; c < new_channels; ++c)
                    out.samples.push_back(pick(x, y, c));
            }
        }
        return out;
    }
    [[nodiscard]] NUV_ModelImage without_samples() const;

    // As the library has it: lines of packed samples, 16-bit ones in host order, or runs.
    [[nodiscard]] Bytes bytes() const;
    // Sets or clears the bits behind the last sample of each line of such bytes, where there are
    // any.
    void pad(Bytes& bytes, bool is_set) const;
    [[nodiscard]] bool has_padding() const
    {
        return is_raw() && std::uint64_t{width} * channels * bits % 8 != 0;
    }
    // The samples of such bytes, which are of raw lines.
    void samples_of(const Bytes& bytes);
    [[nodiscard]] std::size_t line_bytes() const
    {
        return (std::size_t{width} * channels * bits + 7) / 8;
    }
    [[nodiscard]] NUV_TestImage description() const;
    [[nodiscard]] std::string text() const;
};

// One run of a line, or its end, as stored.
void append_record(Bytes& bytes, std::uint32_t start, std::uint32_t end);
using NUV_ModelRuns = std::vector<std::pair<std::uint32_t, std::uint32_t>>;
[[nodiscard]] Bytes records_of(const NUV_ModelRuns& runs);

[[nodiscard]] inline NUV_TestImage run_description(std::uint32_t width, std::uint32_t height)
{
    return {.width = width, .height = height, .bits = 1, .encode_type = NUV_EncodeType::qd_rle};
}

} // namespace nuv
