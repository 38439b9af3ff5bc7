#pragma once

// The reference coder, libjpeg, with everything that is left to a decoder's taste switched off, so
// that its samples are those that T.81 and its own integer transform give.

#include "tests/core/jpeg/nuv_jpegteststream.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace nuv {

// How the reference encodes. The samples of the picture are coded as they are, as components.
struct JPEGReferenceSettings {
    int quality = 75;
    std::uint32_t key = 0x111111; // a byte for each component
    bool is_progressive = false;
    int restart_interval = 0; // MCUs
    int restart_rows = 0;     // MCU rows, when the interval is 0
    bool optimises = false;
    // The components of each scan, as "0 1;2", and of a progressive one its band and its bits
    // behind a colon, as "0: 1 63 0 2". Empty for one scan, or the reference's own progression.
    std::string scans = {};
    int adobe_transform = -1; // below 0 for no Adobe segment
};

[[nodiscard]] std::vector<std::uint8_t> encode_by_reference(const JPEGTestPicture& picture,
                                                            const JPEGReferenceSettings& settings);

// The decoded components without any change of colour. Nothing when there is anything to complain
// of.
[[nodiscard]] std::optional<JPEGTestPicture> decode_by_reference(
    const std::vector<std::uint8_t>& stream);

// The dequantised coefficients of one component, block by block and each in natural order.
struct JPEGReferencePlane {
    std::uint32_t blocks_across = 0;
    std::array<std::int32_t, 64> quantisers{};
    std::vector<std::array<std::int32_t, 64>> blocks;
};

// Empty when the reference has anything to complain of.
[[nodiscard]] std::vector<JPEGReferencePlane> coefficients_by_reference(
    const std::vector<std::uint8_t>& stream);

} // namespace nuv
