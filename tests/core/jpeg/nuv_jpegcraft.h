#pragma once

// Streams made by hand, for what no coder here writes.

#include "tests/support/nuv_test.h"

#include <bit>

namespace nuv {

// Puts a stream together byte by byte and bit by bit.
class JPEGCraft {
public:
    JPEGCraft() { marker(0xD8); }

    JPEGCraft& byte(std::size_t value)
    {
        stream_.push_back(static_cast<std::uint8_t>(value));
        return *this;
    }
    JPEGCraft& marker(std::size_t id) { return byte(0xFF).byte(id); }
    // `length` replaces that of the payload when it is not 0.
    JPEGCraft& segment(std::size_t id, const std::vector<int>& payload, std::size_t length = 0)
    {
        marker(id);
        const std::size_t stated = length != 0 ? length : payload.size() + 2;
        byte(stated >> 8).byte(stated);
        stream_.insert(stream_.end(), payload.begin(), payload.end());
        return *this;
    }

    // A frame whose component i has the identifier i + 1, the factors given and quantisers 0.
    JPEGCraft& frame(std::size_t id, int precision, int width, int height,
                     const std::vector<int>& factors)
    {
        std::vector<int> payload = {precision,  height >> 8, height & 255,
                                    width >> 8, width & 255, static_cast<int>(factors.size())};
        for (std::size_t i = 0; i < factors.size(); ++i)
            payload.insert(payload.end(), {static_cast<int>(i) + 1, factors[i], 0});
        return segment(id, payload);
    }
    // The components have the DC table of their place and AC table 0.
    JPEGCraft& scan(const std::vector<int>& ids, int first = 0, int last = 63, int high_low = 0,
                    int tables = 0)
    {
        std::vector<int> payload = {static_cast<int>(ids.size())};
        for (const int id : ids) {
            payload.push_back(id);
            payload.push_back(tables);
        }
        payload.insert(payload.end(), {first, last, high_low});
        return segment(0xDA, payload);
    }
    // Quantisers of 1.
    JPEGCraft& quantisers(int selector = 0)
    {
        std::vector<int> payload(65, 1);
        payload[0] = selector;
        return segment(0xDB, payload);
    }
    // These symbols have codes of 3 bits, or of 5: 0, 1 and so on.
    JPEGCraft& symbols(int selector, const std::vector<int>& symbols, std::size_t code_bits = 3)
    {
        std::vector<int> payload(17, 0);
        payload[0] = selector;
        payload[code_bits] = static_cast<int>(symbols.size());
        payload.insert(payload.end(), symbols.begin(), symbols.end());
        return segment(0xC4, payload);
    }
    // All categories up to 16: their own value.
    JPEGCraft& categories(int selector = 0)
    {
        return symbols(selector, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}, 5);
    }

    // Of any count, with zeros in front of the value.
    JPEGCraft& bits(std::uint32_t value, std::uint32_t count)
    {
        for (std::uint32_t i = count; i-- > 0;) {
            held_ = held_ << 1 | (i < 32 ? value >> i & 1U : 0U);
            if (++held_bits_ % 8 == 0)
                byte(held_);
            if (held_bits_ % 8 == 0 && (held_ & 0xFFU) == 0xFF)
                byte(0);
        }
        return *this;
    }
    // A difference under the table of categories(), or with 3 code bits under symbols().
    JPEGCraft& difference(std::int32_t value, std::uint32_t code_bits = 5)
    {
        const auto category =
            static_cast<std::uint32_t>(std::bit_width(static_cast<std::uint32_t>(std::abs(value))));
        bits(category, code_bits);
        if (category == 16)
            return *this;
        return bits(static_cast<std::uint32_t>(value < 0 ? value - 1 : value) &
                        ((1U << category) - 1U),
                    category);
    }
    JPEGCraft& flush()
    {
        const std::uint32_t count = (8 - held_bits_ % 8) % 8;
        return bits((1U << count) - 1, count);
    }
    [[nodiscard]] Bytes end() { return flush().marker(0xD9).stream_; }
    [[nodiscard]] const Bytes& stream() const { return stream_; }

private:
    Bytes stream_;
    std::uint32_t held_ = 0;
    std::uint32_t held_bits_ = 0;
};

// 8 x 8 pixels of 3 channels that are all 128.
inline Bytes flat_stream()
{
    JPEGCraft craft;
    craft.frame(0xC0, 8, 8, 8, {0x11, 0x11, 0x11}).quantisers().categories().symbols(0x10, {0});
    craft.scan({1, 2, 3}).bits(0, 24); // of each block the difference 0, and its end
    return craft.end();
}

// A stream with a segment behind SOI.
inline Bytes with_segment(Bytes stream, std::uint8_t id, std::string_view payload)
{
    const std::size_t length = payload.size() + 2;
    const auto high = static_cast<std::uint8_t>(length >> 8);
    stream.insert(stream.begin() + 2, payload.begin(), payload.end());
    stream.insert(stream.begin() + 2, {0xFF, id, high, static_cast<std::uint8_t>(length)});
    return stream;
}

// A lossless picture: 16-bit words, those of a pixel together.
struct JPEGLosslessPicture {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t channels = 0;
    std::uint32_t precision = 0;
    std::vector<std::uint16_t> samples;

