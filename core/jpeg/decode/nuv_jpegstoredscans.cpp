#include "core/jpeg/decode/nuv_jpegstoredscans.h"

#include "core/jpeg/decode/nuv_jpegprogressive.h"
#include "core/jpeg/kernels/nuv_jpegcoefficients.h"
#include "core/jpeg/kernels/nuv_jpegsamples.h"
#include "framework/base/nuv_prefetch.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace nuv {
namespace {

// How many coefficients a block has, as NUV_JPEGBand::put_block() takes it: here they come in any
// order, so that where they stand is looked at in the end.
[[nodiscard]] std::uint32_t reach_of(const std::int16_t* block) noexcept
{
    std::array<std::uint64_t, 16> halves; // of its rows
    std::memcpy(halves.data(), block, sizeof(halves));
    std::uint64_t outside = halves[1] | halves[3] | halves[5] | halves[7];
    for (std::size_t i = 8; i < halves.size(); ++i)
        outside |= halves[i];
    if (outside != 0)
        return jpeg_block_size;
    const int beside = block[1] | block[2] | block[3];
    return beside != 0 || (halves[2] | halves[4] | halves[6]) != 0 ? jpeg_short_block : 1;
}

// How many masks come before one that has any of the bits.
[[nodiscard]] std::uint32_t count_without(const std::uint64_t* masks, std::uint32_t count,
                                          std::uint64_t bits) noexcept
{
    constexpr std::uint32_t at_once = 8;
    std::uint32_t i = 0;
    for (; count - i >= at_once; i += at_once) {
        std::uint64_t any = 0;
        for (std::uint32_t k = 0; k < at_once; ++k)
            any |= masks[i + k];
        if ((any & bits) != 0)
            break;
    }
    while (i < count && (masks[i] & bits) == 0)
        ++i;
    return i;
}

// Every scan goes through all blocks, more than caches hold: asks for one that comes soon, of which
// the first `coefficients` are looked at.
void fetch_ahead(const std::int16_t* block, std::size_t coefficients) noexcept
{
    constexpr std::size_t blocks_ahead = 8;
    prefetch_ahead(block, coefficients * sizeof(*block),
                   blocks_ahead * jpeg_block_size * sizeof(*block));
}

} // namespace

NUV_JPEGCode NUV_JPEGStoredScans::open(const NUV_JPEGAllocator& allocator, NUV_JPEGHeader& header,
                                       const NUV_JPEGGeometry& geometry, NUV_JPEGInput& input,
                                       std::uint32_t restart_rows, bool mends) noexcept
{
    header_ = &header;
    input_ = &input;
    geometry_ = geometry;
    restart_rows_ = restart_rows;
    is_decoded_ = false;
    scans_.open(header, input, mends);
    NUV_JPEGCode code = store_.open(allocator, geometry, is_progressive(), input.remaining());
    if (is_good(code))
        code = tables_.open(allocator);
    return code;
}

void NUV_JPEGStoredScans::close() noexcept
{
    store_.close();
    tables_.close();
}

bool NUV_JPEGStoredScans::is_progressive() const noexcept
{
    return header_->frame().start_marker == jpeg_marker_sof2;
}

NUV_JPEGCode NUV_JPEGStoredScans::decode_row(std::uint32_t row, NUV_JPEGBand& band) noexcept
{
    if (!is_decoded_) {
        is_decoded_ = true;
        const NUV_JPEGCode code = scans_.decode([this] { return decode_scan(); });
        if (!is_good(code))
            return code;
    }
    for (std::size_t i = 0; i < geometry_.components; ++i) {
        if (!band.delivers(i))
            continue;
        const NUV_JPEGPlane& plane = geometry_.planes[i];
        for (std::uint32_t down = 0; down < plane.vertical; ++down) {
            const std::int16_t* block = store_.block(i, 0, row * plane.vertical + down);
            for (std::uint32_t x = 0; x < plane.blocks_across; ++x, block += jpeg_block_size) {
                fetch_ahead(block, jpeg_block_size);
                band.put_block(i, x, down, block, factors_.of(i), reach_of(block));
            }
        }
    }
    return scans_.is_damaged() ? NUV_JPEGCode::damaged_lines : NUV_JPEGCode::good;
}

NUV_JPEGCode NUV_JPEGStoredScans::build_tables(const NUV_JPEGScanHeader& scan) noexcept
{
    using Kinds = NUV_JPEGScanTables::Kinds;
    if (!is_progressive())
        return tables_.build(header_->tables(), scan, Kinds::both);
    if (scan.first > 0)
        return tables_.build(header_->tables(), scan, Kinds::ac);
    if (scan.high > 0) // bits alone
        return NUV_JPEGCode::good;
    return tables_.build(header_->tables(), scan, Kinds::dc);
}

NUV_JPEGCode NUV_JPEGStoredScans::decode_scan() noexcept
{
    Scan scan = {.header = header_->scan(),
                 .units_across = geometry_.mcus_across,
                 .units_down = geometry_.mcus_down};
    std::uint32_t vertical = 1;
    if (scan.header.components == 1) { // T.81, A.2.2
        const NUV_JPEGPlane& plane = geometry_.planes[scan.header.component[0].index];
        scan.units_across = plane.scan_blocks_across;
        scan.units_down = plane.scan_blocks_down;
        vertical = plane.vertical;
    }
    scans_.reader().begin(header_->frame(), scan.units_across,
                          geometry_.unit_rows_of(restart_rows_, vertical));
    NUV_JPEGCode code = build_tables(scan.header);
    if (is_good(code))
        code = factors_.take(*header_, scan.header);
    if (!is_good(code))
        return code;
    if (!is_progressive())
        tables_.join(scan.header, std::uint64_t{scan.units_across} * scan.units_down);
    scans_.note_planes(scan.header);
    for (std::uint32_t row = 0; row < scan.units_down; ++row) {
        code = decode_scan_row(scan, row);
        if (is_failure(code))
            return code;
    }
    return NUV_JPEGCode::good;
}

