#pragma once

#include "framework/base/nuv_diagnosis.h"
#include "framework/io/nuv_inputstorage.h"

#include <cstdint>

namespace nuv {

// For numbers that stand in a file. They have 32 bits without a sign, and are compared here with
// what the storage has before they become arguments of it. What cannot be satisfied whole answers
// false and moves nothing.

// Bytes between the position and the end.
[[nodiscard]] std::uint32_t remaining_bytes(const NUV_InputStorage& storage);

[[nodiscard]] bool skip_exactly(NUV_InputStorage& storage, std::uint32_t bytes);

// The end of the storage can be reached, what lies behind it cannot.
[[nodiscard]] bool seek_exactly(NUV_InputStorage& storage, std::uint32_t offset);

// As many of `bytes` as there are before the end, in as many reads as that takes; how many came.
[[nodiscard]] std::uint32_t read_up_to(NUV_InputStorage& storage, void* into, std::uint32_t bytes);

// `into` has room for `bytes`. After a failure of the storage itself, part of it may be there.
[[nodiscard]] bool read_exactly(NUV_InputStorage& storage, void* into, std::uint32_t bytes);

// Passes over `lines` of `bytes` each, or over one where the storage has not all of them; how many
// they were, or 0.
[[nodiscard]] std::uint32_t pass_over_lines(NUV_InputStorage& storage, std::uint32_t bytes,
                                            std::uint32_t lines);

// Why `bytes` bytes of `what`, from the position on, could not be had: where the storage ends, and
// by how much too early.
[[nodiscard]] NUV_Diagnosis ends_early(const NUV_InputStorage& storage, const char* what,
                                       std::uint64_t bytes);

} // namespace nuv
