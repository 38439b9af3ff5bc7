#include "core/include/nuv_pixelcopy.h"
#include "core/scale/kernels/nuv_nearestbits_kernels.h"

#include <algorithm>

namespace nuv {
#if NUV_X86
namespace {

constexpr std::uint64_t top_bit = std::uint64_t{1} << 63;

// Whether each pixel is one or more behind the one before; or none or one.
[[nodiscard]] bool have_steps(std::span<const std::uint32_t> pixels, std::uint32_t least,
                              std::uint32_t most) noexcept
{
    const auto other = [=](std::uint32_t a, std::uint32_t b) {
        return b < a || b - a < least || b - a > most;
    };
    return std::ranges::adjacent_find(pixels, other) == pixels.end();
}

} // namespace
#endif

void move_bits_portable(const NUV_NearestBits& bits, const std::uint8_t* in, std::uint8_t* out)
{
    gather_bits(in, bits.pixels.data(), out, bits.pixels.size());
}

MoveBits choose_move_bits([[maybe_unused]] const NUV_Cpu& cpu,
                          [[maybe_unused]] std::span<const std::uint32_t> pixels) noexcept
{
#if NUV_X86
    if (cpu.has_fast_pext && have_steps(pixels, 1, 0xFFFFFFFF))
        return shrink_bits_bmi2;
    if (cpu.has_fast_pext && have_steps(pixels, 0, 1))
        return enlarge_bits_bmi2;
#endif
    return move_bits_portable;
}

std::size_t count_nearest_bit_words([[maybe_unused]] MoveBits form,
                                    [[maybe_unused]] const NUV_NearestBits& bits) noexcept
{
#if NUV_X86
    if (form == shrink_bits_bmi2)
        return (bits.in_bytes + 7) / 8;
    if (form == enlarge_bits_bmi2)
        return (bits.pixels.size() + 63) / 64;
#endif
    return 0;
}

void set_nearest_bit_words([[maybe_unused]] MoveBits form,
                           [[maybe_unused]] std::span<const std::uint32_t> pixels,
                           std::span<NUV_NearestBits::Word> words) noexcept
{
    std::ranges::fill(words, NUV_NearestBits::Word{});
#if NUV_X86
    if (form == shrink_bits_bmi2) {
        for (const std::uint32_t pixel : pixels)
            words[pixel / 64].mask |= top_bit >> (pixel % 64);
    }
    if (form == enlarge_bits_bmi2) {
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            NUV_NearestBits::Word& word = words[i / 64];
            if (i % 64 == 0)
                word = {top_bit, pixels[i]};
            else if (pixels[i] != pixels[i - 1])
                word.mask |= top_bit >> (i % 64);
        }
    }
#endif
}

} // namespace nuv
