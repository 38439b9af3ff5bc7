#pragma once

#include "core/jpeg/nuv_jpeginfo.h"

#include <cstdint>

namespace nuv {

// A JPEG stream with an Adobe segment, which says whether its colours are transformed.
class NUV_JPEGAdobeInfo final : public NUV_JPEGInfo {
public:
    explicit NUV_JPEGAdobeInfo(NUV_Manager& manager) noexcept : NUV_JPEGInfo(manager) {}

    [[nodiscard]] const char* format_name() const noexcept override { return "jpeg_adobe"; }
    // False without a status for a JPEG stream that has no such segment. Four channels have the
    // colour `unknown`: what they become is the reader's.
    [[nodiscard]] bool load_internal(NUV_InputStorage* storage) override;

    // 0 for RGB and CMYK, else YCbCr and YCCK.
    [[nodiscard]] std::uint8_t transform() const noexcept { return transform_; }

private:
    [[nodiscard]] bool take_transform() noexcept;

    std::uint8_t transform_ = 0;
};

} // namespace nuv
