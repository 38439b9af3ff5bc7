#pragma once

#include "core/jpeg/encode/nuv_jpegencoder.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

// Where the JPEG benchmarks have their streams written, and where a coder takes its memory.
namespace nuv {

struct NUV_JPEGSink {
    explicit NUV_JPEGSink(std::size_t most) : bytes(most) {}

    std::vector<std::uint8_t> bytes; // with room for the whole stream
    std::size_t at = 0;
};

inline NUV_JPEGOutput output_to(NUV_JPEGSink& sink)
{
    return {
        .storage = &sink,
        .write =
            [](void* self, const std::uint8_t* from, std::int32_t count) {
                auto& to = *static_cast<NUV_JPEGSink*>(self);
                if (to.at + static_cast<std::size_t>(count) > to.bytes.size())
                    return false;
                std::copy_n(from, count, to.bytes.begin() + static_cast<std::ptrdiff_t>(to.at));
                to.at += static_cast<std::size_t>(count);
                return true;
            },
        .to =
            [](void* self, std::int32_t position) {
                static_cast<NUV_JPEGSink*>(self)->at = static_cast<std::size_t>(position);
                return true;
            },
        .position =
            [](void* self) {
                return static_cast<std::int32_t>(static_cast<NUV_JPEGSink*>(self)->at);
            },
    };
}

inline constexpr NUV_JPEGAllocator jpeg_heap = {
    .owner = nullptr,
    .allocate = [](void*, std::size_t bytes) { return std::malloc(bytes); },
    .deallocate = [](void*, void* memory) { std::free(memory); },
};

} // namespace nuv
