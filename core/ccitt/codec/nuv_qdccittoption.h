#pragma once

#include <cstdint>

namespace nuv {

// What a decoder cannot see in its data.
struct QDCCITTOption {
    bool detect_end = true;         // look for the end of the page behind a failed line
    bool uncompressed_mode = false; // must not be: it has no decoder
    bool byte_align = false;        // lines begin on bytes
};

struct QDMHOption : QDCCITTOption {
    bool eol_present = true; // lines begin with an EOL; `byte_align` says nothing then
};

struct QDMROption : QDCCITTOption {
    std::uint32_t k = 4; // T.4, 4.2.1: says nothing, for each line has a tag
};

struct QDMMROption : QDCCITTOption {};

} // namespace nuv
