#pragma once

// Streams made by hand, for what no coder here writes.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <vector>

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
    JPEGCraft& bytes(const std::vector<int>& values)
    {
        for (const int value : values)
            byte(static_cast<std::size_t>(value));
        return *this;
    }
    // `length` replaces that of the payload when it is not 0.
    JPEGCraft& segment(std::size_t id, const std::vector<int>& payload, std::size_t length = 0)
    {
        marker(id);
        const std::size_t stated = length != 0 ? length : payload.size() + 2;
        return byte(stated >> 8).byte(stated).bytes(payload);
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
        for (const int id : ids)
            payload.insert(payload.end(), {id, tables});
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
    // All categories up to 16 have codes of 5 bits: their own value.
    JPEGCraft& categories(int selector = 0)
    {
        std::vector<int> payload(17, 0);
        payload[0] = selector;
        payload[5] = 17;
        for (int symbol = 0; symbol <= 16; ++symbol)
            payload.push_back(symbol);
        return segment(0xC4, payload);
    }
    // These symbols have codes of 3 bits: 0, 1 and so on.
    JPEGCraft& symbols(int selector, const std::vector<int>& symbols)
    {
        std::vector<int> payload(17, 0);
        payload[0] = selector;
        payload[3] = static_cast<int>(symbols.size());
        payload.insert(payload.end(), symbols.begin(), symbols.end());
        return segment(0xC4, payload);
    }

    JPEGCraft& bits(std::uint32_t value, std::uint32_t count)
    {
        for (std::uint32_t i = count; i-- > 0;) {
            held_ = held_ << 1 | (value >> i & 1U);
            if (++held_bits_ == 8)
                put_held();
        }
        return *this;
    }
    // A difference under the table of categories(), or with 3 code bits under symbols().
    JPEGCraft& difference(std::int32_t value, std::uint32_t code_bits = 5)
    {
        std::uint32_t category = 0;
        for (std::uint32_t rest = static_cast<std::uint32_t>(std::abs(value)); rest != 0;
             rest >>= 1)
            ++category;
        bits(category, code_bits);
        if (category == 16)
            return *this;
        return bits(static_cast<std::uint32_t>(value < 0 ? value - 1 : value) &
                        ((1U << category) - 1U),
                    category);
    }
    JPEGCraft& flush()
    {
        while (held_bits_ != 0)
            bits(1, 1);
        return *this;
    }
    [[nodiscard]] std::vector<std::uint8_t> end()
    {
        flush();
        marker(0xD9);
        return stream_;
    }
    [[nodiscard]] const std::vector<std::uint8_t>& stream() const { return stream_; }

private:
    void put_held()
    {
        byte(held_);
        if (held_ == 0xFF)
            byte(0);
        held_ = 0;
        held_bits_ = 0;
    }

    std::vector<std::uint8_t> stream_;
    std::uint32_t held_ = 0;
    std::uint32_t held_bits_ = 0;
};

// A lossless picture: 16-bit words, those of a pixel together.
struct JPEGLosslessPicture {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t channels = 0;
    std::uint32_t precision = 0;
    std::vector<std::uint16_t> samples;

    [[nodiscard]] std::uint16_t at(std::size_t x, std::size_t y, std::size_t c) const
    {
        return samples[(y * width + x) * channels + c];
    }
};

struct JPEGLosslessSettings {
    int predictor = 1;
    std::uint32_t point_transform = 0;
    std::uint32_t restart_rows = 0;
    bool has_scan_each = false; // one scan for each component
    bool has_table_each = false;
};

// T.81, table H.1, straight from its text.
inline std::int32_t predict_as_written(int predictor, std::int32_t a, std::int32_t b,
                                       std::int32_t c)
{
    switch (predictor) {
    case 1:
        return a;
    case 2:
        return b;
    case 3:
        return c;
    case 4:
        return a + b - c;
    case 5:
        return a + ((b - c) >> 1);
    case 6:
        return b + ((a - c) >> 1);
    default:
        return (a + b) >> 1;
    }
}

// T.81, H.1: the scan of the components from `first` up to `end`.
inline void craft_lossless_scan(JPEGCraft& craft, const JPEGLosslessPicture& picture,
                                const JPEGLosslessSettings& settings, std::uint32_t first,
                                std::uint32_t end)
{
    const std::uint32_t shift = settings.point_transform;
    const auto sample = [&](std::uint32_t x, std::uint32_t y, std::uint32_t c) -> std::int32_t {
        return picture.at(x, y, c) >> shift;
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
                    prediction = predict_as_written(settings.predictor, sample(x - 1, y, c),
                                                    sample(x, y - 1, c), sample(x - 1, y - 1, c));
                const std::uint32_t wrapped =
                    static_cast<std::uint32_t>(sample(x, y, c) - prediction) & 0xFFFFU;
                const auto difference = static_cast<std::int32_t>(wrapped);
                craft.difference(difference > 32768 ? difference - 65536 : difference);
            }
        }
    }
    craft.flush();
}

inline std::vector<std::uint8_t> craft_lossless(const JPEGLosslessPicture& picture,
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
