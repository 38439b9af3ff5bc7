#pragma once

#include "framework/base/nuv_diagnosis.h"
#include "framework/base/nuv_utility.h"
#include "framework/io/nuv_inputstorage.h"

#include <cstdint>

namespace nuv {

// The information header of a Windows bitmap, in any of its ten sizes. A field that the size at
// hand does not have is 0, and the intent 4.
class NUV_BitmapInfoHeader final : public NUV_Utility {
public:
    // Sizes at which there is something to decide; each larger one has all that the smaller have.
    static constexpr std::uint32_t core_bytes = 12; // another layout, with fields of 16 bits
    static constexpr std::uint32_t info_bytes = 40;
    static constexpr std::uint32_t masks_bytes = 52;
    static constexpr std::uint32_t color_space_bytes = 60;
    static constexpr std::uint32_t profile_bytes = 120;
    static constexpr std::uint32_t most_bytes = 124;

    // What `compression` can be.
    static constexpr std::uint32_t uncompressed = 0;
    static constexpr std::uint32_t rle8 = 1;
    static constexpr std::uint32_t rle4 = 2;
    static constexpr std::uint32_t bit_fields = 3;

    // What says of `cs_type` that a profile goes with the image: by its name or whole.
    static constexpr std::uint32_t linked_profile = 0x4C494E4B;
    static constexpr std::uint32_t embedded_profile = 0x4D424544;

    using NUV_Utility::NUV_Utility;

    // Reads the header at the storage's position, with the masks that may stand behind one of 40
    // bytes. False without a status for a size that is none of the ten, else after
    // NUV_ERR_ARGUMENT or NUV_ERR_BROKEN_DATA.
    [[nodiscard]] bool read(NUV_InputStorage* storage);
    // False after NUV_ERR_INVALID_DATA. A colour space that is not known is a warning.
    [[nodiscard]] bool is_valid() const;

    // Bytes of an entry of the colour table, blue first.
    [[nodiscard]] std::uint32_t color_bytes() const noexcept
    {
        return header_size == core_bytes ? 3 : 4;
    }
    // Three masks follow the header, though its size does not say so.
    [[nodiscard]] bool has_masks_behind() const noexcept
    {
        return header_size == info_bytes && compression == bit_fields &&
               (bit_count == 16 || bit_count == 32);
    }
    [[nodiscard]] bool has_profile() const noexcept
    {
        return header_size >= profile_bytes && profile_size != 0 &&
               (cs_type == linked_profile || cs_type == embedded_profile);
    }

    std::uint32_t header_size = 0; // bytes
    std::int32_t width = 0;        // pixels
    std::int32_t height = 0;       // lines; below 0 when the first line is the upper one
    std::uint16_t planes = 0;
    std::uint16_t bit_count = 0; // of a pixel
    std::uint32_t compression = 0;
    std::uint32_t size_image = 0;
    std::int32_t x_pels_per_meter = 0;
    std::int32_t y_pels_per_meter = 0;
    std::uint32_t clr_used = 0; // colours in the table; 0 for as many as pixels can name
    std::uint32_t clr_important = 0;
    std::uint32_t red_mask = 0;
    std::uint32_t green_mask = 0;
    std::uint32_t blue_mask = 0;
    std::uint32_t alpha_mask = 0;
    std::uint32_t cs_type = 0;
    std::uint32_t end_points[9] = {}; // x, y and z of red, then of green, then of blue
    std::uint32_t gamma_red = 0;
    std::uint32_t gamma_green = 0;
    std::uint32_t gamma_blue = 0;
    std::uint32_t intent = 4;
    std::uint32_t profile_data = 0; // where the profile stands, from the begin of the storage
    std::uint32_t profile_size = 0; // bytes
    std::uint32_t reserved = 0;

private:
    void take_core(const std::uint8_t* stored) noexcept;
    void take_info(const std::uint8_t* stored) noexcept;
    [[nodiscard]] bool has_valid_masks() const noexcept;
    void check_color_space() const;
    // For what is wrong `offset` bytes into the header as it is stored.
    [[nodiscard]] NUV_Diagnosis at(std::int64_t offset) const noexcept;
    // Always false.
    [[nodiscard]] bool invalid(const NUV_Diagnosis& why) const;

    std::int64_t start_ = NUV_Diagnosis::unknown; // in the storage that it was read from
};

} // namespace nuv
