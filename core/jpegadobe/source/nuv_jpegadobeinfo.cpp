#include "core/jpegadobe/nuv_jpegadobeinfo.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace nuv {

bool NUV_JPEGAdobeInfo::load_internal(NUV_InputStorage* storage)
{
    if (!storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_JPEGAdobeInfo::load()");
    if (!NUV_JPEGInfo::load_internal(storage) || !take_transform())
        return false;
    if (channels() == 1)
        color_type(NUV_ColorType::gray);
    else if (channels() == 3)
        color_type(transform_ != 0 ? NUV_ColorType::ycbcr : NUV_ColorType::s_rgb);
    else
        color_type(NUV_ColorType::unknown);
    return true;
}

// T.872, 6.5.3: identifier (5 bytes), version, flags 0 and flags 1 (2 each), transform.
bool NUV_JPEGAdobeInfo::take_transform() noexcept
{
    constexpr std::string_view identifier("Adobe");
    constexpr std::size_t transform = 11; // offset
    constexpr std::uint8_t app14 = 0xEE;

    for (std::size_t i = 0; i < segment_count(); ++i) {
        const NUV_JPEGSegment candidate = segment(i);
        if (candidate.marker == app14 && candidate.payload.size() > transform &&
            std::equal(identifier.begin(), identifier.end(), candidate.payload.begin())) {
            transform_ = candidate.payload[transform];
            return true;
        }
    }
    return false;
}

} // namespace nuv
