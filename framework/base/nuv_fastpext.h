#pragma once

namespace nuv {

// Whether the processor that this process runs on has pext, pdep and popcnt, and takes a few cycles
// for each. A form that is written with them asks this beside the level of its manager: of the
// processors with AVX2 some have the first two in microcode, of hundreds of cycles.
[[nodiscard]] bool has_fast_pext() noexcept;

} // namespace nuv
