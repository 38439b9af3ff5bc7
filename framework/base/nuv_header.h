#pragma once

#include "framework/base/nuv_checkedsize.h"
#include "framework/base/nuv_tags.h"
#include "framework/base/nuv_utility.h"

#include <cstdint>
#include <optional>

namespace nuv {

// What the bytes of a stream are. Samples of a pixel are interleaved, lines follow one another, a
// line starts on a byte, and samples narrower than a byte pack from the top bit down.
class NUV_Header : public NUV_Utility {
public:
    // A colour map. Empty when all four fields are zero.
    class NUV_Palette : public NUV_Utility {
    public:
        using NUV_Utility::NUV_Utility;
        ~NUV_Palette() override;
        NUV_Palette(const NUV_Palette&) = delete;
        NUV_Palette& operator=(const NUV_Palette&) = delete;

        std::uint16_t bits = 0;     // of a palette sample, 8 or 16
        std::uint16_t channels = 0; // samples of an entry
        std::uint32_t entries = 0;

        // The entries, one after the other, samples interleaved, 16-bit ones in host order.
        [[nodiscard]] const std::uint8_t* value() const noexcept { return value_; }
        // Bytes that value() takes, whatever the three numbers say by now.
        [[nodiscard]] std::uint32_t stored_bytes() const noexcept { return stored_bytes_; }

        // Copies `bytes` bytes, which must be what the three numbers ask for; null and 0 clear.
        // The data may lie in the old value. The old value stays when this answers false:
        // NUV_ERR_ARGUMENT or NUV_ERR_MEMORY.
        [[nodiscard]] bool value(const std::uint8_t* data, std::uint32_t bytes);

        // False after NUV_ERR_MEMORY or NUV_ERR_ARGUMENT; this palette is then empty.
        [[nodiscard]] bool copy(const NUV_Palette& other);

        [[nodiscard]] bool equal(const NUV_Palette& other) const noexcept;
        [[nodiscard]] bool is_empty() const noexcept;
        // Empty, or 8 or 16 bits, some channels, 1 to 65536 entries, and a value.
        [[nodiscard]] bool is_valid() const noexcept;

    private:
        [[nodiscard]] std::uint64_t wanted_bytes() const noexcept;
        void clear() noexcept;

        std::uint8_t* value_ = nullptr;
        std::uint32_t stored_bytes_ = 0;
    };

    explicit NUV_Header(NUV_Manager& manager) noexcept : NUV_Utility(manager), palette_(manager) {}
    NUV_Header(const NUV_Header&) = delete;
    NUV_Header& operator=(const NUV_Header&) = delete;

    // Pixels of a line, lines, bits of a sample, samples of a pixel.
    [[nodiscard]] std::uint32_t width() const noexcept { return width_; }
    [[nodiscard]] std::uint32_t height() const noexcept { return height_; }
    [[nodiscard]] std::uint16_t bits() const noexcept { return bits_; }
    [[nodiscard]] std::uint16_t channels() const noexcept { return channels_; }
    void width(std::uint32_t pixels) noexcept { width_ = pixels; }
    void height(std::uint32_t lines) noexcept { height_ = lines; }
    void bits(std::uint16_t bits) noexcept { bits_ = bits; }
    void channels(std::uint16_t channels) noexcept { channels_ = channels; }

    [[nodiscard]] const NUV_DataType* data_type() const noexcept { return data_type_; }
    [[nodiscard]] const NUV_EncodeType* encode_type() const noexcept { return encode_type_; }
    [[nodiscard]] const NUV_ColorType* color_type() const noexcept { return color_type_; }
    // Null raises NUV_ERR_ARGUMENT and leaves the tag as it is.
    void data_type(const NUV_DataType* tag);
    void encode_type(const NUV_EncodeType* tag);
    void color_type(const NUV_ColorType* tag);

    [[nodiscard]] const NUV_Palette& palette() const noexcept { return palette_; }
    [[nodiscard]] NUV_Palette& palette() noexcept { return palette_; }

    // The palette first: when that fails, nothing else has changed.
    [[nodiscard]] bool copy(const NUV_Header& other);

    // Some pixels, samples that the type and the colour allow, and a palette that fits or none.
    [[nodiscard]] bool is_valid() const noexcept;

    [[nodiscard]] bool is_raw() const noexcept { return encode_type_ == NUV_EncodeType::raw; }

    // Bytes of one line. Nothing where they pass what 32-bit sizes can hold; the base of the
    // engines refuses such a header, so behind its initiate() line_bytes() is exact.
    [[nodiscard]] std::optional<std::uint32_t> checked_line_bytes() const noexcept
    {
        return nuv::checked_line_bytes(channels_, bits_, width_);
    }
    [[nodiscard]] std::uint32_t line_bytes() const noexcept
    {
        return checked_line_bytes().value_or(0);
    }

    // Line bytes times height. Nothing where that passes what 32-bit sizes can hold.
    [[nodiscard]] std::optional<std::uint32_t> checked_plane_bytes() const noexcept;

private:
    std::uint32_t width_ = 0;
    std::uint32_t height_ = 0;
    std::uint16_t bits_ = 0;
    std::uint16_t channels_ = 0;
    const NUV_DataType* data_type_ = NUV_DataType::u_integer;
    const NUV_EncodeType* encode_type_ = NUV_EncodeType::raw;
    const NUV_ColorType* color_type_ = NUV_ColorType::none;
    NUV_Palette palette_;
};

} // namespace nuv
