#pragma once

// What all decoders of scans share: the tables of a scan, and the walk over its units.

#include "core/jpeg/decode/nuv_jpegband.h"
#include "core/jpeg/decode/nuv_jpegscanreader.h"
#include "core/jpeg/kernels/nuv_jpegbitreader.h"
#include "core/jpeg/kernels/nuv_jpeghuffman.h"
#include "core/jpeg/stream/nuv_jpegheader.h"
#include "core/jpeg/stream/nuv_jpegmemory.h"

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>

namespace nuv {

// The Huffman tables that a scan uses, in their decoding form.
class NUV_JPEGScanTables {
public:
    enum class Kinds : std::uint8_t { dc, ac, both };

    // What is open already stays as it is.
    [[nodiscard]] NUV_JPEGCode open(const NUV_JPEGAllocator& allocator) noexcept;
    void close() noexcept
    {
        dc_places_.free();
        ac_places_.free();
    }

    // From what is in force at the beginning of a scan; tables that are built of the same stay.
    // NUV_JPEGCode::bad_segment for a table that is missing or inconsistent.
    [[nodiscard]] NUV_JPEGCode build(const NUV_JPEGStoredTables& stored,
                                     const NUV_JPEGScanHeader& scan, Kinds kinds) noexcept;
    // Makes the AC tables of a sequential scan of so many MCUs faster, where it has enough of them.
    void join(const NUV_JPEGScanHeader& scan, std::uint64_t mcus) noexcept;

    [[nodiscard]] const NUV_JPEGDecodeTable& dc(std::size_t destination) const noexcept
    {
        return dc_places_[destination].table;
    }
    [[nodiscard]] const NUV_JPEGWideTable& ac(std::size_t destination) const noexcept
    {
        return ac_places_[destination].table;
    }

private:
    template <class Table>
    struct Place {
        NUV_JPEGStoredTables::Huffman source; // not defined: there is no table yet
        bool is_joined = false;
        Table table;
    };

    NUV_JPEGMemory<Place<NUV_JPEGDecodeTable>> dc_places_;
    NUV_JPEGMemory<Place<NUV_JPEGWideTable>> ac_places_;
};

// The quantisers of the components, each taken when the first scan of its component begins.
class NUV_JPEGScanFactors {
public:
    void clear() noexcept { *this = {}; }
    // NUV_JPEGCode::bad_segment for a component without a table.
    [[nodiscard]] NUV_JPEGCode take(const NUV_JPEGHeader& header,
                                    const NUV_JPEGScanHeader& scan) noexcept;
    [[nodiscard]] const NUV_JPEGFactors& of(std::size_t component) const noexcept
    {
        return factors_[component];
    }

private:
    std::array<NUV_JPEGFactors, jpeg_most_components> factors_{};
    std::bitset<jpeg_most_components> taken_;
};

// The bytes that a coded block can take, with a 0 behind each: twice 16 bits of code and 15 of
// value for 64 coefficients, rounded up.
inline constexpr std::int32_t jpeg_most_bytes_of_block = 512;

// Decodes the units of a run: calls unit(bits, done) until `done`, which each call advances by one
// unit or more, has reached the number of units. A call that found too few bytes in the buffer is
// repeated with more of them, from the same bits, predictions and end-of-band run.
//
// NUV_JPEGCode::scan_ended when the data ended inside a unit, which counts as done; the caller has
// to tell the scan. NUV_JPEGCode::read_failed for data that means nothing. A code that no table has
// counts as the end of the data where fewer than 16 bits, those of the longest code, stand in front
// of a marker, and as data that means nothing elsewhere; how much is read ahead does not matter.
template <class Unit>
[[nodiscard]] NUV_JPEGCode decode_run(NUV_JPEGScanReader& scan, std::uint32_t units,
                                      std::int32_t margin, std::uint32_t& done,
                                      Unit&& unit) noexcept
{
    NUV_JPEGInput& input = scan.input();
    done = 0;
    while (done < units) {
        NUV_JPEGCode code = input.want(margin);
        if (!is_good(code))
            return code;
        NUV_JPEGResult result = NUV_JPEGResult::good;
        NUV_JPEGBitReader bits(input.data(), input.size(), input.position(), &scan.marker(),
                               scan.state());
        while (done < units && (bits.unread() >= margin || input.at_end() || scan.marker() != 0)) {
            const NUV_JPEGBitReader bits_before = bits;
            const auto dc_before = scan.previous_dc();
            const std::uint32_t run_before = scan.end_of_band_run();
            result = unit(bits, done);
            if (is_good(result)) [[likely]]
                continue;
            if (result == NUV_JPEGResult::out_of_data && !input.at_end()) {
                bits = bits_before;
                scan.previous_dc() = dc_before;
                scan.end_of_band_run() = run_before;
            }
            break;
        }
        bits.store(input.position(), scan.state());
        if (is_good(result))
            continue;
        // With fewer bits than the longest code has, it was the marker that kept more of them away.
        const bool no_more =
            result == NUV_JPEGResult::out_of_data ||
            (result == NUV_JPEGResult::no_code && scan.marker() != 0 && bits.held() < 16);
        if (!no_more)
            return NUV_JPEGCode::read_failed;
        if (scan.marker() != 0 || input.at_end()) {
            ++done;
            return NUV_JPEGCode::scan_ended;
        }
        code = input.want_more();
        if (!is_good(code))
            return code;
    }
    return NUV_JPEGCode::good;
}

// Walks over `units` units of a scan beside each other: decode(first, count, done) for those whose
// data is there, as decode_run does; lost(mode, first, count) for the others.
// NUV_JPEGCode::damaged_lines when not all of them could be decoded. Data that means nothing is a
// failure, unless the scan mends: then it ends as data that ends early does.
template <class Decode, class Lost>
[[nodiscard]] NUV_JPEGCode walk_units(NUV_JPEGScanReader& scan, std::uint32_t units,
                                      Decode&& decode, Lost&& lost) noexcept
{
    NUV_JPEGCode row = NUV_JPEGCode::good;
    for (std::uint32_t unit = 0; unit < units;) {
        NUV_JPEGCode code = NUV_JPEGCode::good;
        const NUV_JPEGScanReader::Run run = scan.next_run(units - unit, code);
        if (!is_good(code))
            return code;
        std::uint32_t done = run.units;
        if (run.mode == NUV_JPEGScanReader::Mode::decode) {
            code = decode(unit, run.units, done);
        } else {
            row = NUV_JPEGCode::damaged_lines;
            lost(run.mode, unit, run.units);
        }
        if (code == NUV_JPEGCode::scan_ended) {
            scan.data_ended(run.units - done);
            row = NUV_JPEGCode::damaged_lines;
        } else if (code == NUV_JPEGCode::read_failed && scan.mends()) {
            ++done; // the unit in which it is
            scan.data_broken(run.units - done);
            row = NUV_JPEGCode::damaged_lines;
        } else if (!is_good(code)) {
            return code;
        }
        unit += done;
    }
    return row;
}

} // namespace nuv
