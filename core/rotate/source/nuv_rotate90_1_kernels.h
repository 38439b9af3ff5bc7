#pragma once

#include "framework/base/nuv_cpu.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

// Eight source lines that share the bytes of one output column of bytes.
struct Rotate90Group {
    std::array<const std::uint8_t*, 8> rows; // the first one goes to the top bit
    std::size_t column = 0;                  // byte of each output line
    bool joins = false;                      // a band before this one has begun these bytes
};

// Turns rows of bits to columns: the bits of source column x go to the output line at
// out + x * out_step, for x < width. Bits behind the width are ignored.
struct Rotate90Lines {
    std::uint8_t* out = nullptr;
    std::ptrdiff_t out_step = 0; // negative where the columns come out from the right
    std::uint32_t width = 0;
};
using Rotate90Groups = void (*)(std::span<const Rotate90Group> groups, const Rotate90Lines& lines);

// The 8 x 8 bits of `rows`, first row in the top byte, mirrored at the diagonal.
[[nodiscard]] constexpr std::uint64_t transpose_8x8(std::uint64_t rows) noexcept
{
    // Exchanges bits, then 2 x 2, then 4 x 4 blocks of them.
    std::uint64_t moved = (rows ^ (rows >> 7)) & 0x00AA00AA00AA00AA;
    rows ^= moved ^ (moved << 7);
    moved = (rows ^ (rows >> 14)) & 0x0000CCCC0000CCCC;
    rows ^= moved ^ (moved << 14);
    moved = (rows ^ (rows >> 28)) & 0x00000000F0F0F0F0;
    rows ^= moved ^ (moved << 28);
    return rows;
}

// All forms give the same bytes. Groups stand side by side, in ascending columns.
void rotate90groups_portable(std::span<const Rotate90Group> groups, const Rotate90Lines& lines);
#if NUV_X86
void rotate90groups_sse2(std::span<const Rotate90Group> groups, const Rotate90Lines& lines);
void rotate90groups_avx2(std::span<const Rotate90Group> groups, const Rotate90Lines& lines);
#endif

// The portable form for source columns `from` and up, a multiple of 8.
void rotate90groups_from(std::span<const Rotate90Group> groups, const Rotate90Lines& lines,
                         std::uint32_t from);

[[nodiscard]] inline Rotate90Groups choose_rotate90groups(
    [[maybe_unused]] const NUV_Cpu& cpu) noexcept
{
#if NUV_X86
    if (cpu.has_avx2)
        return rotate90groups_avx2;
    if (cpu.has_sse2)
        return rotate90groups_sse2;
#endif
    return rotate90groups_portable;
}

} // namespace nuv
