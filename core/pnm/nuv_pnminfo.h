#pragma once

#include "core/include/nuv_formatinfo.h"

#include <cstdint>

namespace nuv {

class NUV_ByteReader;

// A portable anymap, P1 to P6: "P", a digit, and the size in decimal text. The storage stands at
// the first byte of the pixels after a load(): exactly one whitespace ends the last number.
class NUV_PNMInfo final : public NUV_FormatInfo {
public:
    using NUV_FormatInfo::NUV_FormatInfo;

    [[nodiscard]] const char* format_name() const noexcept override { return "pnm"; }
    // NUV_ERR_BROKEN_DATA for a storage that ends too soon, NUV_ERR_INVALID_DATA for a header that
    // is not one, or that means more than 16 bits a sample (8 in the binary forms, but for those
    // that are deep where that is asked for).
    [[nodiscard]] bool load_internal(NUV_InputStorage* storage) override;
    // P5 and P6 of 16 bits, too, of which the high byte comes first. To be asked for before load().
    void serve_deep(bool wanted) noexcept { serves_deep_ = wanted; }

    // The character of the digit, '1' to '6'.
    [[nodiscard]] std::uint32_t magic() const noexcept { return magic_; }
    // The largest sample by the word of the header: 1 for P1 and P4. Samples are not scaled to it.
    [[nodiscard]] std::uint32_t maximum() const noexcept { return maximum_; }

private:
    // The longest number that is looked at: as many digits as the largest 64-bit value has, and
    // one.
    static constexpr std::size_t most_digits = 21;

    [[nodiscard]] bool read_size(NUV_ByteReader& stream);
    [[nodiscard]] bool describe(const NUV_ByteReader& stream);
    // Goes to the first digit, over whitespace and comments.
    [[nodiscard]] bool skip_whitespace(NUV_ByteReader& stream);
    [[nodiscard]] bool skip_comment(NUV_ByteReader& stream);
    // The digits of a number without leading zeros, as a text.
    [[nodiscard]] bool get_value(NUV_ByteReader& stream, char (&digits)[most_digits + 1]);
    [[nodiscard]] bool read_value(NUV_ByteReader& stream, std::uint32_t& value);

    std::uint32_t magic_ = '6';
    std::uint32_t maximum_ = 0;
    bool serves_deep_ = false;
    bool separated_ = false; // a whitespace has been seen, so that a number may begin
};

} // namespace nuv
