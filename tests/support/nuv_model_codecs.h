#pragma once

#include "framework/base/nuv_status.h"
#include "tests/support/nuv_test.h"

#include <zlib.h>

namespace nuv::model {

template <class... T>
bool any_of(std::uint64_t value, T... values)
{
    return ((value == static_cast<std::uint64_t>(values)) || ...);
}

// The first error stands, and until there is one, the first warning.
struct Status {
    NUV_StatusCode code = NUV_STATUS_OK;
    std::string text;

    void raise(NUV_StatusCode new_code, const std::string& new_text)
    {
        if (code == NUV_STATUS_OK || (!is_error(code) && is_error(new_code)))
            *this = {new_code, new_text};
    }
};

// What a decoder is to deliver: whole lines, and whether it complained.
struct Decoded {
    Bytes bytes;
    bool broken = false; // ended by an error
    bool warned = false; // an error hides it
    bool operator==(const Decoded& other) const
    {
        return bytes == other.bytes && broken == other.broken && (broken || warned == other.warned);
    }
};

// All runs are written out one behind the other; a run that the data does not hold whole ends it.
inline Decoded pack_bits(std::span<const std::uint8_t> in, std::uint32_t line, std::uint32_t lines)
{
    Decoded out;
    std::size_t at = 0;
    while (out.bytes.size() < std::size_t{line} * lines && at < in.size()) {
        const int byte = in[at++];
        const int control = byte < 128 ? byte : byte - 256;
        const auto count = static_cast<std::size_t>(control < 0 ? 1 - control : control + 1);
        const std::size_t taken = control < 0 ? 1 : count;
        if (control == -128)
            continue;
        if (in.size() - at < taken)
            break;
        for (std::size_t i = 0; i < count; ++i)
            out.bytes.push_back(in[at + (control < 0 ? 0 : i)]);
        at += taken;
    }
    out.broken = out.bytes.size() < std::size_t{line} * lines;
    out.bytes.resize(std::min<std::size_t>(out.bytes.size() / line, lines) * line);
    return out;
}

// The run-length coding of Windows bitmaps, with pixels of 4 or 8 bits.
template <int bits>
Decoded win_rle(std::span<const std::uint8_t> in, std::uint32_t width, std::uint32_t lines)
{
    Decoded out;
    std::size_t at = 0;
    unsigned dx = 0;
    unsigned dy = 0;
    const auto has = [&](std::size_t count) { return in.size() - at >= count; };
    for (unsigned line = 0; line < lines; ++line) {
        Bytes pixels(width);
        const auto put = [&](unsigned x, std::uint8_t byte, unsigned i) {
            pixels[x + i] = bits == 8    ? byte
                            : i % 2 == 0 ? std::uint8_t(byte >> 4)
                                         : std::uint8_t(byte & 15);
        };
        bool ended = dy > 0;
        dy -= ended ? 1 : 0;
        unsigned x = dx;
        bool closed = true; // by nothing that was read
        while (!ended && x < width) {
            if (out.broken = !has(2); out.broken)
                return out;
            const unsigned first = in[at];
            const std::uint8_t second = in[at + 1];
            at += 2;
            closed = false;
            if (first > 0) {
                const unsigned count = std::min(first, width - x);
                for (unsigned i = 0; i < count; ++i)
                    put(x, second, i);
                x += count;
            } else if (second < 2) {
                ended = true;
            } else if (second == 2) {
                if (out.broken = !has(2); out.broken)
                    return out;
                dx = in[at++];
                dy = in[at++];
                ended = dy > 0;
                if (ended) {
                    --dy;
                    dx = (dx + x) & 255;
                } else {
                    x += dx;
                    dx = 0;
                }
            } else {
                const unsigned count = std::min<unsigned>(second, width - x);
                const std::size_t bytes = bits == 8 ? count : (count + 1) / 2;
                if (out.broken = !has(bytes + bytes % 2); out.broken)
                    return out;
                for (unsigned i = 0; i < count; ++i)
                    put(x, in[at + (bits == 8 ? i : i / 2)], i);
                at += bytes + bytes % 2;
                x += count;
            }
        }
        if (!ended) {
            for (unsigned pairs = 0; !closed; out.warned = out.warned || pairs > 1) {
                if (out.broken = !has(2); out.broken)
                    return out;
                closed = in[at] == 0 && in[at + 1] < 2;
                at += 2;
                ++pairs;
            }
            dx = 0;
        }
        out.bytes.insert(out.bytes.end(), pixels.begin(), pixels.end());
    }
    return out;
}

// Line by line, and with as many coded bytes at a time: output that is still to come when the data
// has ended does not count, and what is wrong behind the last line does where zlib has seen it.
inline Decoded flate(std::span<const std::uint8_t> in, std::uint32_t line, std::uint32_t lines)
{
    Decoded out;
    out.bytes.resize(std::size_t{line} * lines);
    z_stream stream{};
    static_cast<void>(inflateInit(&stream));
    stream.next_in = const_cast<Bytef*>(in.data());
    stream.next_out = out.bytes.data();
    const Bytef* end = in.data() + in.size();
    int result = Z_OK;
    std::size_t good = 0; // lines
    for (; good < lines && result == Z_OK; good += result == Z_OK ? 1 : 0) {
        stream.avail_out = line;
        while (stream.avail_out > 0 && result == Z_OK) {
            if (stream.avail_in == 0)
                stream.avail_in = static_cast<uInt>(
                    std::min<std::size_t>(line, static_cast<std::size_t>(end - stream.next_in)));
            result = stream.avail_in > 0 ? inflate(&stream, Z_SYNC_FLUSH) : Z_BUF_ERROR;
        }
    }
    out.broken = result != Z_OK && result != Z_STREAM_END;
    out.bytes.resize(out.broken ? good * line : stream.total_out);
    inflateEnd(&stream);
    return out;
}

} // namespace nuv::model
