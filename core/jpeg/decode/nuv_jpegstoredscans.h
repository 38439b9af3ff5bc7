#pragma once

#include "core/jpeg/decode/nuv_jpegscans.h"
#include "core/jpeg/decode/nuv_jpegstore.h"

#include <cstddef>
#include <cstdint>

namespace nuv {

// Decodes a picture whose components or bits come in several scans: all of them into a store, from
// which the rows are then made. What becomes of damage stands with NUV_JPEGScans. The block at
// which a scan breaks off keeps what it has, also of that scan, but for a refinement of
// coefficients behind the first, which leaves it as it was.
class NUV_JPEGStoredScans {
public:
    // The header stands behind the SOS of its first scan, and is read on. `restart_rows` and
    // `mends` are those of NUV_JPEGDecoder. All memory is taken here.
    [[nodiscard]] NUV_JPEGCode open(const NUV_JPEGAllocator& allocator, NUV_JPEGHeader& header,
                                    const NUV_JPEGGeometry& geometry, NUV_JPEGInput& input,
                                    std::uint32_t restart_rows, bool mends) noexcept;
    void close() noexcept;

    // MCU row `row` into the band; the first call decodes all scans. NUV_JPEGCode::damaged_lines
    // when anything of them is missing.
    [[nodiscard]] NUV_JPEGCode decode_row(std::uint32_t row, NUV_JPEGBand& band) noexcept;
    // As that of NUV_JPEGScans.
    [[nodiscard]] bool take_left_over() noexcept { return scans_.take_left_over(); }

private:
    // One scan: where its blocks are and what is done with them.
    struct Scan {
        NUV_JPEGScanHeader header;
        std::uint32_t units_across = 0; // MCUs, or blocks of the one component
        std::uint32_t units_down = 0;
    };
    // Blocks beside each other, and which of their coefficients are not 0.
    struct BandRow {
        std::int16_t* blocks = nullptr;
        std::uint64_t* masks = nullptr;
        std::uint32_t units = 0;
    };

    [[nodiscard]] NUV_JPEGCode decode_scan() noexcept;
    [[nodiscard]] NUV_JPEGCode build_tables(const NUV_JPEGScanHeader& scan) noexcept;
    [[nodiscard]] NUV_JPEGCode decode_scan_row(const Scan& scan, std::uint32_t row) noexcept;
    [[nodiscard]] NUV_JPEGCode decode_units(const Scan& scan, std::uint32_t row,
                                            std::uint32_t first, std::uint32_t units,
                                            std::uint32_t& done) noexcept;
    [[nodiscard]] NUV_JPEGResult decode_band(NUV_JPEGBitReader& bits,
                                             const NUV_JPEGScanHeader& scan, const BandRow& row,
                                             std::uint32_t& i) noexcept;
    [[nodiscard]] NUV_JPEGResult decode_mcu(NUV_JPEGBitReader& bits, const NUV_JPEGScanHeader& scan,
                                            std::uint32_t x, std::uint32_t y) noexcept;
    [[nodiscard]] NUV_JPEGResult decode_block(NUV_JPEGBitReader& bits,
                                              const NUV_JPEGScanHeader& scan,
                                              const NUV_JPEGScanHeader::Component& component,
                                              std::int16_t* block) noexcept;
    [[nodiscard]] bool is_progressive() const noexcept;

    NUV_JPEGHeader* header_ = nullptr;
    NUV_JPEGInput* input_ = nullptr;
    NUV_JPEGGeometry geometry_;
    std::uint32_t restart_rows_ = 0;
    NUV_JPEGStore store_;
    NUV_JPEGScanTables tables_;
    NUV_JPEGScanFactors factors_;
    NUV_JPEGScans scans_;
    bool is_decoded_ = false;
};

} // namespace nuv
