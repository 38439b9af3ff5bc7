#pragma once

#include "core/jpeg/kernels/nuv_jpegbitreader.h"
#include "core/jpeg/kernels/nuv_jpeghuffman.h"
#include "core/jpeg/stream/nuv_jpegheader.h"

#include <cstdint>

namespace nuv {

// The block procedures of progressive scans (T.81, G.1.2). A block is in natural order and keeps
// what the scans before have put there. The answers are those of the Huffman primitives;
// NUV_JPEGResult::run_past_block also for a run that leaves the band of the scan.

// G.1.2.1, first scan and later ones.
[[nodiscard]] NUV_JPEGResult decode_dc_first(NUV_JPEGBitReader& bits, std::int16_t* block,
                                             std::int16_t& previous_dc,
                                             const NUV_JPEGDecodeTable& table,
                                             std::uint32_t low) noexcept;
[[nodiscard]] NUV_JPEGResult refine_dc(NUV_JPEGBitReader& bits, std::int16_t* block,
                                       std::uint32_t low) noexcept;

// G.1.2.2. Not to be called inside an end-of-band run, which the caller skips; `run` receives the
// blocks of the band that follow this one without coefficients. `mask` has a bit for each
// coefficient of the block behind the first that is not 0, by its index in zig-zag order, and gets
// those that are put there.
[[nodiscard]] NUV_JPEGResult decode_ac_first(NUV_JPEGBitReader& bits, std::int16_t* block,
                                             const NUV_JPEGScanHeader& scan,
                                             const NUV_JPEGWideTable& table, std::uint32_t& run,
                                             std::uint64_t& mask) noexcept;
// G.1.2.3. Inside a run this does nothing but count for a block without any in the band. Block and
// mask are as they were when this fails. NUV_JPEGResult::run_past_block for a value of more bits
// than one.
[[nodiscard]] NUV_JPEGResult refine_ac(NUV_JPEGBitReader& bits, std::int16_t* block,
                                       const NUV_JPEGScanHeader& scan,
                                       const NUV_JPEGWideTable& table, std::uint32_t& run,
                                       std::uint64_t& mask) noexcept;

// The bits of the coefficients of a scan.
[[nodiscard]] constexpr std::uint64_t band_of(const NUV_JPEGScanHeader& scan) noexcept
{
    constexpr std::uint64_t all = ~std::uint64_t{0};
    return all >> (63 - scan.last) & all << scan.first;
}

} // namespace nuv
