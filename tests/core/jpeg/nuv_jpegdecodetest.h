#pragma once

// Runs the decoder over bytes, and shortens or changes streams.

#include "core/jpeg/decode/nuv_jpegdecoder.h"
#include "tests/core/jpeg/nuv_jpegteststream.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <ostream>
#include <vector>

namespace nuv {

// A storage over bytes that gives no more than `chunk` of them in one read.
struct JPEGTestSource {
    const std::vector<std::uint8_t>& bytes;
    std::int32_t chunk = std::numeric_limits<std::int32_t>::max();
    std::int32_t at = 0;

    [[nodiscard]] NUV_JPEGSource source()
    {
        return {
            .storage = this,
            .read =
                [](void* self, std::uint8_t* into, std::int32_t count) {
                    auto& from = *static_cast<JPEGTestSource*>(self);
                    const std::int32_t size = static_cast<std::int32_t>(from.bytes.size());
                    count = std::min({count, from.chunk, size - from.at});
                    std::copy_n(from.bytes.begin() + from.at, count, into);
                    from.at += count;
                    return count;
                },
            .to =
                [](void* self, std::int32_t position) {
                    auto& from = *static_cast<JPEGTestSource*>(self);
                    from.at = std::min(position, static_cast<std::int32_t>(from.bytes.size()));
                    return true;
                },
            .position = [](void* self) { return static_cast<JPEGTestSource*>(self)->at; },
            .size =
                [](void* self) {
                    return static_cast<std::int32_t>(
                        static_cast<JPEGTestSource*>(self)->bytes.size());
                },
        };
    }
};

inline std::uint8_t sample_at(const JPEGTestPicture& picture, std::size_t x, std::size_t y,
                              std::size_t channel)
{
    return picture.samples[(y * picture.width + x) * picture.channels + channel];
}

struct JPEGDecoded {
    NUV_JPEGCode header = NUV_JPEGCode::good;
    NUV_JPEGCode start = NUV_JPEGCode::good;
    NUV_JPEGCode lines = NUV_JPEGCode::good; // the worst of all: a failure, or a warning
    std::vector<NUV_JPEGCode> codes;         // of each line
    JPEGTestPicture picture;                 // 16-bit samples take two of its samples each

    [[nodiscard]] bool is_clean() const
    {
        return is_good(header) && is_good(start) && is_good(lines);
    }
};

inline std::ostream& operator<<(std::ostream& out, NUV_JPEGCode code)
{
    return out << static_cast<int>(code);
}

inline void as_it_is(NUV_JPEGDecoder&) {}

inline JPEGDecoded decode_stream(const std::vector<std::uint8_t>& stream,
                                 std::int32_t chunk = std::numeric_limits<std::int32_t>::max(),
                                 const std::function<void(NUV_JPEGDecoder&)>& prepare = as_it_is,
                                 const NUV_Cpu& cpu = NUV_Cpu::current())
{
    JPEGTestMemory memory;
    JPEGDecoded decoded;
    JPEGTestSource source{stream, chunk};
    {
        NUV_JPEGDecoder decoder;
        EXPECT_EQ(decoder.open(memory.allocator(), source.source(), cpu), NUV_JPEGCode::good);
        decoded.header = decoder.read_header(nullptr);
        prepare(decoder);
        if (is_good(decoded.header))
            decoded.start = decoder.start_decode();
        if (is_good(decoded.header) && is_good(decoded.start)) {
            decoded.picture.width = decoder.width();
            decoded.picture.height = decoder.height();
            decoded.picture.channels =
                static_cast<std::uint32_t>(decoder.components() * decoder.sample_bytes());
            std::vector<std::uint8_t> line(decoded.picture.line_bytes());
            for (std::uint32_t y = 0; y < decoder.height() && !is_failure(decoded.lines); ++y) {
                const NUV_JPEGCode code = decoder.read_line(line.data());
                decoded.codes.push_back(code);
                if (!is_good(code))
                    decoded.lines = code;
                if (!is_failure(code))
                    decoded.picture.samples.insert(decoded.picture.samples.end(), line.begin(),
                                                   line.end());
            }
        }
    }
    EXPECT_EQ(memory.live, 0U);
    return decoded;
}

} // namespace nuv
