#pragma once

#include <cstdint>

namespace nuv {

// What an operation of the JPEG coder answers: 1 when it did its work, more for a warning, less
// for a failure. nuv_jpegregiststatus turns these into statuses of the library.
enum class NUV_JPEGCode : std::int32_t {
    good = 1,
    damaged_lines = 3,    // the picture goes on
    segment_trouble = 14, // the picture is kept
    registered = 100,     // a warning with a detail of its own
    no_memory = -1,
    bad_parameter = -2,
    read_failed = -3,
    io = -11, // a write failed, or the data ended in a segment
    no_jpeg = -12,
    bad_segment = -13,
    bad_marker = -14,
    unsupported = -50,
    bad_table = -64, // a Huffman table lacks a symbol
    wrong_state = -9997,
    too_many_lines = -9998,
    scan_ended = -9999,
};

[[nodiscard]] constexpr bool is_good(NUV_JPEGCode code) noexcept
{
    return code == NUV_JPEGCode::good;
}

[[nodiscard]] constexpr bool is_warning(NUV_JPEGCode code) noexcept
{
    return code > NUV_JPEGCode::good;
}

[[nodiscard]] constexpr bool is_failure(NUV_JPEGCode code) noexcept
{
    return code < NUV_JPEGCode::good;
}

} // namespace nuv
