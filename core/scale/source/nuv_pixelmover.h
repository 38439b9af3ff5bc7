#pragma once

#include "core/include/nuv_pixelcopy.h"
#include "core/scale/kernels/nuv_pixelwindows_kernels.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_manager.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace nuv {

// Makes rows of pixels that each are one of a source line, by windows where these have so many that
// it pays.
class NUV_PixelMover {
public:
    // Pixel k of `pixels` begins at byte offset_of(k) of a line of `line_bytes`; offsets ascend.
    // False after NUV_ERR_MEMORY.
    template <class OffsetOf>
    [[nodiscard]] bool initiate(NUV_Manager& manager, std::size_t line_bytes,
                                std::size_t pixel_bytes, std::size_t pixels, OffsetOf&& offset_of)
    {
        pixel_bytes_ = pixel_bytes;
        pixels_ = pixels;
        const std::size_t window_bytes = pixel_window_bytes(manager.cpu());
        const auto visit = [&](auto&& visit_window) {
            for (std::size_t k = 0; k < pixels;) {
                const std::size_t begin =
                    std::min<std::size_t>(offset_of(k), line_bytes - window_bytes);
                const std::size_t first = k;
                const std::size_t most = std::min(pixels, first + window_bytes / pixel_bytes);
                while (k < most && offset_of(k) + pixel_bytes <= begin + window_bytes)
                    ++k;
                visit_window(begin, first, k);
            }
        };
        std::size_t count = 0;
        if (window_bytes != 0 && pixel_bytes <= window_bytes / least_pixels &&
            window_bytes <= line_bytes)
            visit([&](auto...) { ++count; });
        if (count == 0 || count * least_pixels > pixels) {
            if (!offsets_.allocate(manager, pixels))
                return false;
            for (std::size_t k = 0; k < pixels; ++k)
                offsets_[k] = static_cast<std::uint32_t>(offset_of(k));
            return true;
        }
        move_ = window_bytes == 64 ? choose_move_pixel_windows<64>(manager.cpu())
                                   : choose_move_pixel_windows<16>(manager.cpu());
        if (!windows_.allocate(manager, count) || !orders_.allocate(manager, count * window_bytes))
            return false;
        std::fill(orders_.items().begin(), orders_.items().end(), std::uint8_t{0});
        NUV_PixelWindow* window = windows_.data();
        std::uint8_t* order = orders_.data();
        visit([&](std::size_t begin, std::size_t first, std::size_t end) {
            *window++ = {static_cast<std::uint32_t>(begin),
                         static_cast<std::uint32_t>((end - first) * pixel_bytes)};
            for (std::size_t i = 0; i < (end - first) * pixel_bytes; ++i) {
                const std::size_t from = offset_of(first + i / pixel_bytes) + i % pixel_bytes;
                order[i] = static_cast<std::uint8_t>(from - begin);
            }
            order += window_bytes;
        });
        return true;
    }

    void move_row(const std::uint8_t* in, std::uint8_t* out) const noexcept
    {
        if (move_)
            return move_(in, {windows_.data(), orders_.data(), windows_.size()}, out,
                         pixels_ * pixel_bytes_);
        visit_pixel_bytes(pixel_bytes_, [&]<std::size_t PixelBytes>() {
            gather_pixels<PixelBytes>(in, offsets_.data(), out, pixels_, pixel_bytes_);
        });
    }

private:
    // On average a window has to make so many pixels.
    static constexpr std::size_t least_pixels = 3;

    std::size_t pixel_bytes_ = 1;
    std::size_t pixels_ = 0;
    MovePixelWindows move_ = nullptr;
    NUV_Scratch<NUV_PixelWindow> windows_; // these two, or the offsets
    NUV_Scratch<std::uint8_t> orders_;
    NUV_Scratch<std::uint32_t> offsets_;
};

} // namespace nuv