    // As the lines of an image, less the bits below the point transform.
    [[nodiscard]] Bytes lines(std::uint32_t point_transform = 0) const
    {
        Bytes bytes;
        for (const std::uint32_t sample : samples) {
            const std::uint32_t kept = sample >> point_transform << point_transform;
            const std::uint8_t halves[] = {static_cast<std::uint8_t>(kept),
                                           static_cast<std::uint8_t>(kept >> 8)};
            bytes.insert(bytes.end(), halves, halves + (precision > 8 ? 2 : 1));
        }
        return bytes;
    }
};

// Noise, flat, smooth, or extremes: differences of 32767 and 32768, whose coded bits are nearly all
// ones.
inline JPEGLosslessPicture make_lossless_picture(std::uint32_t width, std::uint32_t height,
                                                 std::uint32_t channels, std::uint32_t precision,
                                                 std::uint32_t content)
{
    JPEGLosslessPicture picture{width, height, channels, precision, {}};
    const std::uint32_t largest = (1U << precision) - 1U;
    std::mt19937 random(width * 31 + height);
    for (std::uint32_t i = 0; i < width * height * channels; ++i) {
        const std::uint32_t x = i / channels % width;
        const std::uint32_t y = i / channels / width;
        const auto noise = static_cast<std::uint32_t>(random());
        const std::uint32_t contents[] = {noise, (largest + 1) / 2,
                                          largest / 3 + x + y + (noise & 3U),
                                          (largest / 2 + 1) + (x + 1) * (largest / 2) + y % 2};
        picture.samples.push_back(static_cast<std::uint16_t>(contents[content] & largest));
    }
    return picture;
}

struct JPEGLosslessSettings {
    int predictor = 1;
    std::uint32_t point_transform = 0;
    std::uint32_t restart_rows = 0;
    bool has_scan_each = false; // one scan for each component
    bool has_table_each = false;
};

// T.81, H.1: the scan of the components from `first` up to `end`.
inline void craft_lossless_scan(JPEGCraft& craft, const JPEGLosslessPicture& picture,
                                const JPEGLosslessSettings& settings, std::uint32_t first,
                                std::uint32_t end)
{
    const std::uint32_t shift = settings.point_transform;
    const auto sample = [&](std::uint32_t x, std::uint32_t y, std::uint32_t c) -> std::int32_t {
        return picture.samples[(y * picture.width + x) * picture.channels + c] >> shift;
    };
    // Table H.1, straight from its text.
    const auto predict = [&](std::int32_t a, std::int32_t b, std::int32_t c) {
        const std::int32_t predictions[] = {
            a, b, c, a + b - c, a + ((b - c) >> 1), b + ((a - c) >> 1), (a + b) >> 1};
        return predictions[settings.predictor - 1];
    };
    std::uint32_t restarts = 0;
    for (std::uint32_t y = 0; y < picture.height; ++y) {
        const bool restarts_here =
            settings.restart_rows != 0 && y % settings.restart_rows == 0 && y > 0;
        if (restarts_here)
            craft.flush().marker(0xD0 + restarts++ % 8);
        const bool is_first = y == 0 || restarts_here;
        for (std::uint32_t x = 0; x < picture.width; ++x) {
            for (std::uint32_t c = first; c < end; ++c) {
                std::int32_t prediction = 1 << (picture.precision - shift - 1);
                if (is_first && x > 0)
                    prediction = sample(x - 1, y, c);
                else if (!is_first && x == 0)
                    prediction = sample(x, y - 1, c);
                else if (!is_first)
                    prediction =
                        predict(sample(x - 1, y, c), sample(x, y - 1, c), sample(x - 1, y - 1, c));
                const auto difference = static_cast<std::int32_t>(
                    static_cast<std::uint32_t>(sample(x, y, c) - prediction) & 0xFFFFU);
                craft.difference(difference > 32768 ? difference - 65536 : difference);
            }
        }
    }
    craft.flush();
}

inline Bytes craft_lossless(const JPEGLosslessPicture& picture,
                            const JPEGLosslessSettings& settings)
{
    JPEGCraft craft;
    craft.frame(0xC3, static_cast<int>(picture.precision), static_cast<int>(picture.width),
                static_cast<int>(picture.height), std::vector<int>(picture.channels, 0x11));
    if (settings.restart_rows != 0) {
        const int interval = static_cast<int>(settings.restart_rows * picture.width);
        craft.segment(0xDD, {interval >> 8, interval & 255});
    }
    for (std::uint32_t i = 0; i < (settings.has_table_each ? picture.channels : 1); ++i)
        craft.categories(static_cast<int>(i));
    for (std::uint32_t first = 0; first < picture.channels;) {
        const std::uint32_t end = settings.has_scan_each ? first + 1 : picture.channels;
        std::vector<int> payload = {static_cast<int>(end - first)};
        for (std::uint32_t c = first; c < end; ++c)
            payload.insert(payload.end(), {static_cast<int>(c) + 1,
                                           settings.has_table_each ? static_cast<int>(c) << 4 : 0});
        payload.insert(payload.end(),
                       {settings.predictor, 0, static_cast<int>(settings.point_transform)});
        craft.segment(0xDA, payload);
        craft_lossless_scan(craft, picture, settings, first, end);
        first = end;
    }
    return craft.end();
}

} // namespace nuv
