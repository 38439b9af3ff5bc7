#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace nuv {

// What the library and the plain reader do not agree on, of a page of a file that is not empty:
// statuses, tags, attributes, descriptions and samples; or that the library has taken more memory
// than
//   4 MiB + 64 lines + 4 x the bytes of the values + 2 KiB for each strip that is read by itself.
// Empty when all is well.
[[nodiscard]] std::string tiff_difference(std::span<const std::uint8_t> file,
                                          std::uint32_t page = 0);
// The same of a directory inside other data, which is not read as a picture.
[[nodiscard]] std::string tiff_directory_difference(std::span<const std::uint8_t> file,
                                                    std::uint32_t offset, bool little_endian,
                                                    std::uint32_t page);

} // namespace nuv
