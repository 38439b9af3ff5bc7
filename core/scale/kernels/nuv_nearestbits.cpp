#include "core/include/nuv_pixelcopy.h"
#include "core/scale/kernels/nuv_nearestbits_kernels.h"

#include <algorithm>

namespace nuv {
namespace {

using Window = NUV_NearestBits::Window;

constexpr std::uint64_t top_bit = std::uint64_t{1} << 63;

// So many output pixels come from as many bytes of a line; 0 for forms without windows.
[[nodiscard]] std::size_t part_of_window([[maybe_unused]] MoveBits form) noexcept
{
#if NUV_X86
    if (form == move_bits_avx512)
        return Window::pixels;
    if (form == move_bits_avx2)
        return Window::pixels / Window::parts;
#endif
    return 0;
}

#if NUV_X86
[[nodiscard]] bool has_windows(MoveBits form, std::span<const std::uint32_t> pixels,
                               std::size_t in_bytes) noexcept
{
    const std::size_t part = part_of_window(form);
    if (in_bytes < part)
        return false;
    for (std::size_t first = 0; first < pixels.size(); first += part) {
        const std::size_t last = std::min(first + part, pixels.size()) - 1;
        if (pixels[last] / 8 - pixels[first] / 8 >= part)
            return false;
    }
    return true;
}
#endif

} // namespace

void move_bits_portable(const NUV_NearestBits& bits, const std::uint8_t* in, std::uint8_t* out)
{
    gather_bits(in, bits.pixels.data(), out, bits.pixels.size());
}

MoveBits choose_move_bits([[maybe_unused]] const NUV_Cpu& cpu,
                          [[maybe_unused]] std::span<const std::uint32_t> pixels,
                          [[maybe_unused]] std::size_t in_bytes) noexcept
{
#if NUV_X86
    if (cpu.has_avx512vbmi && has_windows(move_bits_avx512, pixels, in_bytes))
        return move_bits_avx512;
    const bool is_in_windows = cpu.has_avx2 && has_windows(move_bits_avx2, pixels, in_bytes);
    const bool are_most = pixels.size() > in_bytes * 8 / 3 * 2; // so that masks are few
    const auto stays = [](std::uint32_t a, std::uint32_t b) { return a == b; };
    if (cpu.has_fast_pext && (are_most || !is_in_windows) &&
        std::ranges::adjacent_find(pixels, stays) == pixels.end())
        return move_bits_bmi2;
    if (is_in_windows)
        return move_bits_avx2;
#endif
    return move_bits_portable;
}

std::size_t count_bit_windows(MoveBits form, std::size_t out_pixels) noexcept
{
    return part_of_window(form) != 0 ? (out_pixels + Window::pixels - 1) / Window::pixels : 0;
}

std::size_t count_bit_masks([[maybe_unused]] MoveBits form,
                            [[maybe_unused]] std::size_t in_bytes) noexcept
{
#if NUV_X86
    if (form == move_bits_bmi2)
        return (in_bytes + 7) / 8;
#endif
    return 0;
}

// A part does not begin so late that what it covers would pass the end of the line.
void set_bit_windows(MoveBits form, std::span<const std::uint32_t> pixels, std::size_t in_bytes,
                     std::span<Window> windows) noexcept
{
    constexpr std::size_t quarter = Window::pixels / Window::parts;
    const std::size_t part = std::max<std::size_t>(part_of_window(form), 1);
    std::ranges::fill(windows, Window{});
    std::size_t begin = 0;
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        Window& window = windows[i / Window::pixels];
        if (i % part == 0)
            begin = std::min<std::size_t>(pixels[i] / 8, in_bytes - part);
        const std::size_t place = i % Window::pixels ^ 7U; // first pixel in the top bit
        window.begins[place / quarter] = static_cast<std::uint32_t>(begin);
        window.bytes[place] = static_cast<std::uint8_t>(pixels[i] / 8 - begin);
        window.bits[place] = static_cast<std::uint8_t>(0x80U >> pixels[i] % 8);
    }
}

void set_bit_masks(std::span<const std::uint32_t> pixels, std::span<std::uint64_t> masks) noexcept
{
    std::ranges::fill(masks, std::uint64_t{0});
    for (const std::uint32_t pixel : pixels)
        masks[pixel / 64] |= top_bit >> (pixel % 64);
}

} // namespace nuv
