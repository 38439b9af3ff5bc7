#pragma once

#include <cstdint>

namespace nuv {

// What an operation of the JPEG coder answers: 1 when it did its work, more for a warning, less
// for a failure. nuv_jpegregiststatus turns these into statuses of the library.
using NUV_JPEGCode = std::int32_t;

inline constexpr NUV_JPEGCode jpeg_code_good = 1;
inline constexpr NUV_JPEGCode jpeg_code_damaged_lines = 3;    // the picture goes on
inline constexpr NUV_JPEGCode jpeg_code_segment_trouble = 14; // the picture is kept
inline constexpr NUV_JPEGCode jpeg_code_registered = 100;     // a warning with a detail of its own
inline constexpr NUV_JPEGCode jpeg_code_no_memory = -1;
inline constexpr NUV_JPEGCode jpeg_code_bad_parameter = -2;
inline constexpr NUV_JPEGCode jpeg_code_read_failed = -3;
inline constexpr NUV_JPEGCode jpeg_code_io = -11; // a write failed, or the data ended in a segment
inline constexpr NUV_JPEGCode jpeg_code_no_jpeg = -12;
inline constexpr NUV_JPEGCode jpeg_code_bad_segment = -13;
inline constexpr NUV_JPEGCode jpeg_code_bad_marker = -14;
inline constexpr NUV_JPEGCode jpeg_code_unsupported = -50;
inline constexpr NUV_JPEGCode jpeg_code_bad_table = -64; // a Huffman table lacks a symbol
inline constexpr NUV_JPEGCode jpeg_code_wrong_state = -9997;
inline constexpr NUV_JPEGCode jpeg_code_too_many_lines = -9998;
inline constexpr NUV_JPEGCode jpeg_code_scan_ended = -9999;

} // namespace nuv
