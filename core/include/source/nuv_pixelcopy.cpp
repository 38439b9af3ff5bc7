#include "core/include/nuv_pixelcopy.h"

namespace nuv {
namespace {

unsigned bit_at(const std::uint8_t* in, std::uint32_t offset) noexcept
{
    return (unsigned{in[offset >> 3]} >> (7 - (offset & 7))) & 1U;
}

} // namespace

void gather_bits(const std::uint8_t* in, const std::uint32_t* offsets, std::uint8_t* out,
                 std::size_t pixels) noexcept
{
    const std::size_t whole = pixels >> 3;
    for (std::size_t i = 0; i < whole; ++i) {
        unsigned byte = 0;
        for (std::size_t k = 0; k < 8; ++k)
            byte = byte << 1 | bit_at(in, offsets[8 * i + k]);
        out[i] = static_cast<std::uint8_t>(byte);
    }
    const std::size_t rest = pixels & 7;
    if (rest == 0)
        return;
    unsigned byte = 0;
    for (std::size_t k = 0; k < rest; ++k)
        byte |= bit_at(in, offsets[8 * whole + k]) << (7 - k);
    out[whole] = static_cast<std::uint8_t>(byte);
}

} // namespace nuv
