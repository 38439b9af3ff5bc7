#pragma once

#include "framework/utility/nuv_endian.h"
#include "tests/support/nuv_teststored.h"

#include <zlib.h>

#include <cstdint>
#include <string_view>
#include <vector>

namespace nuv {

// PNG files put together by hand: chunks (PNG second edition, 5.3) in any order, with lengths and
// checksums that are right.
struct PNGCraft {
    using Bytes = std::vector<std::uint8_t>;

    Bytes bytes = {137, 'P', 'N', 'G', 13, 10, 26, 10};

    PNGCraft& chunk(std::string_view name, const Bytes& data)
    {
        Bytes body = bytes_of(name);
        body.insert(body.end(), data.begin(), data.end());
        return add(number(data.size())).add(body).add(checksum(body.data(), body.size()));
    }
    // `rest`: depth, colour type, compression, filter and interlace method.
    PNGCraft& header(std::uint32_t width, std::uint32_t height, const Bytes& rest)
    {
        PNGCraft data{number(width)};
        return chunk("IHDR", data.add(number(height)).add(rest).bytes);
    }
    [[nodiscard]] Bytes end() { return chunk("IEND", {}).bytes; }
    PNGCraft& add(const Bytes& more)
    {
        bytes.insert(bytes.end(), more.begin(), more.end());
        return *this;
    }

    [[nodiscard]] static Bytes number(std::size_t value)
    {
        const auto low = static_cast<std::uint32_t>(value);
        Bytes stored(4);
        store_be16(&stored[0], low >> 16);
        store_be16(&stored[2], low);
        return stored;
    }
    [[nodiscard]] static Bytes checksum(const std::uint8_t* data, std::size_t size)
    {
        return number(crc32(0, data, static_cast<uInt>(size)));
    }
    [[nodiscard]] static Bytes deflated(const Bytes& data)
    {
        uLongf size = compressBound(static_cast<uLong>(data.size()));
        Bytes out(size);
        compress(out.data(), &size, data.data(), static_cast<uLong>(data.size()));
        out.resize(size);
        return out;
    }
};

} // namespace nuv
