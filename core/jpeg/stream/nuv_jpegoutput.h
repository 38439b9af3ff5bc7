#pragma once

#include <cstdint>

namespace nuv {

// Where the coded stream goes; `storage` is handed to each call.
struct NUV_JPEGOutput {
    void* storage = nullptr;
    // True when all `count` bytes were written.
    bool (*write)(void* storage, const std::uint8_t* bytes, std::int32_t count) = nullptr;
    // To an absolute position.
    bool (*to)(void* storage, std::int32_t position) = nullptr;
    std::int32_t (*position)(void* storage) = nullptr;
};

} // namespace nuv
