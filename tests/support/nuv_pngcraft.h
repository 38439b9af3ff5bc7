#pragma once

#include "tests/support/nuv_teststored.h"

#include <zlib.h>

namespace nuv {

// PNG files put together by hand: chunks (PNG second edition, 5.3) in any order, with lengths and
// checksums that are right.
struct PNGCraft {

    Bytes bytes = {137, 'P', 'N', 'G', 13, 10, 26, 10};

    PNGCraft& chunk(std::string_view name, const Bytes& data)
    {
        Bytes body = bytes_of(name);
        body.insert(body.end(), data.begin(), data.end());
        append_be(bytes, data.size(), 4);
        bytes.insert(bytes.end(), body.begin(), body.end());
        append_be(bytes, crc32(0, body.data(), static_cast<uInt>(body.size())), 4);
        return *this;
    }
    // `rest`: depth, colour type, compression, filter and interlace method.
    PNGCraft& header(std::uint32_t width, std::uint32_t height, const Bytes& rest)
    {
        Bytes data;
        append_be(data, std::uint64_t{width} << 32 | height, 8);
        data.insert(data.end(), rest.begin(), rest.end());
        return chunk("IHDR", data);
    }
    [[nodiscard]] Bytes end() { return chunk("IEND", {}).bytes; }

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
