#pragma once

#include "core/dib/nuv_bitmapinfoheader.h"
#include "core/include/nuv_formatinfo.h"
#include "framework/base/nuv_held.h"

#include <cstdint>
#include <span>

namespace nuv {

// A device-independent bitmap: a Windows bitmap without its file header, as clipboards and other
// formats hold it. Information header, colour table, pixels; the storage stands behind the table
// after a load(). What tells it from anything else is its caller's to know: there is no signature.
//
// Images of 4 bits come out, and are described, as bytes. Two colours that are black and white in
// either order become gray without a palette.
class NUV_DIBInfo : public NUV_FormatInfo {
public:
    explicit NUV_DIBInfo(NUV_Manager& manager) noexcept
        : NUV_FormatInfo(manager),
          info_header_(manager)
    {}

    [[nodiscard]] const char* format_name() const noexcept override { return "dib"; }
    // NUV_ERR_BROKEN_DATA for a storage that ends within header or colour table,
    // NUV_ERR_INVALID_DATA for values that the format does not have. A profile that cannot be had
    // is a warning.
    [[nodiscard]] bool load_internal(NUV_InputStorage* storage) override;
    // Bytes from where the bitmap begins to its pixels: header and colour table.
    [[nodiscard]] virtual std::uint64_t pixel_offset() const noexcept { return consumed_bytes_; }

    [[nodiscard]] const NUV_BitmapInfoHeader& info_header() const noexcept { return info_header_; }
    // Of the colour table as it is stored, without entries beyond what pixels can name.
    [[nodiscard]] std::uint32_t color_table_bytes() const noexcept { return color_table_bytes_; }
    // The colour profile of the image, or the name of its file; empty when there is none.
    [[nodiscard]] std::span<const std::uint8_t> profile() const noexcept
    {
        return profile_.items();
    }

    // Reads a colour table to `palette`, which stays empty for pixels of 16 bits and more. Of
    // `clr_used` the lower 16 bits count. False after NUV_ERR_BROKEN_DATA or NUV_ERR_MEMORY, and
    // without a status for a `bit_count` that bitmaps do not have.
    [[nodiscard]] bool read_palette(NUV_InputStorage& storage, NUV_Palette& palette,
                                    std::uint32_t clr_used, std::uint32_t bit_count);
    // Reads a profile of `size` bytes. Always true: what cannot be had is a warning.
    bool read_profile(NUV_InputStorage& storage, std::uint32_t size);

protected:
    // Header and colour table, from where the storage stands; the storage stays behind them, or
    // wherever a failure was met.
    [[nodiscard]] bool load_headers(NUV_InputStorage& storage);

private:
    [[nodiscard]] bool interpret_info_header(NUV_InputStorage& storage);
    void describe_samples(NUV_Palette& colors);
    [[nodiscard]] std::uint16_t mask_depth(std::uint32_t bit_count) const noexcept;
    [[nodiscard]] bool load_profile(NUV_InputStorage& storage);
    void warn_of_profile();

    NUV_BitmapInfoHeader info_header_;
    std::uint32_t color_table_bytes_ = 0;
    std::uint32_t consumed_bytes_ = 0;
    NUV_Scratch<std::uint8_t> profile_;
};

} // namespace nuv
