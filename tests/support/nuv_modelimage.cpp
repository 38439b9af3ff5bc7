#include "tests/support/nuv_modelimage.h"

namespace nuv {
namespace {

// Enough for every vector and band, little enough for thousands of images.
void draw_size(NUV_ModelImage& image, std::mt19937& random)
{
    constexpr std::uint32_t most[][2] = {{300, 6}, {12, 420}, {40, 20}};
    const auto& [width, height] = most[std::min<std::size_t>(random() % 8, 2)];
    image.width = static_cast<std::uint32_t>(1 + random() % width);
    image.height = static_cast<std::uint32_t>(1 + random() % height);
}

const NUV_ColorType* draw_color(std::uint16_t channels, std::mt19937& random)
{
    using Color = NUV_ColorType;
    const std::vector<const Color*> colors[] = {{Color::none, Color::gray, Color::gray_reverse},
                                                {Color::none},
                                                {Color::none, Color::s_rgb, Color::ycbcr},
                                                {Color::none, Color::cmyk},
                                                {Color::none}};
    const auto& fitting = colors[channels - 1];
    return fitting[random() % fitting.size()];
}

} // namespace

NUV_ModelImage NUV_ModelImage::draw(std::mt19937& random)
{
    constexpr std::uint16_t kinds[] = {1, 8, 8, 16, 16};
    NUV_ModelImage image;
    image.bits = kinds[random() % std::size(kinds)];
    const bool is_mask = image.bits == 1 && random() % 4 > 0;
    image.channels = static_cast<std::uint16_t>(is_mask ? 1 : 1 + random() % 5);
    draw_size(image, random);
    if (is_mask && random() % 2 == 0)
        image.encode_type = NUV_EncodeType::qd_rle;
    if (image.bits > 1 && random() % 4 == 0)
        image.is_signed = true;
    else
        image.color_type = draw_color(image.channels, random);
    return image;
}

void NUV_ModelImage::fill(std::mt19937& random)
{
    samples.resize(std::size_t{width} * height * channels);
    const auto change = static_cast<unsigned>(2 + random() % 12); // one of so many pixels, of bits
    std::int64_t last = 0;
    for (std::int64_t& sample : samples) {
        const auto drawn = static_cast<std::uint32_t>(random());
        if (bits == 1)
            last = drawn % change == 0 ? 1 - last : last;
        else if (drawn >> 30 == 0)
            last = (drawn & 1) != 0 ? minimum() : maximum();
        else
            last = minimum() + drawn % (std::int64_t{1} << std::min<int>(bits, 30));
        sample = last;
    }
}

NUV_ModelImage NUV_ModelImage::without_samples() const
{
    return {width, height, channels, bits, is_signed, color_type, encode_type, {}};
}

void append_record(Bytes& bytes, std::uint32_t start, std::uint32_t end)
{
    for (const std::uint32_t word : {start, end}) {
        for (int shift = 0; shift < 32; shift += 8)
            bytes.push_back(static_cast<std::uint8_t>(word >> shift));
    }
}

Bytes records_of(const NUV_ModelRuns& runs)
{
    Bytes bytes;
    for (const auto& [start, end] : runs)
        append_record(bytes, start, end);
    return bytes;
}

Bytes NUV_ModelImage::bytes() const
{
    const std::size_t line_samples = std::size_t{width} * channels;
    if (!is_raw()) {
        Bytes records;
        for (std::uint32_t y = 0; y < height; ++y) {
            for (std::uint32_t x = 0; x < width; ++x) {
                const std::uint32_t start = x;
                while (x < width && at(x, y, 0) != 0)
                    ++x;
                if (x > start)
                    append_record(records, start, x - 1);
            }
            append_record(records, 0xFFFFFFFF, 0xFFFFFFFF);
        }
        return records;
    }
    Bytes out(line_bytes() * height);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        std::uint8_t* line = out.data() + i / line_samples * line_bytes();
        const std::size_t index = i % line_samples;
        const auto sample = static_cast<std::uint64_t>(samples[i]);
        if (bits < 8) {
            const std::size_t bit = index * bits;
            line[bit / 8] |= static_cast<std::uint8_t>(sample << (8 - bits - bit % 8));
        } else {
            std::memcpy(line + index * bits / 8, &sample, bits / 8);
        }
    }
    return out;
}

void NUV_ModelImage::pad(Bytes& bytes, bool is_set) const
{
    if (!has_padding())
        return;
    const unsigned padding = 0xFFU >> std::uint64_t{width} * channels * bits % 8;
    for (std::size_t last = line_bytes() - 1; last < bytes.size(); last += line_bytes()) {
        bytes[last] =
            static_cast<std::uint8_t>(is_set ? bytes[last] | padding : bytes[last] & ~padding);
    }
}

void NUV_ModelImage::samples_of(const Bytes& bytes)
{
    const std::size_t line_samples = std::size_t{width} * channels;
    samples.resize(line_samples * height);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const std::uint8_t* line = bytes.data() + i / line_samples * line_bytes();
        const std::size_t index = i % line_samples;
        std::uint64_t sample = 0;
        if (bits < 8)
            sample = static_cast<std::uint64_t>(line[index * bits / 8] >>
                                                (8 - bits - index * bits % 8)) &
                     ((1U << bits) - 1);
        else
            std::memcpy(&sample, line + index * bits / 8, bits / 8);
        samples[i] = static_cast<std::int64_t>(sample);
        if (samples[i] > maximum())
            samples[i] -= std::int64_t{1} << bits;
    }
}

NUV_TestImage NUV_ModelImage::description() const
{
    return {.width = width,
            .height = height,
            .channels = channels,
            .bits = bits,
            .data_type = is_signed ? NUV_DataType::s_integer : NUV_DataType::u_integer,
            .encode_type = encode_type,
            .color_type = color_type};
}

std::string NUV_ModelImage::text() const
{
    std::ostringstream out;
    out << width << " x " << height << ", " << channels << " of " << bits
        << (is_signed ? " bits, signed, " : " bits, ") << color_type->key() << ", "
        << encode_type->key();
    return out.str();
}

} // namespace nuv
