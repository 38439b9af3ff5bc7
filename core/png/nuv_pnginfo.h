#pragma once

#include "core/include/nuv_formatinfo.h"
#include "framework/base/nuv_sharedpointer.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

class NUV_PNGInfoInternal;

// What a PNG file may say beside its pixels (PNG second edition, clause 11). Strings and profiles
// stay in libpng's memory, and live as long as the info is loaded.
struct NUV_PNGTypes {
    // A text, of whichever chunk. What the chunk does not have is null or 0.
    struct Text {
        std::int32_t compression = 3; // -1 tEXt, 0 zTXt, 1 iTXt, 2 compressed iTXt, 3 otherwise
        const char* key = nullptr;
        const char* text = nullptr;
        std::size_t text_length = 0; // bytes of the text in tEXt and zTXt
        std::size_t itxt_length = 0; // and in iTXt
        const char* language = nullptr;
        const char* translated_key = nullptr;
    };

    // Universal time.
    struct Time {
        std::uint16_t year = 0;
        std::uint8_t month = 0;
        std::uint8_t day = 0;
        std::uint8_t hour = 0;
        std::uint8_t minute = 0;
        std::uint8_t second = 0;
    };

    // Places in `present`.
    enum Chunk : std::size_t { gama, srgb, iccp, sbit, time_chunk, bkgd, text, offs, phys, scal };
    static constexpr std::size_t chunks = 10;

    struct Fields {
        std::uint8_t color_type_code = 7; // 0, 2, 3, 4, 6 as in IHDR
        bool interlaced = false;
        std::uint8_t filter_method = 0;
        std::uint8_t compression_method = 0;
        double gamma = 0.0;           // gAMA alone
        std::uint8_t srgb_intent = 4; // 0 to 3 of sRGB, 4 otherwise
        const char* icc_name = nullptr;
        std::int32_t icc_compression = 0;
        const std::uint8_t* icc_profile = nullptr;
        std::uint32_t icc_profile_length = 0;           // bytes
        std::array<std::uint8_t, 5> significant_bits{}; // red, green, blue, gray, alpha
        Time time;
        std::array<std::uint16_t, 5> background{}; // index, red, green, blue, gray
        std::span<const Text> texts;
        std::int32_t offset_x = 0;
        std::int32_t offset_y = 0;
        std::uint8_t offset_unit = 2; // 0 pixels, 1 micrometres, 2 otherwise
        std::uint32_t pixels_x = 0;   // per unit
        std::uint32_t pixels_y = 0;
        std::uint8_t pixels_unit = 2; // 0 none, 1 metres, 2 otherwise
        double scale_width = 0.0;     // of a pixel
        double scale_height = 0.0;
        std::uint8_t scale_unit = 3; // 0 none, 1 metres, 2 radians, 3 otherwise
        std::array<std::uint8_t, 8> signature{137, 'P', 'N', 'G', 13, 10, 26, 10};
        std::array<bool, chunks> present{};
    };
};

// A PNG file. Texts and profiles take at most 32 MiB: what is beyond is as if the file did not have
// it, or refuses the file. The header tells what the reader delivers:
//
// gray: 1 bit, 8 bits for 2, 4 and 8, or 16; RGB: 8 or 16 bits; indices, with a palette of 8-bit
// RGB: 1 bit, or 8 bits for 2, 4 and 8. Alpha and transparent colours are left out, gamma is told
// and not applied.
class NUV_PNGInfo final : public NUV_FormatInfo {
public:
    explicit NUV_PNGInfo(NUV_Manager& manager) noexcept;
    ~NUV_PNGInfo() override;

    [[nodiscard]] const char* format_name() const noexcept override { return "png"; }
    // NUV_ERR_BROKEN_DATA for fewer than 8 bytes and for a head that ends or whose checksums are
    // wrong, NUV_ERR_INVALID_DATA for an IHDR that no file may have, NUV_ERROR for what else libpng
    // finds wrong. The storage then stands behind the first bytes of pixel data.
    [[nodiscard]] bool load_internal(NUV_InputStorage* storage) override;

    [[nodiscard]] const NUV_PNGTypes::Fields& fields() const noexcept { return fields_; }
    // What goes on reading where the load stopped; empty without one that worked.
    [[nodiscard]] const NUV_SharedPointer<NUV_PNGInfoInternal>& internal() const noexcept
    {
        return internal_;
    }

private:
    [[nodiscard]] bool load_header(NUV_InputStorage& storage);

    NUV_SharedPointer<NUV_PNGInfoInternal> internal_;
    NUV_PNGTypes::Fields fields_;
};

} // namespace nuv
