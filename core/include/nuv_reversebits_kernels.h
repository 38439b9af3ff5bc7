#pragma once

#include "framework/base/nuv_cpu.h"

#include <cstddef>
#include <cstdint>

namespace nuv {

// Writes a line of `width` bits end for end. What stands behind the last pixel of the input is
// ignored, and zero in the output. The lines do not overlap. All forms give the same bytes.
using ReverseBits = void (*)(const std::uint8_t* in, std::uint8_t* out, std::uint32_t width);

void reverse_bits_portable(const std::uint8_t* in, std::uint8_t* out, std::uint32_t width);
#if NUV_X86
void reverse_bits_avx2(const std::uint8_t* in, std::uint8_t* out, std::uint32_t width);
#endif

[[nodiscard]] inline ReverseBits choose_reverse_bits([[maybe_unused]] const NUV_Cpu& cpu) noexcept
{
#if NUV_X86
    if (cpu.has_avx2)
        return reverse_bits_avx2;
#endif
    return reverse_bits_portable;
}

} // namespace nuv
