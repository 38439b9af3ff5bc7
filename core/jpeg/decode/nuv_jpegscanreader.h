#pragma once

#include "core/jpeg/kernels/nuv_jpegprimitives.h"
#include "core/jpeg/stream/nuv_jpegcodes.h"
#include "core/jpeg/stream/nuv_jpegframe.h"
#include "core/jpeg/stream/nuv_jpeginput.h"

#include <array>
#include <cstdint>
#include <optional>
#include <utility>

namespace nuv {

// The entropy-coded data of one scan: where it is read, what is held of it in bits, and what its
// restart intervals leave of it. A scan is a row of units, MCUs or the lines of a lossless picture.
class NUV_JPEGScanReader {
public:
    // What there is of the next units.
    enum class Mode : std::uint8_t {
        decode,
        blank, // lost with whole intervals: all coefficients are 0
        skip,  // the data of this interval ended early
        ended, // the data of the scan has ended
    };
    struct Run {
        Mode mode;
        std::uint32_t units;
    };
    // Who says where intervals end.
    enum class Restarts : std::uint8_t {
        marked,   // by DRI, with a marker between two intervals
        optional, // by the caller, with a marker or without
    };

    // With `mends`, data that means nothing ends its interval and no more, see walk_units().
    NUV_JPEGScanReader(NUV_JPEGInput& input, bool mends) noexcept : input_(&input), mends_(mends) {}

    // At the beginning of a scan. `interval` is in units, 0 for none.
    void begin(std::uint64_t interval, Restarts restarts) noexcept;
    // The interval is the frame's. Where that has none, it is `rows` rows of `units_per_row` units
    // each with optional markers; 0 for none.
    void begin(const NUV_JPEGFrame& frame, std::uint32_t units_per_row,
               std::uint32_t rows) noexcept;

    // The next units of the scan that are of one mode, `most` or fewer; at least one. Where an
    // interval ends, the restart marker is read, with `code` other than good when the storage
    // cannot be read.
    [[nodiscard]] Run next_run(std::uint32_t most, NUV_JPEGCode& code) noexcept;
    // Inside a run: the data ended in a unit. `units` are those of the run behind it.
    void data_ended(std::uint32_t units) noexcept;
    // The same where the data means nothing, though it goes on: what comes before the next restart
    // marker is passed over.
    void data_broken(std::uint32_t units) noexcept;

    // Behind the last unit: whether data is left that no unit has taken.
    void end() noexcept;

    // True once any unit was not decoded.
    [[nodiscard]] bool is_damaged() const noexcept { return is_damaged_; }
    // The unit where the first interval began that all of its units were decoded of, and had data
    // left: something is wrong with it, though nobody knows where. Told once.
    [[nodiscard]] std::optional<std::uint64_t> take_left_over() noexcept
    {
        return std::exchange(left_over_, std::nullopt);
    }
    [[nodiscard]] bool mends() const noexcept { return mends_; }
    // Where a run leaves off and the next one goes on, for the decoder of its units. These are 0
    // at the beginning of an interval.
    [[nodiscard]] NUV_JPEGInput& input() const noexcept { return *input_; }
    [[nodiscard]] NUV_JPEGDecodeState& state() noexcept { return state_; }
    [[nodiscard]] std::array<std::int16_t, jpeg_most_components>& previous_dc() noexcept
    {
        return previous_dc_;
    }
    [[nodiscard]] std::uint32_t& end_of_band_run() noexcept { return end_of_band_run_; }
    // The marker that stopped the data, or 0.
    [[nodiscard]] std::uint8_t& marker() noexcept { return marker_; }
    // Intervals begun so far: a change tells that a new one has begun.
    [[nodiscard]] std::uint32_t intervals() const noexcept { return intervals_; }

private:
    [[nodiscard]] NUV_JPEGCode begin_interval() noexcept;
    [[nodiscard]] NUV_JPEGCode take_marked_restart() noexcept;
    [[nodiscard]] NUV_JPEGCode take_optional_restart() noexcept;
    [[nodiscard]] bool has_data_left() const noexcept;
    void end_scan() noexcept;

    NUV_JPEGInput* input_;
    NUV_JPEGDecodeState state_{};
    std::array<std::int16_t, jpeg_most_components> previous_dc_{};
    std::uint32_t end_of_band_run_ = 0;
    std::uint8_t marker_ = 0;
    Mode mode_ = Mode::ended;
    Restarts restarts_ = Restarts::marked;
    bool mends_ = false;
    bool is_damaged_ = false;
    std::uint8_t expected_ = 0; // number of the next restart marker
    std::uint32_t intervals_ = 0;
    std::uint64_t interval_ = 0; // units; 0 for no restarts
    std::uint64_t left_ = 0;     // units of the interval, or of the blank ones, that are to come
    std::uint64_t passed_ = 0;   // units of the scan
    std::uint64_t begin_ = 0;    // units of the scan before the interval
    std::optional<std::uint64_t> left_over_;
};

} // namespace nuv
