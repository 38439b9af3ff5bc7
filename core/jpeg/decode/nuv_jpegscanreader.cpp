#include "core/jpeg/decode/nuv_jpegscanreader.h"

#include "core/jpeg/kernels/nuv_jpegbitreader.h"

#include <algorithm>
#include <limits>

namespace nuv {
namespace {

constexpr std::uint64_t no_end = std::numeric_limits<std::uint64_t>::max();
constexpr std::int32_t dnl_bytes = 4; // behind the marker

} // namespace

void NUV_JPEGScanReader::begin(std::uint64_t interval, Restarts restarts) noexcept
{
    state_ = {};
    previous_dc_ = {};
    end_of_band_run_ = 0;
    marker_ = 0;
    mode_ = Mode::decode;
    restarts_ = restarts;
    is_damaged_ = false;
    expected_ = 0;
    ++intervals_;
    interval_ = interval;
    left_ = interval == 0 ? no_end : interval;
    passed_ = 0;
    begin_ = 0;
    left_over_.reset();
}

void NUV_JPEGScanReader::begin(const NUV_JPEGFrame& frame, std::uint32_t units_per_row,
                               std::uint32_t rows) noexcept
{
    if (frame.restart_interval != 0)
        begin(frame.restart_interval, Restarts::marked);
    else
        begin(std::uint64_t{units_per_row} * rows, Restarts::optional);
}

NUV_JPEGScanReader::Run NUV_JPEGScanReader::next_run(std::uint32_t most,
                                                     NUV_JPEGCode& code) noexcept
{
    code = left_ == 0 ? begin_interval() : NUV_JPEGCode::good;
    if (!is_good(code))
        return {Mode::ended, most};
    const auto units = static_cast<std::uint32_t>(std::min<std::uint64_t>(most, left_));
    left_ -= units;
    passed_ += units;
    is_damaged_ = is_damaged_ || mode_ != Mode::decode;
    return {mode_, units};
}

void NUV_JPEGScanReader::data_ended(std::uint32_t units) noexcept
{
    if (marker_ == 0) // so that no more intervals come
        interval_ = 0;
    data_broken(units);
}

void NUV_JPEGScanReader::data_broken(std::uint32_t units) noexcept
{
    is_damaged_ = true;
    left_ += units;
    passed_ -= units;
    if (interval_ != 0)
        mode_ = Mode::skip; // the next marker tells what comes after this interval
    else
        end_scan();
}

void NUV_JPEGScanReader::end_scan() noexcept
{
    mode_ = Mode::ended;
    left_ = no_end;
}

// Where the caller says where intervals end, what stands behind one may be of the next.
void NUV_JPEGScanReader::end() noexcept
{
    const bool is_marked = restarts_ == Restarts::marked || interval_ == 0;
    if (is_marked && mode_ == Mode::decode && !left_over_ && has_data_left())
        left_over_ = begin_;
}

// T.81, F.1.2.3: the last byte is filled up with bits of 1, and any number of 0xFF may follow it.
// Of what is not in the buffer nothing is known.
bool NUV_JPEGScanReader::has_data_left() const noexcept
{
    if (state_.bits >= 8)
        return true;
    const std::uint8_t* next = input_->data() + input_->position();
    const std::uint8_t* const end = input_->data() + input_->size();
    if (marker_ != 0 || next == end)
        return false;
    while (end - next > 1 && next[0] == 0xFF && next[1] == 0xFF)
        ++next;
    return next[0] != 0xFF || (end - next > 1 && next[1] == 0);
}

NUV_JPEGCode NUV_JPEGScanReader::begin_interval() noexcept
{
    end();
    begin_ = passed_;
    previous_dc_ = {};
    end_of_band_run_ = 0;
    ++intervals_;
    if (mode_ == Mode::blank) { // its marker has been read
        mode_ = Mode::decode;
        left_ = interval_;
        return NUV_JPEGCode::good;
    }
    return restarts_ == Restarts::marked ? take_marked_restart() : take_optional_restart();
}

// T.81, F.2.1.3.1 and F.2.2.5. A number ahead of the expected one tells how many intervals are
// lost.
NUV_JPEGCode NUV_JPEGScanReader::take_marked_restart() noexcept
{
    state_ = {};
    NUV_JPEGCode code = marker_ == 0 ? input_->find_marker(marker_) : NUV_JPEGCode::good;
    while (is_good(code) && marker_ == jpeg_marker_dnl) {
        code = input_->want(dnl_bytes); // of which nothing is new: the height is known by now
        input_->position() += std::min(dnl_bytes, input_->unread());
        if (is_good(code))
            code = input_->find_marker(marker_);
    }
    if (!is_good(code))
        return code;
    if (marker_ < jpeg_marker_rst0 || marker_ > jpeg_marker_rst7) {
        end_scan();
        return NUV_JPEGCode::good;
    }
    const auto number = static_cast<std::uint8_t>(marker_ & 7U);
    const std::uint32_t lost = (number - expected_) & 7U;
    marker_ = 0;
    expected_ = (number + 1) & 7U;
    mode_ = lost == 0 ? Mode::decode : Mode::blank;
    left_ = interval_ * std::max(lost, 1U);
    return NUV_JPEGCode::good;
}

NUV_JPEGCode NUV_JPEGScanReader::take_optional_restart() noexcept
{
    // Whole bytes that are held belong to the next interval, unless this one has ended early: then
    // they stand before its marker.
    const std::uint32_t rest = mode_ == Mode::skip ? state_.bits : state_.bits & 7U;
    state_.accumulator = rest < 64 ? state_.accumulator << rest : 0;
    state_.bits -= rest;
    NUV_JPEGCode code = NUV_JPEGCode::good;
    if (state_.bits == 0) {
        state_ = {};
        code = input_->want(2);
        NUV_JPEGBitReader bits(input_->data(), input_->size(), input_->position(), &marker_,
                               state_);
        static_cast<void>(bits.holds(1));
        bits.store(input_->position(), state_);
        if (marker_ >= jpeg_marker_rst0 && marker_ <= jpeg_marker_rst7)
            marker_ = 0;
    }
    mode_ = Mode::decode;
    left_ = interval_;
    return code;
}

} // namespace nuv
