#include "core/jfif/nuv_jfifinfo.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/utility/nuv_endian.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace nuv {

bool NUV_JFIFInfo::load_internal(NUV_InputStorage* storage)
{
    if (!storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_JFIFInfo::load()");
    if (!NUV_JPEGInfo::load_internal(storage))
        return false;
    if (!is_jfif())
        return false;
    take_densities();
    color_type(channels() == 3 ? NUV_ColorType::ycbcr : NUV_ColorType::gray);
    resolution_.x = x_density_;
    resolution_.y = y_density_;
    resolution_.unit = NUV_ResolutionInfo::per_inch; // whatever the segment says
    return true;
}

// JFIF 1.02: identifier (5 bytes), version (2), units (1), densities (2 each).
void NUV_JFIFInfo::take_densities() noexcept
{
    constexpr std::string_view identifier("JFIF\0", 5);
    constexpr std::size_t densities = 8; // offset
    constexpr std::uint8_t app0 = 0xE0;

    x_density_ = 0;
    y_density_ = 0;
    for (std::size_t i = 0; i < segment_count(); ++i) {
        const NUV_JPEGSegment candidate = segment(i);
        const auto payload = candidate.payload;
        if (candidate.marker != app0 || payload.size() < identifier.size() ||
            !std::equal(identifier.begin(), identifier.end(), payload.begin()))
            continue;
        if (payload.size() >= densities + 4) {
            x_density_ = load_be16(payload.data() + densities);
            y_density_ = load_be16(payload.data() + densities + 2);
        }
        return;
    }
}

} // namespace nuv
