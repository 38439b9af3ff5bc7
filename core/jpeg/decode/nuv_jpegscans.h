#pragma once

#include "core/jpeg/decode/nuv_jpegscan.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace nuv {

// The scans of a picture that is stored before it is shown: which of them are read, and whether
// what they have left is the whole picture.
//
// What a scan has stored stays. A scan ends at a code that means nothing, or its interval does
// where the scans mend; a scan whose tables are missing ends as well. The scans behind go on from
// the next marker. A segment between two scans that breaks the rules, or is of a kind that is not
// known, is the end of all scans. Before anything is stored, each of these is a failure.
class NUV_JPEGScans {
public:
    // The header stands behind the SOS of the first scan. `mends` is that of NUV_JPEGScanReader.
    void open(NUV_JPEGHeader& header, NUV_JPEGInput& input, bool mends) noexcept;

    // Calls decode_scan() for each scan: header() is its header, and reader() begins with it.
    template <class DecodeScan>
    [[nodiscard]] NUV_JPEGCode decode(DecodeScan&& decode_scan) noexcept
    {
        bool goes_on = true;
        for (scans_ = 1; goes_on; ++scans_) {
            const NUV_JPEGCode code = end_scan(decode_scan(), goes_on);
            if (!is_good(code))
                return code;
        }
        return NUV_JPEGCode::good;
    }

    // To be called by decode_scan() when its tables are there, and with its first good unit.
    void note_planes(const NUV_JPEGScanHeader& scan) noexcept;
    void note_stored() noexcept { has_stored_ = true; }

    // Anything of the picture is missing: of its scans, a scan, or all of a component.
    [[nodiscard]] bool is_damaged() const noexcept { return is_damaged_; }
    // A scan had data left behind its units; told once.
    [[nodiscard]] bool take_left_over() noexcept { return std::exchange(has_left_over_, false); }
    [[nodiscard]] NUV_JPEGScanReader& reader() noexcept { return *reader_; }
    [[nodiscard]] const NUV_JPEGScanReader& reader() const noexcept { return *reader_; }

private:
    [[nodiscard]] NUV_JPEGCode end_scan(NUV_JPEGCode decoded, bool& goes_on) noexcept;
    [[nodiscard]] bool has_all_components() const noexcept;
    [[nodiscard]] bool is_complete() const noexcept;

    NUV_JPEGHeader* header_ = nullptr;
    NUV_JPEGInput* input_ = nullptr;
    std::optional<NUV_JPEGScanReader> reader_;
    std::uint32_t scans_ = 0;
    bool has_stored_ = false;
    bool is_damaged_ = false;
    bool has_left_over_ = false;
    // By component and coefficient: the bit plane that the scans have come down to. What is not
    // progressive has one for all of its coefficients.
    std::array<std::array<std::int8_t, 64>, jpeg_most_components> planes_{};
};

} // namespace nuv
