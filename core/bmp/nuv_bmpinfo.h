#pragma once

#include "core/bmp/nuv_bitmapfileheader.h"
#include "core/dib/nuv_dibinfo.h"

#include <cstdint>

namespace nuv {

// A Windows bitmap file: a device-independent bitmap behind a file header, which tells where the
// pixels begin. The storage stands behind the colour table after a load().
class NUV_BMPInfo final : public NUV_DIBInfo {
public:
    explicit NUV_BMPInfo(NUV_Manager& manager) noexcept
        : NUV_DIBInfo(manager),
          file_header_(manager)
    {}

    [[nodiscard]] const char* format_name() const noexcept override { return "bmp"; }
    // As of the bitmap inside; NUV_ERR_INVALID_DATA besides for pixels that begin within the
    // headers.
    [[nodiscard]] bool load_internal(NUV_InputStorage* storage) override;
    // Bytes from the begin of the storage to the pixels, as the file header tells; where it does
    // not, from the begin of the file.
    [[nodiscard]] std::uint64_t pixel_offset() const noexcept override;

    [[nodiscard]] const NUV_BitmapFileHeader& file_header() const noexcept { return file_header_; }

private:
    [[nodiscard]] bool load_file(NUV_InputStorage& storage);

    NUV_BitmapFileHeader file_header_;
};

} // namespace nuv
