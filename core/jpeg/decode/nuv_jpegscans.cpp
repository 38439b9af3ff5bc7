#include "core/jpeg/decode/nuv_jpegscans.h"

#include <algorithm>

namespace nuv {
namespace {

constexpr std::uint32_t most_scans = 1000;
constexpr std::int8_t no_plane = -1;

// What the data is to blame for.
constexpr bool is_damage(NUV_JPEGCode code) noexcept
{
    return code == NUV_JPEGCode::read_failed || code == NUV_JPEGCode::bad_segment ||
           code == NUV_JPEGCode::bad_marker || code == NUV_JPEGCode::unsupported;
}

} // namespace

void NUV_JPEGScans::open(NUV_JPEGHeader& header, NUV_JPEGInput& input, bool mends) noexcept
{
    header_ = &header;
    input_ = &input;
    reader_.emplace(input, mends);
    has_stored_ = false;
    is_damaged_ = false;
    has_left_over_ = false;
    for (auto& planes : planes_)
        planes.fill(no_plane);
}

NUV_JPEGCode NUV_JPEGScans::end_scan(NUV_JPEGCode decoded, bool& goes_on) noexcept
{
    const auto can_show = [&](NUV_JPEGCode code) { return has_stored_ && is_damage(code); };
    if (!is_good(decoded) && !can_show(decoded))
        return decoded;
    is_damaged_ = is_damaged_ || !is_good(decoded) || reader_->is_damaged();
    if (is_good(decoded))
        reader_->end();
    has_left_over_ = reader_->take_left_over().has_value() || has_left_over_;

    using Stop = NUV_JPEGHeader::Stop;
    Stop stop = Stop::end;
    const NUV_JPEGCode next = header_->next_scan(*input_, reader_->marker(), stop);
    if (!is_good(next) && !can_show(next))
        return next;
    goes_on = is_good(next) && stop == Stop::scan && scans_ < most_scans;
    if (goes_on)
        return NUV_JPEGCode::good;
    const bool is_ended =
        is_good(next) && (stop == Stop::end || (stop == Stop::data_ended && is_complete()));
    is_damaged_ = is_damaged_ || !is_ended || !has_all_components();
    return NUV_JPEGCode::good;
}

// A scan is to go on where the last one of its coefficients has left off.
void NUV_JPEGScans::note_planes(const NUV_JPEGScanHeader& scan) noexcept
{
    const bool is_progressive = header_->frame().start_marker == jpeg_marker_sof2;
    for (std::size_t i = 0; i < scan.components; ++i) {
        auto& planes = planes_[scan.component[i].index];
        if (!is_progressive) {
            planes.fill(0);
            continue;
        }
        for (std::size_t k = scan.first; k <= scan.last; ++k) {
            const std::int8_t expected =
                scan.high == 0 ? no_plane : static_cast<std::int8_t>(scan.high);
            is_damaged_ = is_damaged_ || planes[k] != expected;
            planes[k] = static_cast<std::int8_t>(scan.low);
        }
    }
}

bool NUV_JPEGScans::has_all_components() const noexcept
{
    return std::all_of(planes_.begin(), planes_.begin() + header_->frame().components,
                       [](const auto& planes) { return planes[0] != no_plane; });
}

// Down to the last bit of every coefficient, so that no more scans can be missing.
bool NUV_JPEGScans::is_complete() const noexcept
{
    return std::all_of(
        planes_.begin(), planes_.begin() + header_->frame().components, [](const auto& planes) {
            return std::ranges::all_of(planes, [](auto plane) { return plane == 0; });
        });
}

} // namespace nuv