NUV_JPEGCode NUV_JPEGStoredScans::decode_scan_row(const Scan& scan, std::uint32_t row) noexcept
{
    const auto decode = [&](std::uint32_t first, std::uint32_t units, std::uint32_t& done) {
        const NUV_JPEGCode code = decode_units(scan, row, first, units, done);
        if (done > 0)
            scans_.note_stored();
        return code;
    };
    return walk_units(scans_.reader(), scan.units_across, decode, [](auto...) {});
}

NUV_JPEGCode NUV_JPEGStoredScans::decode_units(const Scan& scan, std::uint32_t row,
                                               std::uint32_t first, std::uint32_t units,
                                               std::uint32_t& done) noexcept
{
    constexpr std::int32_t most_blocks = 10; // T.81, B.2.3, and all that is worth reading ahead
    const auto margin = static_cast<std::int32_t>(scan.header.components == 1
                                                      ? jpeg_most_bytes_of_block
                                                      : most_blocks * jpeg_most_bytes_of_block);

    if (scan.header.components > 1) {
        return decode_run(
            scans_.reader(), units, margin, done, [&](NUV_JPEGBitReader& bits, std::uint32_t& i) {
                const NUV_JPEGResult result = decode_mcu(bits, scan.header, first + i, row);
                i += is_good(result) ? 1 : 0;
                return result;
            });
    }
    const NUV_JPEGScanHeader::Component& component = scan.header.component[0];
    std::int16_t* const blocks = store_.block(component.index, first, row);
    if (is_progressive() && scan.header.first > 0) {
        const BandRow band = {
            .blocks = blocks, .masks = store_.mask(component.index, first, row), .units = units};
        return decode_run(scans_.reader(), units, margin, done,
                          [&](NUV_JPEGBitReader& bits, std::uint32_t& i) {
                              return decode_band(bits, scan.header, band, i);
                          });
    }
    return decode_run(
        scans_.reader(), units, margin, done, [&](NUV_JPEGBitReader& bits, std::uint32_t& i) {
            const NUV_JPEGResult result =
                decode_block(bits, scan.header, component, blocks + i * jpeg_block_size);
            i += is_good(result) ? 1 : 0;
            return result;
        });
}

// One block of a band behind the first coefficient, or those of an end-of-band run that nothing is
// coded for: in a first scan all, later the ones that have no coefficient in the band. Else a few
// bytes of run could make a scan of any size, and do so for every scan that is left.
NUV_JPEGResult NUV_JPEGStoredScans::decode_band(NUV_JPEGBitReader& bits,
                                                const NUV_JPEGScanHeader& scan, const BandRow& row,
                                                std::uint32_t& i) noexcept
{
    std::uint32_t& run = scans_.reader().end_of_band_run();
    std::uint64_t& mask = row.masks[i];
    const bool is_first = scan.high == 0;
    const std::uint64_t band = band_of(scan);
    if (run > 0 && (is_first || (mask & band) == 0)) {
        const std::uint32_t most = std::min(run, row.units - i);
        const std::uint32_t passed = is_first ? most : count_without(&mask, most, band);
        run -= passed;
        i += passed;
        return NUV_JPEGResult::good;
    }
    std::int16_t* const block = row.blocks + std::size_t{i} * jpeg_block_size;
    fetch_ahead(block, jpeg_block_size);
    const NUV_JPEGWideTable& table = tables_.ac(scan.component[0].ac_table);
    const NUV_JPEGResult result = is_first ? decode_ac_first(bits, block, scan, table, run, mask)
                                           : refine_ac(bits, block, scan, table, run, mask);
    i += is_good(result) ? 1 : 0;
    return result;
}

NUV_JPEGResult NUV_JPEGStoredScans::decode_mcu(NUV_JPEGBitReader& bits,
                                               const NUV_JPEGScanHeader& scan, std::uint32_t x,
                                               std::uint32_t y) noexcept
{
    for (std::size_t i = 0; i < scan.components; ++i) {
        const NUV_JPEGScanHeader::Component& component = scan.component[i];
        const NUV_JPEGPlane& plane = geometry_.planes[component.index];
        for (std::uint32_t down = 0; down < plane.vertical; ++down) {
            std::int16_t* block = store_.block(component.index, std::size_t{x} * plane.horizontal,
                                               std::size_t{y} * plane.vertical + down);
            for (std::uint32_t across = 0; across < plane.horizontal;
                 ++across, block += jpeg_block_size) {
                fetch_ahead(block, 1);
                const NUV_JPEGResult result = decode_block(bits, scan, component, block);
                if (!is_good(result))
                    return result;
            }
        }
    }
    return NUV_JPEGResult::good;
}

NUV_JPEGResult NUV_JPEGStoredScans::decode_block(NUV_JPEGBitReader& bits,
                                                 const NUV_JPEGScanHeader& scan,
                                                 const NUV_JPEGScanHeader::Component& component,
                                                 std::int16_t* block) noexcept
{
    std::int16_t& previous_dc = scans_.reader().previous_dc()[component.index];
    if (!is_progressive()) {
        std::uint32_t reached = 0;
        return decode_coefficients(bits, block, previous_dc, tables_.dc(component.dc_table),
                                   tables_.ac(component.ac_table), reached);
    }
    return scan.high == 0
               ? decode_dc_first(bits, block, previous_dc, tables_.dc(component.dc_table), scan.low)
               : refine_dc(bits, block, scan.low);
}

} // namespace nuv
