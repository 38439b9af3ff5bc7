#pragma once

// Pictures, a storage and the tools to look at what the encoder wrote.

#include "core/jpeg/encode/nuv_jpegencoder.h"
#include "tests/support/nuv_testforms.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <vector>

namespace nuv {

// What this processor can run, from the portable forms up.
inline std::vector<NUV_TestLevel> jpeg_levels()
{
    std::vector<NUV_TestLevel> levels;
    std::copy_if(std::begin(test_levels), std::end(test_levels), std::back_inserter(levels),
                 [](const NUV_TestLevel& level) { return level.runs_here(); });
    return levels;
}

// 8-bit samples, those of a pixel together.
struct JPEGTestPicture {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t channels = 0;
    std::vector<std::uint8_t> samples;

    [[nodiscard]] std::size_t line_bytes() const { return std::size_t{width} * channels; }
    [[nodiscard]] const std::uint8_t* line(std::uint32_t y) const
    {
        return samples.data() + y * line_bytes();
    }
};

// `sample` gives the one at (x, y) of a channel.
inline JPEGTestPicture make_test_picture(
    std::uint32_t width, std::uint32_t height, std::uint32_t channels,
    const std::function<std::uint32_t(std::uint32_t, std::uint32_t, std::uint32_t)>& sample)
{
    JPEGTestPicture picture{width, height, channels, {}};
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t x = 0; x < width; ++x) {
            for (std::uint32_t channel = 0; channel < channels; ++channel)
                picture.samples.push_back(static_cast<std::uint8_t>(sample(x, y, channel)));
        }
    }
    return picture;
}

// Something of every frequency, of which no two blocks are equal.
inline JPEGTestPicture busy_picture(std::uint32_t width, std::uint32_t height,
                                    std::uint32_t channels)
{
    return make_test_picture(width, height, channels, [](auto x, auto y, auto channel) {
        return (x * 3 + y * 5 + channel * 40 + ((x * x + y * 7 * (channel + 1)) % 31) * 3) & 0xFFU;
    });
}

// A storage of at most `capacity` bytes that takes what fits of each write.
struct JPEGTestSink {
    std::size_t capacity = std::size_t{1} << 30;
    std::vector<std::uint8_t> bytes;
    std::size_t at = 0;
    int writes = 0;

    [[nodiscard]] NUV_JPEGOutput output()
    {
        return {
            .storage = this,
            .write =
                [](void* self, const std::uint8_t* from, std::int32_t count) {
                    return static_cast<JPEGTestSink*>(self)->write(from,
                                                                   static_cast<std::size_t>(count));
                },
            .to =
                [](void* self, std::int32_t position) {
                    auto& sink = *static_cast<JPEGTestSink*>(self);
                    sink.at = static_cast<std::size_t>(position);
                    return sink.at <= sink.bytes.size();
                },
            .position =
                [](void* self) {
                    return static_cast<std::int32_t>(static_cast<JPEGTestSink*>(self)->at);
                },
        };
    }

private:
    bool write(const std::uint8_t* from, std::size_t count)
    {
        ++writes;
        const std::size_t taken = std::min(count, capacity - at);
        bytes.resize(std::max(bytes.size(), at + taken));
        std::copy_n(from, taken, bytes.begin() + static_cast<std::ptrdiff_t>(at));
        at += taken;
        return taken == count;
    }
};

// The heap, with a count of what lives.
struct JPEGTestMemory {
    std::size_t live = 0;
    bool refuses = false;

    [[nodiscard]] NUV_JPEGAllocator allocator()
    {
        return {
            .owner = this,
            .allocate = [](void* self, std::size_t bytes) -> void* {
                auto& memory = *static_cast<JPEGTestMemory*>(self);
                if (memory.refuses)
                    return nullptr;
                ++memory.live;
                return std::malloc(bytes);
            },
            .deallocate =
                [](void* self, void* pointer) {
                    static_cast<JPEGTestMemory*>(self)->live -= pointer != nullptr ? 1U : 0U;
                    std::free(pointer);
                },
        };
    }
};

