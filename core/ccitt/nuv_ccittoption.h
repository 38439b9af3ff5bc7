#pragma once

#include <cstdint>

namespace nuv {

// What a facsimile decoder cannot see in its data.
struct NUV_CCITTOption {
    bool detect_end = true;         // look for the end of the page behind a failed line
    bool uncompressed_mode = false; // has no decoder: refused
    bool byte_align = false;        // lines begin on bytes
};

struct NUV_CCITTMHOption : NUV_CCITTOption {
    bool eol_present = true; // lines begin with an EOL; `byte_align` says nothing then
};

struct NUV_CCITTMROption : NUV_CCITTOption {
    std::uint32_t k = 4; // says nothing, for each line tells how it is coded
};

struct NUV_CCITTMMROption : NUV_CCITTOption {};

// The same as creators take them.
struct NUV_DecodeMHOption : NUV_CCITTMHOption {
    explicit constexpr NUV_DecodeMHOption(bool detects_end = true, bool has_eols = true,
                                          bool aligns = false) noexcept
        : NUV_CCITTMHOption{{.detect_end = detects_end, .byte_align = aligns}, has_eols}
    {}
};

struct NUV_DecodeMROption : NUV_CCITTMROption {
    explicit constexpr NUV_DecodeMROption(bool detects_end = true, std::uint32_t lines = 4,
                                          bool aligns = false) noexcept
        : NUV_CCITTMROption{{.detect_end = detects_end, .byte_align = aligns}, lines}
    {}
};

struct NUV_DecodeMMROption : NUV_CCITTMMROption {
    explicit constexpr NUV_DecodeMMROption(bool detects_end = true, bool aligns = false) noexcept
        : NUV_CCITTMMROption{{.detect_end = detects_end, .byte_align = aligns}}
    {}
};

} // namespace nuv
