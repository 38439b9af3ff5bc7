#include "core/winrle/nuv_winrledecoder.h"

#include "framework/base/nuv_status.h"

#include <algorithm>
#include <cstring>
#include <span>

namespace nuv {
namespace {

// What a 0 in place of a run's length introduces; above them, the number of single pixels.
constexpr std::uint8_t end_of_line = 0;
constexpr std::uint8_t end_of_bitmap = 1;
constexpr std::uint8_t delta = 2;

constexpr std::uint32_t longest_short_run = 16; // pixels

} // namespace

// Short runs, while a longest one is left behind each: each is written as long as that, of
// which the next one, or zeros behind the last, take back what is too much. Where they have come
// to.
template <class Fill>
std::uint32_t WinRLEDecoder::fill_short_runs(std::uint8_t* line, std::uint32_t x, Fill fill)
{
    const std::uint32_t last_begin = width_ - 2 * longest_short_run;
    const std::span<const std::uint8_t> codes = input_.left();
    std::size_t used = 0;
    while (codes.size() - used >= 2 && codes[used] - 1U < longest_short_run && x <= last_begin) {
        fill(line + x, longest_short_run, codes[used + 1]);
        x += codes[used];
        used += 2;
    }
    if (used > 0)
        std::memset(line + x, 0, longest_short_run);
    input_.skip(used);
    return x;
}

template <class Fill, class Copy>
std::uint32_t WinRLEDecoder::decode(std::uint8_t* line, Fill fill, Copy copy)
{
    if (line == nullptr || width_ == 0)
        return NUV_ERR_ARGUMENT;
    std::memset(line, 0, width_);
    dropped_pixels_ = 0;
    if (dy_ > 0) {
        --dy_;
        return line_done;
    }

    std::uint32_t x = dx_;
    std::uint8_t first = 0;  // length of a run, or 0 and then the code
    std::uint8_t second = 0; // value of a run
    while (x < width_) {
        if (width_ >= 2 * longest_short_run)
            x = fill_short_runs(line, x, fill);
        if (!input_.read_byte(first))
            return data_ended;
        if (first != 0) {
            if (!input_.read_byte(second))
                return data_ended;
            const std::uint32_t count = std::min<std::uint32_t>(first, width_ - x);
            fill(line + x, count, second);
            x += count;
            continue;
        }
        if (!input_.read_byte(first))
            return data_ended;
        if (first == end_of_line || first == end_of_bitmap)
            return line_done;
        if (first == delta) {
            if (!input_.read_byte(dx_) || !input_.read_byte(dy_))
                return data_ended;
            if (dy_ > 0) {
                --dy_;
                dx_ = static_cast<std::uint8_t>(dx_ + x);
                return line_done;
            }
            x += dx_;
            dx_ = 0;
            continue;
        }
        // The bytes that fill up to words follow what is taken: a count beyond the line is out of
        // step with its data from there on, but never writes behind the line.
        const std::uint32_t count = std::min<std::uint32_t>(first, width_ - x);
        if (!copy(line + x, count, second))
            return data_ended;
        x += count;
    }
    return drop_rest(first, second);
}

// To the next end of a line or of the bitmap. One pair of bytes is that end itself.
std::uint32_t WinRLEDecoder::drop_rest(std::uint8_t first, std::uint8_t second)
{
    std::uint64_t dropped = 0;
    while (first != 0 || second > end_of_bitmap) {
        if (!input_.read_byte(first) || !input_.read_byte(second))
            return data_ended;
        dropped_pixels_ += first;
        ++dropped;
    }
    dx_ = 0;
    return dropped > 1 ? NUV_WARN_BROKEN_DATA : line_done;
}

std::uint32_t WinRLE8Decoder::decode_line(std::uint8_t* line)
{
    return decode(
        line,
        [](std::uint8_t* to, std::uint32_t count, std::uint8_t value) {
            std::memset(to, value, count);
        },
        [this](std::uint8_t* to, std::uint32_t count, std::uint8_t& pad) {
            return input_.read(to, count) && (count % 2 == 0 || input_.read_byte(pad));
        });
}

std::uint32_t WinRLE4Decoder::decode_line(std::uint8_t* line)
{
    return decode(
        line,
        [](std::uint8_t* to, std::uint32_t count, std::uint8_t value) {
            const std::uint8_t pixels[] = {static_cast<std::uint8_t>(value >> 4),
                                           static_cast<std::uint8_t>(value & 15)};
            for (std::uint32_t i = 0; i < count; ++i)
                to[i] = pixels[i & 1];
        },
        [this](std::uint8_t* to, std::uint32_t count, std::uint8_t& pad) {
            std::uint8_t pair = 0;
            for (std::uint32_t i = 0; i < count; i += 2) {
                if (!input_.read_byte(pair))
                    return false;
                to[i] = static_cast<std::uint8_t>(pair >> 4);
                if (i + 1 < count)
                    to[i + 1] = static_cast<std::uint8_t>(pair & 15);
            }
            const bool odd_bytes = (count + 1) / 2 % 2 == 1;
            return !odd_bytes || input_.read_byte(pad);
        });
}

} // namespace nuv