// A coder over a heap and a sink of its own.
struct JPEGTestCoder {
    JPEGTestMemory memory;
    JPEGTestSink sink;
    NUV_JPEGEncoder coder;

    explicit JPEGTestCoder(const NUV_Cpu& cpu = NUV_Cpu::current())
    {
        EXPECT_EQ(coder.open_coder(memory.allocator()), NUV_JPEGCode::good);
        EXPECT_EQ(coder.create(sink.output(), cpu), NUV_JPEGCode::good);
    }
    [[nodiscard]] NUV_JPEGCode start(std::uint32_t restart_interval = 0)
    {
        return coder.start_encode(restart_interval);
    }
};

// What to encode with; the lines beyond `lines` are not written.
struct JPEGTestSettings {
    std::uint32_t key = jpeg_sampling_444;
    std::uint32_t quality = 75;
    NUV_JPEGEncoder::SourceColor color = NUV_JPEGEncoder::SourceColor::components;
    std::uint32_t restart_interval = 0;
    std::uint32_t lines = 0xFFFFFFFF;
    NUV_Cpu cpu = NUV_Cpu::current();
};

inline std::vector<std::uint8_t> encode_test_picture(const JPEGTestPicture& picture,
                                                     const JPEGTestSettings& settings)
{
    JPEGTestCoder test(settings.cpu);
    NUV_JPEGEncoder& coder = test.coder;
    EXPECT_EQ(coder.set_format(picture.width, picture.height, picture.channels, 8, settings.key,
                               settings.quality),
              NUV_JPEGCode::good);
    coder.set_source_color(settings.color);
    EXPECT_EQ(test.start(settings.restart_interval), NUV_JPEGCode::good);
    for (std::uint32_t y = 0; y < std::min(picture.height, settings.lines); ++y)
        EXPECT_EQ(coder.write_line(picture.line(y)), NUV_JPEGCode::good);
    EXPECT_EQ(coder.finish(), NUV_JPEGCode::good);
    EXPECT_EQ(test.memory.live, 0U);
    return test.sink.bytes;
}

// A stream taken apart: the segments up to SOS, and the markers in what follows.
struct JPEGTestSegments {
    struct Segment {
        std::uint8_t id;
        std::size_t position; // of the payload
        std::vector<std::uint8_t> payload;
    };
    std::vector<Segment> segments;
    std::vector<std::uint8_t> scan_markers;
    std::size_t scan_position = 0;

    explicit JPEGTestSegments(const std::vector<std::uint8_t>& stream)
    {
        std::size_t at = 2; // behind SOI
        while (at + 4 <= stream.size() && (segments.empty() || segments.back().id != 0xDA)) {
            const std::size_t length = std::size_t{stream[at + 2]} << 8 | stream[at + 3];
            const auto payload = stream.begin() + static_cast<std::ptrdiff_t>(at) + 4;
            segments.push_back({stream[at + 1],
                                at + 4,
                                {payload, payload + static_cast<std::ptrdiff_t>(length) - 2}});
            at += 2 + length;
        }
        scan_position = at;
        for (; at + 1 < stream.size(); ++at) {
            if (stream[at] == 0xFF && stream[at + 1] != 0)
                scan_markers.push_back(stream[at + 1]);
        }
    }

    [[nodiscard]] std::vector<std::uint8_t> ids() const
    {
        std::vector<std::uint8_t> ids;
        for (const Segment& segment : segments)
            ids.push_back(segment.id);
        return ids;
    }
    // Empty when there is none.
    [[nodiscard]] std::vector<std::uint8_t> payload(std::uint8_t id) const
    {
        for (const Segment& segment : segments) {
            if (segment.id == id)
                return segment.payload;
        }
        return {};
    }
    // Of the payload of one that is there.
    [[nodiscard]] std::size_t position(std::uint8_t id) const
    {
        return std::find_if(segments.begin(), segments.end(),
                            [=](const Segment& segment) { return segment.id == id; })
            ->position;
    }
};

} // namespace nuv
