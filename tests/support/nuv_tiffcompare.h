#pragma once

#include "tests/support/nuv_test.h"

namespace nuv {

// What the library and the plain reader do not agree on, of a page of a file that is not empty:
// statuses, tags, attributes, descriptions and samples; or that the library has taken more memory
// than
//   4 MiB + 64 lines + 4 x the bytes of the values + 2 KiB for each strip that is read by itself.
// Empty when all is well.
// With `directory`, of the chain that begins there in other data of the file's byte order.
[[nodiscard]] std::string tiff_difference(std::span<const std::uint8_t> file,
                                          std::uint32_t page = 0,
                                          std::optional<std::uint32_t> directory = {});

} // namespace nuv
