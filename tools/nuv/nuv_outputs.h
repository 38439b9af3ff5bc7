#pragma once

#include "tools/nuv/nuv_problem.h"

#include <nuv/nuv_wrapper.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace nuv_tool {

// Settings of the kinds that have some; unset ones are left to the library.
struct OutputSettings {
    std::optional<int> quality;  // JPEG, 0 to 100
    std::optional<int> sampling; // JPEG, a WriteJPEGOption::eSampling code
    bool optimise = false;       // lossless JPEG: a Huffman table made for the picture
};

// A kind of file that can be written.
struct OutputKind {
    std::string_view name; // the value of --write
    // Adds the writer to `job`. A problem when `picture` cannot be written in this kind.
    Problem (*append)(NuvWrapperClass& job, const ImageParam& picture,
                      const OutputSettings& settings);
    // Tells whether the file at `path` holds the whole `picture`. The library reports a run that
    // broke half way as done, so this is how it is found out.
    Problem (*check)(const std::string& path, const ImageParam& picture);
};

// The kind of that name, null when there is none.
[[nodiscard]] const OutputKind* output_kind(std::string_view name);

// The kind that the ending of `path` stands for; raw for an ending that stands for none.
[[nodiscard]] const OutputKind& output_kind_of_path(std::string_view path);

// All names with "|" between them.
[[nodiscard]] std::string output_kind_names();

// Bytes of all the lines of `picture`, which start on bytes. Both forms may reach 2^96 in theory:
// nothing when it does not fit 64 bits.
[[nodiscard]] std::optional<std::uint64_t> interleaved_bytes(const ImageParam& picture);
[[nodiscard]] std::optional<std::uint64_t> planar_bytes(const ImageParam& picture);

} // namespace nuv_tool
