#pragma once

#include "core/jpeg/nuv_jpeginfo.h"

#include <cstdint>

namespace nuv {

// A JPEG stream with a JFIF segment: gray, or luma and chroma.
class NUV_JFIFInfo final : public NUV_JPEGInfo {
public:
    explicit NUV_JFIFInfo(NUV_Manager& manager) noexcept : NUV_JPEGInfo(manager) {}

    [[nodiscard]] const char* format_name() const noexcept override { return "jfif"; }
    // False without a status for a JPEG stream that has no such segment.
    [[nodiscard]] bool load_internal(NUV_InputStorage* storage) override;

    // Pixels per unit, as the segment has them; 0 where it is too short.
    [[nodiscard]] std::uint16_t x_density() const noexcept { return x_density_; }
    [[nodiscard]] std::uint16_t y_density() const noexcept { return y_density_; }

private:
    void take_densities() noexcept;

    std::uint16_t x_density_ = 0;
    std::uint16_t y_density_ = 0;
};

} // namespace nuv
