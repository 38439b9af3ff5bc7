#pragma once

#include "framework/utility/nuv_endian.h"
#include "tests/support/nuv_teststored.h"

#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

namespace nuv {

// PNG files put together by hand: chunks (PNG second edition, 5.3) in any order, with lengths and
// checksums that are right.
struct PNGCraft {
    using Bytes = std::vector<std::uint8_t>;

    Bytes bytes = {137, 'P', 'N', 'G', 13, 10, 26, 10};

    PNGCraft& chunk(std::string_view name, const Bytes& data)
    {
        put(static_cast<std::uint32_t>(data.size()));
        const std::size_t begin = bytes.size();
        bytes.insert(bytes.end(), name.begin(), name.end());
        bytes.insert(bytes.end(), data.begin(), data.end());
        put(static_cast<std::uint32_t>(
            crc32(0, &bytes[begin], static_cast<uInt>(bytes.size() - begin))));
        return *this;
    }
    PNGCraft& header(std::uint32_t width, std::uint32_t height, std::uint8_t depth,
                     std::uint8_t color, std::uint8_t interlace = 0, std::uint8_t compression = 0,
                     std::uint8_t filter = 0)
    {
        PNGCraft numbers{{}};
        numbers.put(width).put(height);
        const Bytes rest = {depth, color, compression, filter, interlace};
        numbers.bytes.insert(numbers.bytes.end(), rest.begin(), rest.end());
        return chunk("IHDR", numbers.bytes);
    }
    [[nodiscard]] Bytes end() { return chunk("IEND", {}).bytes; }

    PNGCraft& put(std::uint32_t value)
    {
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<std::uint8_t>(value >> shift));
        return *this;
    }

    [[nodiscard]] static Bytes deflated(const Bytes& data)
    {
        uLongf size = compressBound(static_cast<uLong>(data.size()));
        Bytes out(size);
        compress(out.data(), &size, data.data(), static_cast<uLong>(data.size()));
        out.resize(size);
        return out;
    }

    // Rights the checksums of all chunks of what may have been a PNG file.
    static void right_checksums(Bytes& file)
    {
        constexpr std::size_t frame = 12; // length, name and checksum
        for (std::size_t at = 8; file.size() >= frame && at <= file.size() - frame;) {
            const std::size_t length = load_be32(&file[at]);
            if (length > file.size() - frame - at)
                return;
            PNGCraft sum{{}};
            sum.put(
                static_cast<std::uint32_t>(crc32(0, &file[at + 4], static_cast<uInt>(length + 4))));
            std::memcpy(&file[at + 8 + length], sum.bytes.data(), sum.bytes.size());
            at += frame + length;
        }
    }
};

} // namespace nuv
