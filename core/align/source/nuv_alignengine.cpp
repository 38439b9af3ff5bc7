#include "core/align/source/nuv_alignengine.h"

#include "framework/base/nuv_checkedsize.h"

namespace nuv {

bool NUV_AlignEngine::add_heights()
{
    std::uint64_t height = 0;
    for (const NUV_Header* input : headers_.items())
        height += input->height();
    const auto fitting = fits_32(height);
    header_.height(fitting.value_or(0));
    return fitting.has_value();
}

} // namespace nuv
